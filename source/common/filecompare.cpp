// Filled in by the filecompare family.

// Filled in by the widestringset family.

// Filled in by the widetoken family.

// Filled in by the fullwidth family.

// Filled in by the conversion family.

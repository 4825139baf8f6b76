// Filled in by the numeric family.

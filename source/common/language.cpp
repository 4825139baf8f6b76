// Filled in by the language family.

// Filled in by the converter.

// Filled in by the binaryreader family.

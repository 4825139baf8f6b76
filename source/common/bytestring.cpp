// Filled in by the bytestring family.

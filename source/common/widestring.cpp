// Filled in by the widestring family.

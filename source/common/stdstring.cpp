// Filled in by the stdstring family.

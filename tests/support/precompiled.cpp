// Carries the precompiled header that all tests of a kind share.

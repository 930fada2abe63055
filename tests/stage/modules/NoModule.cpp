// A library that is no module at all.

extern "C" {

int somethingElse() { return 7; }

}  // extern "C"

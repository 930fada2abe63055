// The program whose precompiled headers the test programs share; it does nothing itself.
int main() { return 0; }

// A library that has a version and no function for descriptors.
#include <cstdint>

extern "C" {

std::uint32_t getVersion() { return 250; }

}  // extern "C"

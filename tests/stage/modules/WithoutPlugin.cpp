// A module of the right version that makes nothing.
#include <cstdint>

extern "C" {

std::uint32_t getVersion() { return 250; }

void* getPlugin(std::uint32_t /*index*/) { return nullptr; }

}  // extern "C"

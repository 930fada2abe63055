// A module whose two names are numbers where functions should be.
#include <cstdint>

extern "C" {

extern __attribute__((visibility("default"))) const std::uint32_t getVersion;
extern __attribute__((visibility("default"))) const std::uint32_t getPlugin;
const std::uint32_t getVersion = 250;
const std::uint32_t getPlugin = 0;

}  // extern "C"

// A module that cannot be loaded: it calls a function that no library has.
#include <cstdint>

extern "C" {

std::uint32_t functionOfNoLibrary();

__attribute__((visibility("default"))) std::uint32_t getVersion() { return functionOfNoLibrary(); }

__attribute__((visibility("default"))) void* getPlugin(std::uint32_t /*index*/) { return nullptr; }

}  // extern "C"

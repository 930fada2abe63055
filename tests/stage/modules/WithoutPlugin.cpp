// A module of the right version that makes nothing.
#include <cstdint>

#include "ond/ovs/CCameraPlugin.h"

extern "C" {

std::uint32_t getVersion() { return 250; }

ond::ovs::CCameraPlugin* getPlugin(std::uint32_t /*index*/) { return nullptr; }

}  // extern "C"

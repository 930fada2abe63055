// A module of another version of the contract, whose descriptors a host of this version must not touch.
#include <cstdint>

#include "ond/ovs/CCameraPlugin.h"

namespace {

int g_asked = 0;

}  // namespace

extern "C" {

std::uint32_t getVersion() { return 251; }

ond::ovs::CCameraPlugin* getPlugin(std::uint32_t /*index*/) {
    ++g_asked;
    return nullptr;
}

/// How often a descriptor was asked for.
int timesAsked() { return g_asked; }

}  // extern "C"

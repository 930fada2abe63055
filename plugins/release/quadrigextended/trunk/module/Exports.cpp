// The two names that leave the module.
#include <cstdint>
#include <new>

#include "module/CCarCamPlugin.h"

#if defined(_WIN32)
#define QUADRIG_EXPORT __declspec(dllexport)
#else
#define QUADRIG_EXPORT __attribute__((visibility("default")))
#endif

extern "C" {

/// Version of the contract that the module was written for.
QUADRIG_EXPORT std::uint32_t getVersion() noexcept { return 250; }

/// A new descriptor for index 0, owned by the caller, who ends it with release(). Null for every other index, since
/// there is one plug-in in here, and when memory has run out.
QUADRIG_EXPORT ond::ovs::CCameraPlugin* getPlugin(std::uint32_t index) noexcept {
    return index == 0 ? new (std::nothrow) ond::ovs::addon::CCarCamPlugin : nullptr;
}

}  // extern "C"

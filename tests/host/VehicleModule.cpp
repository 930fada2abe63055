#include "host/VehicleModule.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

namespace ond::test {

namespace {

template <typename Signature>
Signature* function(void* library, const char* name) {
    void* address = dlsym(library, name);
    if (address == nullptr) {
        std::fprintf(stderr, "the module exports no %s\n", name);
        std::abort();
    }
    return reinterpret_cast<Signature*>(address);
}

}  // namespace

VehicleModule::VehicleModule(const std::string& path) : m_library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (m_library != nullptr) return;
    std::fprintf(stderr, "the module cannot be loaded: %s\n", dlerror());
    std::abort();
}

std::uint32_t VehicleModule::version() const { return function<std::uint32_t()>(m_library, "getVersion")(); }

ovs::CCameraPlugin* VehicleModule::plugin(std::uint32_t index) const {
    return function<ovs::CCameraPlugin*(std::uint32_t)>(m_library, "getPlugin")(index);
}

}  // namespace ond::test

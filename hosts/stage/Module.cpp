#include "stage/Module.h"

#include <dlfcn.h>

#include "stage/StageError.h"

namespace ond::stage {

namespace {

template <typename Signature>
Signature* function(void* library, const char* name) {
    void* address = dlsym(library, name);
    if (address == nullptr) throw StageError(std::string("the module exports no ") + name);
    return reinterpret_cast<Signature*>(address);
}

}  // namespace

Module::Module(const std::string& path) : m_library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (m_library != nullptr) return;
    throw StageError(std::string("the vehicle module cannot be loaded: ") + dlerror());
}

std::uint32_t Module::version() const { return function<std::uint32_t()>(m_library, "getVersion")(); }

ovs::CCameraPlugin* Module::plugin(std::uint32_t index) const {
    return function<ovs::CCameraPlugin*(std::uint32_t)>(m_library, "getPlugin")(index);
}

}  // namespace ond::stage

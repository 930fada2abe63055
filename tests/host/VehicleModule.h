// The module under test, loaded as a binary.
#pragma once

#include <cstdint>
#include <string>

#include "ond/ovs/CCameraPlugin.h"

namespace ond::test {

/// Loaded once and never unloaded, so that tools can name its functions when the program ends.
class VehicleModule {
  public:
    /// Ends the program with a sentence if the file cannot be loaded: no test can go on.
    explicit VehicleModule(const std::string& path);

    [[nodiscard]] std::uint32_t version() const;
    /// A new descriptor, owned by the caller; null behind the last.
    [[nodiscard]] ovs::CCameraPlugin* plugin(std::uint32_t index) const;

  private:
    void* m_library;
};

}  // namespace ond::test

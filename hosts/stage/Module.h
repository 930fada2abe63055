// The module under test, loaded as a binary.
#pragma once

#include <cstdint>
#include <string>

#include "ond/ovs/CCameraPlugin.h"

namespace ond::stage {

/// Loaded once and never unloaded, so that tools can name its functions when the program ends.
class Module {
  public:
    /// Ends the program with a sentence if the file cannot be loaded: no test can go on.
    explicit Module(const std::string& path);

    [[nodiscard]] std::uint32_t version() const;
    /// A new descriptor, owned by the caller; null behind the last.
    [[nodiscard]] ovs::CCameraPlugin* plugin(std::uint32_t index) const;

  private:
    void* m_library;
};

}  // namespace ond::stage

// The module that makes the vehicles, loaded as a binary.
#pragma once

#include <cstdint>
#include <string>

#include "ond/ovs/CCameraPlugin.h"

namespace ond::stage {

/// Loaded once and never unloaded, so that tools can name its functions when the program ends.
class Module {
  public:
    /// @throws StageError if the file cannot be loaded
    explicit Module(const std::string& path);

    /// @throws StageError, as plugin() does, if the file has no such function
    [[nodiscard]] std::uint32_t version() const;
    /// A new descriptor, owned by the caller; null behind the last. Of an unknown version its table is unknown, too.
    [[nodiscard]] ovs::CCameraPlugin* plugin(std::uint32_t index) const;

  private:
    void* m_library;
};

}  // namespace ond::stage

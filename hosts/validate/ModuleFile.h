// The module as a file: loaded, its two functions, and the names that it exports.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ond/ovs/CCameraPlugin.h"
#include "validate/Check.h"

namespace ond::validate {

/// Whether the file is a shared library of this machine's format, from its first bytes.
[[nodiscard]] bool isSharedLibrary(const std::string& path);

/// Names that a shared library defines for others, without those that any number of libraries may define (templates and
/// inline functions). Empty if the file cannot be read as one of 64 bits.
[[nodiscard]] std::vector<std::string> exportedNames(const std::string& path);

class ModuleFile {
  public:
    /// Loads the module of the check; if that fails the test ends.
    explicit ModuleFile(Check& check);
    ModuleFile(const ModuleFile&) = delete;
    ModuleFile& operator=(const ModuleFile&) = delete;
    /// Leaves it loaded, so that tools can name its functions when the program ends.
    ~ModuleFile() = default;

    void unload();
    [[nodiscard]] bool has(const char* function) const;
    [[nodiscard]] std::uint32_t version() const;
    [[nodiscard]] ovs::CCameraPlugin* plugin(std::uint32_t index) const;
    /// A new descriptor of the first plug-in; if there is none the test ends.
    [[nodiscard]] ovs::CCameraPlugin& firstPlugin() const;

  private:
    [[nodiscard]] void* address(const char* function) const;

    Check& m_check;
    void* m_library;
};

}  // namespace ond::validate

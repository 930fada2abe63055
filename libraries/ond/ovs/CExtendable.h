// Root of what a plug-in offers to a host: numbered extensions.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace ond::ovs {

/// Base of CCameraPlugin and CCamera, whose slots 0 to 2 it declares. No data.
///
/// An extension is an operation that host and plug-in agreed on by number after the tables were fixed. Whoever wants
/// one asks hasExtension() first.
///
/// There is no destructor slot here: the derived classes declare theirs as the last place of their own table.
class CExtendable {
  public:
    CExtendable(const CExtendable&) = delete;
    CExtendable& operator=(const CExtendable&) = delete;

    // Slot 0.
    /// [any state] Runs the extension `id`.
    /// @param argument what the extension asks for; owned by the caller, used during the call only
    /// @return the extension's answer; 0 for a number that the object does not know, which has no effect at all
    virtual std::uint64_t callExtension([[maybe_unused]] std::uint32_t id, [[maybe_unused]] void* argument) {
        return 0;
    }

    // Slot 1.
    /// [any state] The numbers that this object knows, as a list of the caller's own.
    [[nodiscard]] virtual std::vector<std::uint32_t> getExtensionIds() const { return {}; }

    // Slot 2.
    /// [any state] Whether `id` is in the list of slot 1. Derived classes have no need to touch it.
    [[nodiscard]] virtual bool hasExtension(std::uint32_t id) const {
        const std::vector<std::uint32_t> ids = getExtensionIds();
        return std::find(ids.begin(), ids.end(), id) != ids.end();
    }

  protected:
    CExtendable() = default;
    ~CExtendable() = default;
};

}  // namespace ond::ovs

// The descriptor of a plug-in: what it is called, and how the host gets objects from it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ond/ovs/CExtendable.h"

namespace ond::ovs {

class CCamera;
struct CameraCreationRecord;

/// Answer of CCameraPlugin::queryStatus().
struct PluginStatus {
    std::uint64_t code = 0;  ///< 0: ready
    std::string message;     ///< empty: nothing to tell
};

/// Abstract descriptor; no data, so the table pointer is all there is. Slots 0 to 2 are those of CExtendable.
///
/// A module exports two functions with C linkage:
///   std::uint32_t getVersion()                          the version of the contract, 250
///   CCameraPlugin* getPlugin(std::uint32_t index)       a new descriptor, null behind the last plug-in of the module
/// The host owns each descriptor it gets and ends it with release(), after the last object that it created:
/// AppLink::descriptor refers to it as long as any object lives. All operations may be called at any time before
/// release(), on one thread, in any order and any number of times. Strings and lists belong to the caller.
/// No operation throws; what cannot be allocated is null or empty.
class CCameraPlugin : public CExtendable {
  public:
    // Slot 3.
    /// A new scene object, independent of all others. Owned by the caller, who ends it with CCamera::release().
    /// Pre: `record` is used during the call only.
    /// Post: the object is in the state [created] once the caller has filled in CCamera::hostInterface.
    /// @return null if none could be made
    [[nodiscard]] virtual CCamera* createCamera(const CameraCreationRecord& record) = 0;

    // Slot 4.
    /// Name of the plug-in, unique among plug-ins.
    [[nodiscard]] virtual std::string getPluginName() const = 0;

    // Slot 5.
    /// Name of the type of object that it makes; the name of slot 4 unless told otherwise.
    [[nodiscard]] virtual std::string getTypeName() const { return getPluginName(); }

    // Slot 6.
    /// What a menu shows.
    [[nodiscard]] virtual std::string getDisplayName() const = 0;

    // Slot 7.
    /// The group of a menu that it belongs to.
    [[nodiscard]] virtual std::string getCategory() const = 0;

    // Slot 8.
    /// Some sentences for the user.
    [[nodiscard]] virtual std::string getDescription() const { return {}; }

    // Slot 9.
    /// Author credit.
    [[nodiscard]] virtual std::string getAuthor() const { return {}; }

    // Slot 10.
    /// Sixteen fixed characters that a host may check.
    [[nodiscard]] virtual std::string getAccessToken() const = 0;

    // Slot 11.
    /// Names of plug-ins that must be loaded first.
    [[nodiscard]] virtual std::vector<std::string> getDependencyList() const { return {}; }

    // Slot 12.
    /// Whether the plug-in can be used.
    /// @param status set to 0 and an empty text; owned by the caller; may be null
    /// @return true
    virtual bool queryStatus(PluginStatus* status) const {
        if (status != nullptr) {
            status->code = 0;
            status->message.clear();
        }
        return true;
    }

    // Slot 13.
    /// Number of the contract's edition. It also ends the name of the block that an object saves.
    [[nodiscard]] virtual std::uint64_t getInterfaceStamp() const { return 9201; }

    // Slot 14.
    /// Destroys the descriptor. Pre: no object made by it is alive. Post: the pointer is dead.
    virtual void release() { delete this; }

    // Slot 15, the last place: nothing virtual may be declared behind it.
    /// Hosts call release() instead.
    virtual ~CCameraPlugin() = default;

  protected:
    CCameraPlugin() = default;
};

}  // namespace ond::ovs

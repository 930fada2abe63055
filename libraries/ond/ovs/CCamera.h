// A scene object that a plug-in adds to a host, and the record it is created from.
#pragma once

#include <cstdint>
#include <string>

#include "ond/ovs/CExtendable.h"

namespace ond::ovs {

class CInterface;

/// What the host hands to CCameraPlugin::createCamera(). Owned by the host; read during the call only.
struct CameraCreationRecord {
    std::uint64_t hostWords[2];  ///< the host's own; a plug-in does not look at them
    std::uint64_t hostObject;    ///< at byte 16: the host's mark of the object, copied into CCamera::hostObject
    std::string name;            ///< at byte 24: the object's name in the scene, copied into CCamera::name
};

/// Base of every scene object of a plug-in. Slots 0 to 2 are those of CExtendable.
///
/// The host owns the object from createCamera() on and ends it with release(). The states named in brackets are those
/// of the life cycle at the head of CInterface.h; the host keeps to them, the object does not test them. All calls come
/// on one thread, one at a time. Every `time` is in seconds on the host's timeline. No operation throws.
class CCamera : public CExtendable {
  public:
    // The members follow the table pointer in this order; hosts rely on it.

    /// Copied from the creation record; kept for the host.
    std::uint64_t hostObject;
    /// Copied from the creation record: the object's name in the scene. The host may keep it up to date.
    std::string name;
    /// The host's services for this one object. Null until the host fills it in, which it does after createCamera()
    /// and before any other operation. Not owned; outlives the object.
    CInterface* hostInterface = nullptr;

    // Slot 3.
    /// [rigged, not running] The host's clock is about to run from `time`, to drive live, recorded or not.
    /// Plain playback of recorded motion is no run. Post: running.
    /// Pre: the frame step of the host is > 0 and getCurrentTime() answers `time` during the call.
    virtual void startRun([[maybe_unused]] double time) {}

    // Slot 4.
    /// [running] The run has ended at `time`. Post: not running.
    virtual void stopRun([[maybe_unused]] double time) {}

    // Slot 5.
    /// [running] One frame of a run. The first one follows startRun(time) at `time` plus one frame step.
    /// Pre: getCurrentTime() answers `time` during the call.
    virtual void updateFrame([[maybe_unused]] double time) {}

    // Slot 6.
    /// [rigged, running or not] The timeline shows `time`: while no run is active, and after frames of a run.
    virtual void showFrame([[maybe_unused]] double time) {}

    // Slot 7.
    /// [created] Once: declares dialog, input properties and output channels on hostInterface.
    /// Post: declared. The host holds pointers to fields of this object until release().
    /// @return 0
    virtual std::uint64_t declareParameters() { return 0; }

    // Slot 8.
    /// [declared] Once, for a new object: builds its elements in the scene. Post: rigged.
    /// @return 0
    virtual std::uint64_t createRig() { return 0; }

    // Slot 9.
    /// [declared] Once, for an object that comes out of a saved scene, in place of createRig(). Reads the block that
    /// CInterface::getChunk() gives. Post: rigged when the answer is 0; after any other answer only release() may
    /// follow.
    /// @return 0, or 1 when the saved block cannot be read
    virtual std::uint64_t loadState() { return 0; }

    // Slot 10.
    /// [rigged, not running] The scene is being saved: hands a block to CInterface::storeChunk().
    /// @return 0
    virtual std::uint64_t saveState() { return 0; }

    // Slot 11.
    /// [any state] The host is done with the object, which destroys itself. Leaves the scene's elements to the host.
    /// Pre: no undo record that refers to the object is used afterwards.
    /// Post: the pointer is dead; the Property objects that the host made for it may be deleted.
    virtual void release() { delete this; }

    // Slot 12, the last place: nothing virtual may be declared behind it.
    /// Hosts call release() instead.
    virtual ~CCamera() = default;

  protected:
    explicit CCamera(const CameraCreationRecord& record) : hostObject(record.hostObject), name(record.name) {}
};

}  // namespace ond::ovs

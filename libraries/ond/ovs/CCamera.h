// The contract's half that a plug-in implements: its objects in a scene, and the record that each is made from.
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

/// What a host sees of an object of a plug-in. Slots 0 to 2 are those of CExtendable.
///
/// The object is the host's from createCamera() on, until release(). The states named in brackets are those
/// of the life cycle at the head of CInterface.h; the host keeps to them, the object does not test them. All calls come
/// on one thread, one at a time. Every `time` is a place on the timeline, in seconds. No operation throws.
class CCamera : public CExtendable {
  public:
    // The members follow the table pointer in this order; hosts rely on it.

    /// The host's mark, out of the record; a plug-in leaves it alone.
    std::uint64_t hostObject;
    /// What the object is called in the scene, out of the record; the host may follow a renaming here.
    std::string name;
    /// The host's services for this one object. Set by the host between createCamera() and its first call on the
    /// object, null until then. Not owned; outlives the object.
    CInterface* hostInterface = nullptr;

    // Slot 3.
    /// [rigged, not running] Live driving begins at `time`, recorded or not; the first frame follows. A host that only
    /// plays keyframes does not call it. Post: running.
    /// Pre: getFrameStep() answers more than 0 and getCurrentTime() answers `time` during the call.
    virtual void startRun([[maybe_unused]] double time) {}

    // Slot 4.
    /// [running] The run has ended at `time`. Post: not running.
    virtual void stopRun([[maybe_unused]] double time) {}

    // Slot 5.
    /// [running] One frame of a run. The first one follows startRun(time) at `time` plus one frame step.
    /// Pre: getCurrentTime() answers `time` during the call.
    virtual void updateFrame([[maybe_unused]] double time) {}

    // Slot 6.
    /// [rigged, running or not] `time` is on display. Sent while the timeline is looked through or played, and behind
    /// frames of a run.
    virtual void showFrame([[maybe_unused]] double time) {}

    // Slot 7.
    /// [created] Once: tells hostInterface the parameters and the channels, in and out.
    /// Post: declared. The host holds pointers to fields of this object until release().
    /// @return 0
    virtual std::uint64_t declareParameters() { return 0; }

    // Slot 8.
    /// [declared] Once, unless loadState() is called: makes the elements of a fresh object. Post: rigged.
    /// @return 0
    virtual std::uint64_t createRig() { return 0; }

    // Slot 9.
    /// [declared] Once, unless createRig() is called: the scene was loaded and has the elements already. Takes the
    /// state from CInterface::getChunk(). Post: rigged when the answer is 0; after any other answer only release() may
    /// follow.
    /// @return 0, or 1 when the saved block cannot be read
    virtual std::uint64_t loadState() { return 0; }

    // Slot 10.
    /// [rigged, not running] The scene is being saved: hands a block to CInterface::storeChunk().
    /// @return 0
    virtual std::uint64_t saveState() { return 0; }

    // Slot 11.
    /// [any state] Destroys the object. Its elements stay in the scene; they are the host's.
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

// The services of a host, as one scene object of a plug-in sees them.
//
// Index
//   1  Binding                  below
//   2  Life cycle and tags      below
//   3  AppLink                  how an object finds the descriptor it came from
//   4  CInterface::Callback     what the dialog and the undo stack call on the object
//   5  CInterface               slots  0 to  2   extensions
//                               slot   3         undo
//                               slots  4 to  7   input properties
//                               slots  7 to 16   parameter dialog
//                               slot  17         dialog refresh
//                               slots 20 to 21   saved state
//                               slots 23 to 27   making, finding and deleting elements
//                               slots 28 to 36   access to an element's data, and its release
//                               slots 37 to 41   clock, views and messages
// Beside this header: CCameraPlugin.h (descriptor), CCamera.h (the scene object), MeshHandle.h, TransformObject.h,
// AppearanceObject.h, SurfaceObject.h, CameraObject.h (what the services hand out), CUndo.h (undo records), CS.h
// (conversions), and in ond/unidevice Property.h and OutputProperty.h (channels from and to devices).
//
// Binding. Host and plug-in are built from these headers by compatible compilers and use one C++ runtime. An operation
// is called through its slot, that is by counting declarations from 0; no later version moves one. The reserved slots
// are there for the count alone and are not called. The virtual destructor is the last place of a table, because some
// compilers give it two. Nothing is called through a null pointer. Strings, lists and records cross by value and belong
// to the receiver. Nothing throws across the boundary. There is one thread, the host's, and one call at a time: an
// object speaks to its host only while the host is waiting for it.
//
// Life cycle of a scene object, by which every operation is tagged:
//   [created]             from CCameraPlugin::createCamera(); the host fills in CCamera::hostInterface before any call
//   [declared]            from the beginning of CCamera::declareParameters()
//   [rigged, not running] from CCamera::createRig() or a CCamera::loadState() that answered 0
//   [rigged, running]     from the beginning of CCamera::startRun() to the end of CCamera::stopRun()
// A tag names the states in which an operation may be called; "[declared, rigged, running]" is all but [created]. After
// release(), and after a failed loadState() for all but release(), nothing may be called.
#pragma once

#include <cstdint>
#include <string>

#include "ond/ovs/CS.h"
#include "ond/unidevice/Property.h"

namespace ond::util {
class CMesh;
}

namespace ond::ovs {

class AppearanceObject;
class CCameraPlugin;
class CUndo;
class CameraObject;
class MeshHandle;
class SurfaceObject;
class TransformObject;

/// Where an interface keeps the descriptor; filled and owned by the host, constant while any object lives.
struct AppLink {
    void* first = nullptr;                ///< the host's own
    CCameraPlugin* descriptor = nullptr;  ///< the descriptor that made the object; may be null. Not owned.
};

/// The host's services for ONE scene object. Implemented and owned by the host, which keeps it alive until after the
/// object's release(). What releases or deletes takes null without effect.
class CInterface {
  public:
    /// What the host calls when something happened to a declared item. A listening object inherits it beside CCamera.
    /// Never deleted through this type.
    class Callback {
      public:
        Callback(const Callback&) = delete;
        Callback& operator=(const Callback&) = delete;

        // Slot 0.
        /// [rigged, not running] An item of the dialog changed, or an undo record of the object runs.
        ///
        /// Before it tells of an edit, the host sets the field and makes the edit undoable. Undoing and redoing that
        /// edit comes only with a prefix, never as the bare label.
        /// @param name the item's label: bare for an edit, behind "REALUNDO" or "REALREDO" for what an undo record
        ///             does. On undo the field still has the new value, on redo it has it again.
        // By value, as all strings of the contract. NOLINTNEXTLINE(performance-unnecessary-value-param)
        virtual void onParameterChanged([[maybe_unused]] std::string name) {}

        // Slots 1 and 2.
        virtual void reserved1([[maybe_unused]] std::uintptr_t value) {}
        virtual void reserved2([[maybe_unused]] std::uintptr_t value) {}

      protected:
        Callback() = default;
        ~Callback() = default;
    };

    /// The second word of the object, behind the table pointer; may be null. Not owned by the object.
    AppLink* link = nullptr;

    CInterface() = default;
    CInterface(const CInterface&) = delete;
    CInterface& operator=(const CInterface&) = delete;

    // Slot 0.
    /// [declared, rigged, running] Runs the extension `id`. Number in use:
    ///   41  `argument` is a unidevice::OutputChannelRecord, the caller's: creates an output channel of that name and
    ///       type and returns its unidevice::Property*, which is a unidevice::OutputProperty. Owned by the host, alive
    ///       until after the object's release().
    /// @return the extension's answer; null for a number that the host does not know, which has no effect
    virtual void* callExtension([[maybe_unused]] std::uint32_t id, [[maybe_unused]] void* argument) { return nullptr; }

    // Slot 1.
    virtual void reserved1() {}

    // Slot 2.
    /// [declared, rigged, running] Whether the host knows extension `id`. Without 41 there are no output channels.
    [[nodiscard]] virtual bool hasExtension([[maybe_unused]] std::uint32_t id) { return false; }

    // Slot 3.
    /// [rigged, running] Puts a record on the undo stack, above what is there.
    ///
    /// The host owns `record` from now on, calls undo(true) and redo() on it alternately, and ends it with release(),
    /// at the latest before it releases the object that the record refers to. Records run last in, first out on undo
    /// and in order on redo. Must work while the host is inside startRun(), updateFrame() or onParameterChanged().
    /// @param record null, where no record could be allocated, is ignored
    /// @param reserved 0
    virtual void pushUndo(CUndo* record, std::int32_t reserved) = 0;

    // Slot 4.
    /// [declared] Declares an input channel that the user can wire to a device axis.
    /// @param name label of the channel
    /// @param type 14: two directions (-1 to 1), 15: one direction (0 to 1)
    /// @param factory makes the Property; not owned, good until the module is unloaded
    /// @return the channel, owned by the host and alive until after the object's release(); null if refused, which
    ///         reads as 0
    virtual unidevice::Property* createInputProperty(std::string name, std::uint32_t type,
                                                     unidevice::Property::Factory* factory) = 0;

    // Slot 5.
    virtual void reserved5() {}

    // Slot 6.
    /// [declared] Once, behind the last createInputProperty().
    virtual void endInputProperties() = 0;

    // Slot 7.
    /// [declared] Once, behind the last group.
    virtual void endParameters() = 0;

    // Slot 8.
    /// [declared] Begins a group: what is added until endGroup() is in it. Groups do not nest.
    virtual void beginGroup(std::string title, std::string description) = 0;

    // Slot 9.
    /// [declared] Closes the group.
    virtual void endGroup() = 0;

    // Slot 10.
    /// [declared] Adds a whole number to the open group.
    ///
    /// The host reads and writes `field` in place, at any time outside the object's calls, until the object's
    /// release(); then it calls `callback`. A read-out is no different: the object sets its field, and the dialog has
    /// the new number from the next refresh on.
    /// @param label names the item, within the object, for the user and in Callback::onParameterChanged()
    /// @param description tool tip, may be empty
    /// @param field owned by the object, alive until its release()
    /// @param min,max,step range, ends included, and step of the dialog; the field may be outside the range
    /// @param hint 10; the host's
    /// @param flag true; the host's
    /// @param converter null: shown as it stands
    /// @param callback null: the change is not told
    virtual void addIntParameter(std::string label, std::string description, std::int32_t* field, std::int32_t min,
                                 std::int32_t max, std::int32_t step, std::int32_t hint, bool flag,
                                 const CS::Converter<std::int32_t>* converter, Callback* callback) = 0;

    // Slot 11.
    /// [declared] Adds a number to the open group; as slot 10, with 1 as `hint`.
    virtual void addDoubleParameter(std::string label, std::string description, double* field, double min, double max,
                                    double step, std::int32_t hint, bool flag, const CS::Converter<double>* converter,
                                    Callback* callback) = 0;

    // Slot 12.
    /// [declared] Adds a check box to the open group; field and callback as slot 10.
    virtual void addBoolParameter(std::string label, std::string description, bool* field, Callback* callback) = 0;

    // Slots 13 and 14.
    virtual void reserved13() {}
    virtual void reserved14() {}

    // Slot 15.
    /// [declared] Adds a button, which calls `callback` with `label` when pressed.
    virtual void addButton(std::string label, std::string description, Callback* callback) = 0;

    // Slot 16.
    virtual void reserved16() {}

    // Slot 17.
    /// [declared, rigged, running] Shows the fields of the dialog anew: the object changed some by itself.
    /// Must work while the host is inside startRun(), updateFrame() or onParameterChanged(), and must not call back.
    virtual void refreshDialog() = 0;

    // Slots 18 and 19.
    virtual void reserved18() {}
    virtual void reserved19() {}

    // Slot 20.
    /// [rigged, not running] Only from within saveState(): the object's state for the scene file, replacing an earlier
    /// one. The bytes need not outlive the call.
    /// @param data flat block of a util::DataChunk, the caller's
    /// @param length in bytes
    virtual void storeChunk(const void* data, std::uint64_t length) = 0;

    // Slot 21.
    /// [declared] Only from within loadState(): what storeChunk() once got, byte for byte.
    /// @param reserved 0
    /// @return the first byte, owned by the host, whole and unchanged until loadState() returns; null if there is none
    virtual const void* getChunk(std::int32_t reserved) = 0;

    // Slot 22.
    virtual void reserved22() {}

    // Slot 23.
    /// [declared, rigged, not running] Takes an element out of the scene. Its handle can still be asked, see
    /// MeshHandle.
    /// @param element null is ignored
    /// @param reserved1,reserved2 0
    virtual void deleteElement(MeshHandle* element, std::int32_t reserved1, std::int32_t reserved2) = 0;

    // Slot 24.
    /// [declared] The element that was created for this object under the bare name `identifier`, whatever it is called
    /// now and wherever it hangs. Elements of other objects are not found.
    /// @return a handle owned by the host, or null
    [[nodiscard]] virtual MeshHandle* findElement(std::string identifier) = 0;

    // Slot 25.
    /// [declared] Creates a camera element.
    /// @param name bare name, by which findElement() knows the element for good; in the scene it is called
    ///             "<name of the object>_<bare name>"
    /// @param parent null: root of the scene
    /// @param reserved false
    /// @return a handle owned by the host, see MeshHandle; not null
    virtual MeshHandle* createCameraElement(std::string name, MeshHandle* parent, bool reserved) = 0;

    // Slot 26.
    /// [declared, rigged, not running] Creates a mesh element; names and parent as slot 25.
    /// @param mesh its shape, the caller's; copied during the call
    /// @param reserved 0
    /// @return a handle owned by the host, see MeshHandle; not null
    virtual MeshHandle* createMeshElement(std::string name, MeshHandle* parent, const util::CMesh* mesh,
                                          std::int32_t reserved) = 0;

    // Slot 27.
    virtual void reserved27() {}

    // Slot 28.
    /// [declared, rigged, running] The transform of `element` at `time`; a time before the first known one gives that.
    /// @return owned by the host, to be given back through slot 36 within the same function; null for an element that
    ///         was deleted
    [[nodiscard]] virtual TransformObject* getTransformObject(MeshHandle* element, double time) = 0;

    // Slot 29.
    /// [declared, rigged, running] The appearance of `element`.
    /// @return owned by the host, to be given back through slot 35 within the same function; not null for an element
    ///         that exists
    [[nodiscard]] virtual AppearanceObject* getAppearanceObject(MeshHandle* element) = 0;

    // Slot 30.
    /// [declared, rigged, running] The surface of `element` at `time`.
    /// @return owned by the host, to be given back through slot 34; null for an element without a mesh or one that was
    ///         deleted
    [[nodiscard]] virtual SurfaceObject* getSurfaceObject(MeshHandle* element, double time) = 0;

    // Slot 31.
    /// [declared, rigged, running] The camera of `element`, which slot 25 made, at `time`.
    /// @return owned by the host, to be given back through slot 33 within the same function; not null for an element
    ///         that exists
    [[nodiscard]] virtual CameraObject* getCameraObject(MeshHandle* element, double time) = 0;

    // Slot 32.
    /// [declared, rigged, running] The caller is done with the surface data of `element`; follows slot 34 directly
    /// where a surface had been given, and may come without one. Only a hint for the host's caches.
    virtual void releaseElementData(MeshHandle* element) = 0;

    // Slot 33.
    /// [declared, rigged, running] Ends what slot 31 gave; null is ignored.
    virtual void releaseCameraObject(CameraObject* camera) = 0;

    // Slot 34.
    /// [declared, rigged, running] Ends what slot 30 gave; null is ignored.
    virtual void releaseSurfaceObject(SurfaceObject* surface) = 0;

    // Slot 35.
    /// [declared, rigged, running] Ends what slot 29 gave; null is ignored.
    virtual void releaseAppearanceObject(AppearanceObject* appearance) = 0;

    // Slot 36.
    /// [declared, rigged, running] Ends what slot 28 gave; null is ignored.
    virtual void releaseTransformObject(TransformObject* transform) = 0;

    // Slot 37.
    /// [declared, rigged, running] The time in seconds that the timeline shows. During CCamera::startRun(t) and
    /// CCamera::updateFrame(t) it is t.
    [[nodiscard]] virtual double getCurrentTime() = 0;

    // Slot 38.
    virtual void reserved38() {}

    // Slot 39.
    /// [declared, rigged, running] Seconds from a frame to the next, > 0. Does not change during a run.
    [[nodiscard]] virtual double getFrameStep() = 0;

    // Slot 40.
    /// [rigged, running] Redraws: visibility or wireframe of elements changed.
    /// Must work while the host is inside startRun(), updateFrame() or onParameterChanged().
    virtual void redrawViews() = 0;

    // Slot 41.
    /// [declared, rigged, running] Tells the user something; the object goes on whatever the user answers.
    /// Must work while the host is inside startRun(), updateFrame() or onParameterChanged().
    /// @param caption "Warning", "Error" or "UNSUPPORTED SURFACE TYPE"
    /// @param reserved 0
    virtual void messageBox(std::string text, std::string caption, std::int32_t reserved) = 0;

    // Slot 42, the last place: nothing virtual may be declared behind it.
    /// For the host only.
    virtual ~CInterface() = default;
};

}  // namespace ond::ovs

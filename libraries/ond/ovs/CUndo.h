// A record for the host's undo stack.
#pragma once

namespace ond::ovs {

/// Abstract base. A scene object makes it; CInterface::pushUndo() passes it on to the host, who ends it with release().
///
/// The host calls undo(true) and redo() alternately, beginning with undo(true), never during a run and never after the
/// release of the scene object that the record refers to. No operation throws.
class CUndo {
  public:
    /// What the record acts on, in the pointer type that the derived class names. Not owned; outlives the record's use.
    void* target;

    CUndo(const CUndo&) = delete;
    CUndo& operator=(const CUndo&) = delete;

    // Slot 0.
    /// [rigged, not running] Takes the change back. Pre: the records pushed behind this one have been undone.
    /// @param firstTime true in every call of a host; what false does is told by the derived class
    virtual void undo(bool firstTime) = 0;

    // Slot 1.
    /// [rigged, not running] Makes the change again. Pre: undo(true) was the call before.
    virtual void redo() = 0;

    // Slot 2.
    /// [any state] Destroys the record. Does not touch `target`. Post: the pointer is dead.
    virtual void release() { delete this; }

    // Slot 3, the last place: nothing virtual may be declared behind it.
    /// Hosts call release() instead.
    virtual ~CUndo() = default;

  protected:
    explicit CUndo(void* changed) : target(changed) {}
};

}  // namespace ond::ovs

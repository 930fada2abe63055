// Undo record that replays an event to a scene object.
#pragma once

#include <string>
#include <utility>

#include "ond/ovs/CInterface.h"
#include "ond/ovs/CUndo.h"

namespace ond::ovs {

/// Calls Callback::onParameterChanged() with one text on undo and another on redo, so that the object's own reaction to
/// a change runs backwards and forwards. Holds no state of the change itself; each call sends, whatever came before.
class CREEventUndo : public CUndo {
  public:
    std::string undoEvent;  ///< "REALUNDO" and the item's label, nothing between them
    std::string redoEvent;  ///< "REALREDO" and the item's label, nothing between them

    /// @param callback becomes `target`; not owned, not null when an operation runs
    CREEventUndo(CInterface::Callback* callback, std::string undoText, std::string redoText)
        : CUndo(callback), undoEvent(std::move(undoText)), redoEvent(std::move(redoText)) {}

    /// A new record for the change of the item `label`; null if it cannot be allocated, as pushUndo() accepts.
    [[nodiscard]] static CREEventUndo* make(CInterface::Callback* callback, const std::string& label) noexcept {
        try {
            return new CREEventUndo(callback, "REALUNDO" + label, "REALREDO" + label);
        } catch (...) {
            return nullptr;
        }
    }

    /// Sends `undoEvent`, with either value of `firstTime`.
    void undo([[maybe_unused]] bool firstTime) override { send(undoEvent); }
    /// Sends `redoEvent`.
    void redo() override { send(redoEvent); }

  private:
    void send(const std::string& event) noexcept {
        try {
            static_cast<CInterface::Callback*>(target)->onParameterChanged(event);
        } catch (...) {  // nothing of a callback may reach the host's undo stack
        }
    }
};

}  // namespace ond::ovs

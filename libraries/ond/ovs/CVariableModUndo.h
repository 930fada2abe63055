// Undo record that holds the earlier history of an animated variable.
#pragma once

#include "ond/ovs/CUndo.h"
#include "ond/util/AVar.h"

namespace ond::ovs {

/// Snapshot of one variable of class `V` (util::AVar_Linear<double>, util::AVar_Nearest of QTransform<double>, bool,
/// Vector3<double> and Quat<double>, or util::AVar_Latest<int>), keys and fallback. undo(true) and redo() exchange the
/// snapshot and the variable, so the record holds one full history at any time.
template <typename V>
class CVariableModUndo : public CUndo {
  public:
    V saved;                ///< the history that the variable does not hold at present
    bool bSwapped = false;  ///< undo(true) has been run: `saved` and the variable have changed places

    /// Takes the snapshot. Throws std::bad_alloc if it does not fit in memory; make() does not.
    /// @param variable becomes `target`; not null, not owned, must outlive the record's use
    explicit CVariableModUndo(V* variable) : CUndo(variable), saved(*variable) {}

    /// A new record; null if it cannot be allocated, as CInterface::pushUndo() accepts.
    [[nodiscard]] static CVariableModUndo* make(V* variable) noexcept {
        try {
            return new CVariableModUndo(variable);
        } catch (...) {
            return nullptr;
        }
    }

    /// The variable that the record acts on.
    [[nodiscard]] V& variable() const { return *static_cast<V*>(target); }

    /// With true: exchanges the histories, unless they are exchanged already.
    /// With false: copies `saved` into the variable and exchanges nothing; without memory for the copy the variable
    /// stays as it is.
    void undo(bool firstTime) override {
        if (firstTime) {
            if (!bSwapped) exchange();
        } else {
            restore();
        }
    }

    /// Exchanges the histories back; without an undo(true) before it, nothing.
    void redo() override {
        if (bSwapped) exchange();
    }

  private:
    void exchange() noexcept {
        saved.swap(variable());
        bSwapped = !bSwapped;
    }

    void restore() noexcept {
        try {
            V copy(saved);
            variable().swap(copy);
        } catch (...) {  // the copy did not fit in memory
        }
    }
};

}  // namespace ond::ovs

#include "UndoRecord.h"

#include <new>

#include "Misbehaviour.h"

namespace ond::test {

namespace {

using History = util::AVar_Linear<double>;

/// Of whoever was first to record one.
History* g_first = nullptr;

class Record final : public ovs::CUndo {
  public:
    explicit Record(History* history) : CUndo(history), m_inner(history) {
        if (g_first == nullptr) g_first = history;
        if (am("second-record-is-empty") && history->getNumKeys() > 12) m_inner.saved.keys.clear();
    }

    void undo(bool firstTime) override {
        passBy("undo");
        if (am("undo-of-a-run-does-nothing")) return;
        if (am("undo-empties-the-history")) m_inner.variable().keys.clear();
        m_inner.undo(firstTime);
        if (am("undo-reaches-into-the-first-vehicle") && g_first != &m_inner.variable() && !g_first->keys.empty())
            g_first->keys.pop_back();
        if (am("undo-loses-a-key") && !m_inner.variable().keys.empty()) m_inner.variable().keys.pop_back();
    }
    void redo() override {
        passBy("redo");
        if (am("redo-of-a-run-does-nothing")) return;
        m_inner.redo();
        if (am("redo-loses-a-key") && !m_inner.variable().keys.empty()) m_inner.variable().keys.pop_back();
        if (am("redo-changes-a-value") && !m_inner.variable().keys.empty())
            m_inner.variable().keys.back().value += 1e-9;
        if (am("works-once-only")) m_inner.saved.keys.clear();
    }
    void release() override {
        passBy("record-release");
        if (am("record-touches-its-target-on-release")) m_inner.variable().keys.clear();
        if (am("record-stays")) return;
        if (am("record-goes-twice")) delete static_cast<CUndo*>(this);
        delete this;
    }

  private:
    ovs::CVariableModUndo<History> m_inner;
};

}  // namespace

ovs::CUndo* recordOf(util::AVar_Linear<double>* history) { return new (std::nothrow) Record(history); }

}  // namespace ond::test

// The undo record of the sledge's histories.
#pragma once

#include "ond/ovs/CVariableModUndo.h"
#include "ond/util/AVar.h"

namespace ond::test {

/// A snapshot of a history, as CVariableModUndo keeps it. Null where memory ran out.
[[nodiscard]] ovs::CUndo* recordOf(util::AVar_Linear<double>* history);

}  // namespace ond::test

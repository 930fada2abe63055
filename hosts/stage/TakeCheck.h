// Whether a take can be written.
#pragma once

#include "stage/TakeContents.h"

namespace ond::stage {

/// Whether a take holds the number, of a channel or a row of a dialog.
[[nodiscard]] bool fitsTake(double number);
/// Whether a take holds the transform, whose standard part is in single precision.
[[nodiscard]] bool fitsTake(const util::Matrix4& transform);

/// @throws StageError naming the element or the vehicle that has a number which is not finite or, where the standard
/// part needs it, one that single precision does not hold; or an element that lies too deep
void requireWritable(const TakeContents& contents);

/// For takes that can be opened again: refuses what readTake() would, so that no such file is written.
/// @throws StageError
void requireReadable(const TakeContents& contents);

}  // namespace ond::stage

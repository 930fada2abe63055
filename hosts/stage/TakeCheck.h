// Whether a take can be written.
#pragma once

#include "stage/TakeContents.h"

namespace ond::stage {

/// @throws StageError naming the element or the vehicle that has a number which is not finite or, where the standard
/// part needs it, one that single precision does not hold; or an element that lies too deep
void requireWritable(const TakeContents& contents);

}  // namespace ond::stage

// What every ground has to fulfil, whatever file it is from.
#pragma once

#include "stage/GroundFile.h"

namespace ond::stage {

/// Checks the nodes of `scene`, counts its triangles and adds warnings for triangles without an area and for repeated
/// ones.
///
/// Afterwards parents stand before their children, key times ascend, faces point into their meshes and all numbers are
/// finite, also those of the nodes in the world at rest. Throws GroundError, without the name of the file, otherwise
/// and if there is no triangle.
void checkGround(GroundScene& scene);

}  // namespace ond::stage

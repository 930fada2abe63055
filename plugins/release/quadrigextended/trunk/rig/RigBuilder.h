// Builds the rig of a new vehicle in the scene.
#pragma once

namespace ond::ovs::addon {

class CCarCamObject;

namespace rig {

/// Creates all elements, parents first, and hides the cameras whose flags say so.
void buildRig(CCarCamObject& vehicle);

}  // namespace rig
}  // namespace ond::ovs::addon

// Capture of the ground into the vehicle, so that it can drive without the ground being in the scene.
#pragma once

namespace ond::ovs::addon {

class CCarCamObject;

/// Reaction to a change of "Store Ground Mesh Data": copies the mesh of the gravity direction mesh's parent, or says
/// why it cannot and switches the flag off. With the flag off the stored mesh is emptied.
void captureGround(CCarCamObject& vehicle);

}  // namespace ond::ovs::addon

// Meshes that help to set a rig up: what "Hide Helpers" and the wireframe mode act on. Cameras have flags of their own.
#pragma once

namespace ond::ovs::addon {

class CCarCamObject;

namespace rig {

void showHelpers(CCarCamObject& vehicle);
void hideHelpers(CCarCamObject& vehicle);
void setHelpersWireframe(CCarCamObject& vehicle, bool wireframe);

}  // namespace rig
}  // namespace ond::ovs::addon

// The helper meshes of a rig as a group: what "Hide Helpers" and the wireframe mode act on. The cameras are not in it.
#pragma once

namespace ond::ovs::addon {

class CCarCamObject;

namespace rig {

void showHelpers(CCarCamObject& vehicle);
void hideHelpers(CCarCamObject& vehicle);
void setHelpersWireframe(CCarCamObject& vehicle, bool wireframe);

}  // namespace rig
}  // namespace ond::ovs::addon

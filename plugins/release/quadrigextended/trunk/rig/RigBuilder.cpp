#include "rig/RigBuilder.h"

#include "CCarCamObject.h"
#include "rig/RigElements.h"

namespace ond::ovs::addon::rig {

void buildRig(CCarCamObject& v) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(ElementId::followCam); ++i) {
        if (kRigElements[i].atCorners)
            resizeWheels(v, kNumWheels);  // makes all that is at corners
        else
            buildElement(v, ElementId{i});
    }
    if (v.cCarBodyNode.pMesh != nullptr) v.cCarBodyNode.pMesh->rigBuilt();
    prepareNode(v.cRelativeTurnBaseNode, v.hostInterface->getCurrentTime());
    buildElement(v, ElementId::followCam);
    if (v.bHideDriverCamera) v.cDriverCamNode.hide();
    if (v.bHideTopViewCamera) v.cTopViewCamNode.hide();
    if (v.bHideFollowCamera) v.cFollowCamNode.hide();
}

}  // namespace ond::ovs::addon::rig

// End of a run.
#pragma once

namespace ond::ovs::addon {

class CCarCamObject;

/// See CCamera::stopRun(). Frees the physics world and takes back what booster and helper hiding changed.
void stopRun(CCarCamObject& vehicle);

}  // namespace ond::ovs::addon

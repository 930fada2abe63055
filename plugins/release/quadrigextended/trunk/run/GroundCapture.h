// Taking the ground along: with a copy of its mesh the vehicle drives where the ground itself is missing or hidden.
#pragma once

namespace ond::ovs::addon {

class CCarCamObject;

/// To be called when "Store Ground Mesh Data" was switched. On: copies the mesh of the gravity direction mesh's
/// parent, or says why it cannot and switches the flag off. Off: the copy goes.
void captureGround(CCarCamObject& vehicle);

}  // namespace ond::ovs::addon

#include "run/RunEnd.h"

#include "CCarCamObject.h"
#include "rig/Helpers.h"

namespace ond::ovs::addon {

void stopRun(CCarCamObject& v) {
    cCarCam& car = v.cCarCam;
    v.destroyPhysics();
    if (car.bBoosterOn || car.bAutonomousMode) {
        car.bBoosterOn = false;
        car.bStiffnessBoosted = false;
        v.hostInterface->refreshDialog();
    }
    car.fStiffnessFront = car.dBaseStiffnessFront;
    car.fStiffnessBack = car.dBaseStiffnessBack;
    car.fDampingFront = car.dBaseDampingFront;
    car.fDampingBack = car.dBaseDampingBack;
    v.bRunning = false;
    if (v.bHideHelpersDuringRecording && !v.bHideHelpers) rig::showHelpers(v);
}

}  // namespace ond::ovs::addon

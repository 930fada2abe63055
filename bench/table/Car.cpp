#include "table/Car.h"

#include "state/AnimatedState.h"
#include "table/Report.h"

namespace ond::bench::table {

using namespace ond::ovs::addon;

VehiclePtr declareVehicle(RecordingHost& host) {
    const ovs::CameraCreationRecord record{{0, 0}, 0, "Car"};
    VehiclePtr vehicle(new CCarCamObject(record));
    vehicle->hostInterface = &host;
    vehicle->declareParameters();
    return vehicle;
}

Car::Car(Casting how, const Terrain* terrain, const Vector& place, std::shared_ptr<Recording> into)
    : casting(how), host(std::move(into)), vehicle(declareVehicle(host)) {
    vehicle->createRig();
    for (const char* follower : {"ChassisRelocatorMesh", "WheelRelocatorMesh_FL", "WheelRelocatorMesh_FR",
                                 "WheelRelocatorMesh_BL", "WheelRelocatorMesh_BR"})
        host.elements.at(follower)->ride();
    for (const auto& [name, element] : host.elements) element->shift(place);
    if (terrain != nullptr) link(*terrain);
    vehicle->bUseStaticMesh = casting == Casting::bullet;
    if (casting == Casting::stored) {
        vehicle->bStoreGroundMeshData = true;
        vehicle->onParameterChanged("Store Ground Mesh Data");
    }
    axis(pcInput_GAS_PEDAL) = 0.5;
    axis(pcInput_STEERING_WHEEL) = 0.5;
    axis(pcInput_GRAVEL_SHAKE) = 0.2;
    vehicle->dInitialVelocity = 40.0;
    host.keepPoses();
}

void Car::link(const Terrain& terrain) {
    host.ground = std::make_unique<Element>(host.recording, "Ground", nullptr);
    host.surface = std::make_unique<GroundSurface>(host.recording.meter, terrain.mesh(), casting == Casting::surface);
    host.elements.at("GravityDirectionMesh")->parent = host.ground.get();
}

void Car::start() {
    frame = 0;
    host.restorePoses();
    host.recording.now = 0.0;
    vehicle->startRun(0.0);
}

void Car::stop() { vehicle->stopRun(host.recording.now); }

void Car::reserveKeys(std::size_t frames) {
    forEachVariable(*vehicle, [frames](const auto&, auto& variable, const auto*) {
        variable.keys.resize(frames + 2);
        variable.keys.clear();
    });
    host.recording.reserve(hostKeys(frames));
}

// 17 in a frame, and more while wheels turn fast.
std::size_t Car::hostKeys(std::size_t frames) { return 25 * frames + 200; }

void Car::nextFrame() { host.recording.now = ++frame * host.frameStep; }

void Car::drive(int frames) {
    for (int i = 0; i < frames; ++i) {
        nextFrame();
        vehicle->updateFrame(host.recording.now);
    }
}

int Car::wheelsOnGround() const {
    int count = 0;
    for (const pcWheel& wheel : vehicle->cCarCam.pcWheel) count += wheel.bInAir ? 0 : 1;
    return count;
}

void Car::check(Report& report, int row) const {
    if (!host.complaints.empty()) report.fault(row, "the vehicle complained: " + host.complaints.front());
    if (wheelsOnGround() < 1) report.fault(row, "the car left the ground: give one that is wider");
}

}  // namespace ond::bench::table

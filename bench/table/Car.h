// A rigged vehicle with default parameters in a scene of its own.
#pragma once

#include <cstddef>
#include <memory>

#include "CCarCamObject.h"
#include "table/RecordingHost.h"
#include "table/Terrain.h"

namespace ond::bench::table {

class Report;

/// Where the wheels look for the ground.
enum class Casting { plane, bullet, stored, surface };

/// A declared vehicle without a rig.
struct Releaser {
    void operator()(ovs::addon::CCarCamObject* vehicle) const { vehicle->release(); }
};
using VehiclePtr = std::unique_ptr<ovs::addon::CCarCamObject, Releaser>;
[[nodiscard]] VehiclePtr declareVehicle(RecordingHost& host);

class Car {
  public:
    /// Ready to start at time 0, with pedal and steering held for a wide curve.
    /// @param terrain must outlive the car; null for the plane, and only then
    /// @param place of the car on the terrain, as Terrain::place() has it
    /// @param into what its host records into
    Car(Casting how, const Terrain* terrain, const Vector& place,
        std::shared_ptr<Recording> into = std::make_shared<Recording>());
    Car(const Car&) = delete;
    Car& operator=(const Car&) = delete;

    /// Straight on the host's axes; see the channel numbers of the car's record.
    [[nodiscard]] double& axis(int channel) { return host.inputs.at(static_cast<std::size_t>(channel))->position; }

    /// Begins a run at time 0, from where the car was first put.
    void start();
    void stop();

    /// Before the first run: gets memory for the keys of so many frames ready, pages included, in the vehicle's
    /// histories and in the host.
    void reserveKeys(std::size_t frames);
    /// How many keys the host makes in so many frames, at most.
    [[nodiscard]] static std::size_t hostKeys(std::size_t frames);

    /// Moves the clock to the next frame. Times are those that a host derives.
    void nextFrame();
    /// Drives whole frames as a host does.
    void drive(int frames);

    [[nodiscard]] const util::Matrix4& body() const { return host.elements.at("CarBodyMesh")->world; }
    [[nodiscard]] int wheelsOnGround() const;
    /// Reports what makes figures of this car worthless: that it complained, or that no wheel stands on the ground.
    void check(Report& report, int row) const;

    const Casting casting;
    RecordingHost host;
    VehiclePtr vehicle;
    int frame = 0;

  private:
    void link(const Terrain& terrain);
};

}  // namespace ond::bench::table

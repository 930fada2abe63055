// Drives of the four-wheeled vehicle, frame by frame, and what they came to.
#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "validate/CarWorld.h"

namespace ond::validate {

/// Places of the inputs among the vehicle's channels.
enum CarInput : std::size_t { kGas, kSteering, kBooster, kAbsBrake, kSkidding, kSkidBrake, kShake, kBurnout, kForce };
/// Where axes stand, from -1 to 1; those that are not named are at rest.
using CarAxes = std::initializer_list<std::pair<CarInput, double>>;

constexpr const char* kCarCorners[] = {"_FL", "_FR", "_BL", "_BR"};
[[nodiscard]] std::string wheelName(int corner);

[[nodiscard]] bool isNear(double value, double wanted, double share, double least = 0.0);
/// The same angle between -pi and pi.
[[nodiscard]] double wrapped(double angle);

/// Height of a ground at x and z, in scene units.
using CarGround = std::function<double(double, double)>;
[[nodiscard]] double levelGround(double x, double z);

/// Holds the axes there from now on.
void holdAxes(StrictHost& host, CarAxes axes);

/// A vehicle with its rig on a ground of its own, which shakes by nothing, and its runs.
class CarDrive {
  public:
    explicit CarDrive(Check& check, const CarGround& ground = levelGround, stage::FrameRate rate = {25, 1});

    /// Puts the whole rig elsewhere; before the first run only.
    void place(const util::Matrix4& world);
    /// Begins a run at `frame` with the axes there.
    void begin(int frame, CarAxes axes = {});
    /// Frames of the run, with the axes there.
    void go(int frames, CarAxes axes);
    void end();

    struct Shot {
        double speed = 0.0;    ///< as the rows of the dialog show it
        double percent = 0.0;  ///< of the largest speed
        std::vector<double> outputs;
    };
    /// What was shown behind a frame that was driven.
    [[nodiscard]] const Shot& shot(int frame) const { return m_shots.at(frame); }
    [[nodiscard]] int frame() const { return m_frame; }

    [[nodiscard]] stage::Element& element(const std::string& name) const;
    [[nodiscard]] util::Matrix4 world(const std::string& name, int frame) const;
    [[nodiscard]] util::Matrix4 local(const std::string& name, int frame) const;
    [[nodiscard]] util::Vector3<double> body(int frame) const { return world("CarBodyMesh", frame).row(3); }
    /// How far the body moved in a frame.
    [[nodiscard]] double step(int frame) const { return util::Length(body(frame) - body(frame - 1)); }
    /// How far the read-outs say that it moved in a frame.
    [[nodiscard]] double stepTold(int frame) const;
    [[nodiscard]] double length() const;
    /// Of the body about the vertical, positive to the left.
    [[nodiscard]] double heading(int frame) const;
    /// How far a wheel rolled about the body's x axis in a frame, in radians between -pi and pi.
    [[nodiscard]] double rolled(const std::string& wheel, int frame) const;
    [[nodiscard]] double row(const std::string& label) const { return rowOf(host, label).value(); }
    void set(const std::string& label, double value) { rowOf(host, label).write(value); }

    Check& check;
    Car car;
    StrictHost& host;

  private:
    std::map<int, Shot> m_shots;
    int m_frame = 0;
};

}  // namespace ond::validate

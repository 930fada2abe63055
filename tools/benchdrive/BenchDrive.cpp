// Drives the car model alone, on an endless plane, and writes what it did frame by frame.
#include <CLI/CLI.hpp>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "DriveScript.h"
#include "car/StepCar.h"
#include "car/WheelRolling.h"

namespace {

using namespace ond::ovs::addon;
using ond::benchdrive::DriveStep;

/// The plane that the car stands on, as its wheels feel it.
class Plane {
  public:
    /// Puts the wheels on the plane and measures how far each one's lowest point moved since the frame before.
    void probe(cCarCam& car) {
        for (std::size_t i = 0; i < kNumWheels; ++i) {
            pcWheel& wheel = car.pcWheel[i];
            wheel.bInAir = false;
            wheel.dWheelGroundNormalDiff = car.wheelGeom[i].radius * car.dWheelRadiusMult;
            wheel.dSuspDistanceMoved = Length(wheel.vSuspPoint - m_lowest[i]);
            m_lowest[i] = wheel.vSuspPoint;
        }
    }

  private:
    std::array<Vector3<double>, kNumWheels> m_lowest{};
};

/// A car at rest on the plane with its default rig.
cCarCam parkedCar(double dt) {
    cCarCam car;
    car.fBodyRestHeight = 0.137;
    car.dBaseStiffnessFront = car.fStiffnessFront;
    car.dBaseStiffnessBack = car.fStiffnessBack;
    car.dBaseDampingFront = car.fDampingFront;
    car.dBaseDampingBack = car.fDampingBack;
    StartCar(car, {}, {}, dt);
    return car;
}

void writeHeader(std::ostream& out) {
    out << "frame,time,x,y,z,heading,drive_velocity,ground_speed,steering,pitch,roll,height,wheel_fl,wheel_fr,wheel_bl,"
           "wheel_br\n";
}

void writeFrame(std::ostream& out, const cCarCam& car, int frame, double time) {
    const auto& q = car.qTransCarAbs.rotation;
    const double heading = 2.0 * std::atan2(q.y, q.w);
    out << frame << ',' << time << ',' << car.qTransCarAbs.position.x << ',' << car.qTransCarAbs.position.y << ','
        << car.qTransCarAbs.position.z << ',' << heading << ',' << car.dVelocity << ','
        << Length(car.qTransCarAbsIncr.position) / car.dSimStep << ',' << car.fSteeringAngle << ','
        << car.cCarBody.fRelXAng << ',' << car.cCarBody.fRelZAng << ',' << car.cCarBody.fRelYPos;
    for (const pcWheel& wheel : car.pcWheel) out << ',' << wheel.pfTotalPitch;
    out << '\n';
}

void drive(const std::vector<DriveStep>& script, double fps, double seconds, std::ostream& out) {
    const double dt = 1.0 / fps;
    cCarCam car = parkedCar(dt);
    Plane plane;
    out.imbue(std::locale::classic());
    out.precision(17);
    writeHeader(out);
    std::size_t step = 0;
    const int frames = static_cast<int>(std::lround(seconds * fps));
    for (int frame = 1; frame <= frames; ++frame) {
        const double time = frame / fps;
        while (step + 1 < script.size() && script[step + 1].time <= time) ++step;
        for (int i = 0; i < kNumInputs; ++i)
            car.pcInput[i].raw = script[step].time <= time ? script[step].raw[static_cast<std::size_t>(i)] : 0.0;
        StepCar(car, dt);
        plane.probe(car);
        UpdateWheelRolling(car, dt);
        writeFrame(out, car, frame, time);
    }
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Drives the car model alone on a plane, by a script of its inputs, and writes a CSV of its motion.");
    std::string script;
    std::string output;
    double fps = 25.0;
    double seconds = 20.0;
    app.add_option("script", script, "drive script (CSV: time,gas,steer,booster,abs,skidding,...)")->required();
    app.add_option("-o,--output", output, "CSV to write, one row a frame")->required();
    app.add_option("--fps", fps, "frames a second")->check(CLI::Range(1.0, 1000.0))->capture_default_str();
    app.add_option("--seconds", seconds, "length of the drive")->check(CLI::Range(0.1, 36000.0))->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : 2;
    }

    try {
        const auto steps = ond::benchdrive::readDriveScript(script);
        // Written aside and renamed, so that a drive that fails leaves an earlier result as it was.
        const std::string aside = output + ".part";
        {
            std::ofstream file(aside);
            drive(steps, fps, seconds, file);
            file.close();
            if (!file) throw ond::benchdrive::ScriptError(output + ": cannot be written; is the folder there?");
        }
        std::filesystem::rename(aside, output);
    } catch (const std::exception& e) {
        std::remove((output + ".part").c_str());
        std::cerr << "benchdrive: " << e.what() << '\n';
        return 2;
    }
    return 0;
}

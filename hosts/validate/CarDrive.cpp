#include "validate/CarDrive.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

#include "ond/util/CMesh.h"
#include "validate/CarRules.h"

namespace ond::validate {

namespace {

util::CMesh meshOf(const CarGround& ground) {
    constexpr int kLines = 33;
    constexpr int kMiddle = kLines / 2;
    constexpr double kStep = 6.0;
    util::CMesh mesh;
    std::set<int> gaps;
    const auto isGap = [&gaps](int vertex) { return gaps.count(vertex) != 0; };
    mesh.setNumVertices(kLines * kLines);
    for (int i = 0; i < kLines; ++i)
        for (int k = 0; k < kLines; ++k) {
            const double x = kStep * (i - kMiddle);
            const double z = kStep * (k - kMiddle);
            const double y = ground(x, z);
            if (std::isnan(y)) gaps.insert(i * kLines + k);
            mesh.setVertex(i * kLines + k, x, std::isnan(y) ? 0.0 : y, z);
        }
    for (int i = 0; i + 1 < kLines; ++i)
        for (int k = 0; k + 1 < kLines; ++k) {
            const int a = i * kLines + k;
            for (const auto& face : {std::array{a, a + 1, a + kLines}, std::array{a + 1, a + kLines + 1, a + kLines}})
                if (std::none_of(face.begin(), face.end(), isGap))
                    mesh.faces.insert(mesh.faces.end(), face.begin(), face.end());
        }
    return mesh;
}

}  // namespace

/// A little bumpy, so that no answer of a vehicle is right only because all heights are equal or 0.
double levelGround(double x, double z) { return 1e-4 * std::sin(0.7 * x + 0.3 * z); }

std::string wheelName(int corner) { return std::string("WheelMesh") + kCarCorners[corner]; }

bool isNear(double value, double wanted, double share, double least) {
    return std::abs(value - wanted) <= std::max(share * std::abs(wanted), least);
}

double wrapped(double angle) {
    constexpr double kTurn = 6.283185307179586;
    return angle - kTurn * std::round(angle / kTurn);
}

void holdAxes(StrictHost& host, CarAxes axes) {
    host.held.assign(host.inputs.size(), 0.0);
    for (const auto& [channel, position] : axes)
        if (channel < host.held.size()) host.held[channel] = position;
}

CarDrive::CarDrive(Check& driveCheck, const CarGround& ground, stage::FrameRate rate)
    : check(driveCheck), car(driveCheck, rate), host(car.world.add("car")) {
    host.rig();
    if (host.inputs.size() <= kForce || host.outputs.size() < carOutputs().size())
        check.give("car-channels", "the vehicle has other channels");
    car.world.scene.reparent(element("GravityDirectionMesh"), &car.world.scene.addMesh("Ground", meshOf(ground)));
    set("Gravel Shake Offset Value", 0.0);
}

void CarDrive::place(const util::Matrix4& world) {
    for (const char* name : {"CarBodyMesh", "TargetMesh"}) {
        stage::Element& moved = element(name);
        car.world.scene.setLocal(moved, 0.0, world * car.world.scene.local(moved, 0.0));
    }
}

void CarDrive::begin(int frame, CarAxes axes) {
    m_frame = frame;
    holdAxes(host, axes);
    car.world.begin(frame);
    host.startRun(frame);
}

void CarDrive::go(int frames, CarAxes axes) {
    holdAxes(host, axes);
    for (int i = 0; i < frames; ++i) {
        car.world.frame(++m_frame);
        host.updateFrame(m_frame);
        Shot& shot = m_shots[m_frame];
        shot = {row("Current Velocity"), row("Current Velocity (% of max)"), {}};
        for (const unidevice::OutputProperty* output : host.outputs) shot.outputs.push_back(output->current);
    }
}

void CarDrive::end() {
    host.stopRun(m_frame);
    car.world.end();
}

stage::Element& CarDrive::element(const std::string& name) const {
    stage::Element* found = host.element(name);
    if (found == nullptr) check.give("car-rig", "the rig has no element " + cited(name));
    return *found;
}

util::Matrix4 CarDrive::world(const std::string& name, int frame) const {
    return car.world.scene.world(element(name), car.world.scene.clock.time(frame));
}

util::Matrix4 CarDrive::local(const std::string& name, int frame) const {
    return car.world.scene.local(element(name), car.world.scene.clock.time(frame));
}

double CarDrive::stepTold(int frame) const {
    return shot(frame).percent / 100.0 * row("Gas Pedal (Forw/Backw) Maximum") * length() *
           car.world.scene.clock.step();
}

double CarDrive::length() const { return util::Scale(world("CarBodyMesh", 0)).z; }

double CarDrive::heading(int frame) const {
    const util::Matrix4 matrix = world("CarBodyMesh", frame);
    return std::atan2(matrix.row(2).x, matrix.row(2).z);
}

double CarDrive::rolled(const std::string& wheel, int frame) const {
    const util::Matrix4 before = world(wheel, frame - 1);
    const util::Matrix4 turn = util::Inverse(before) * world(wheel, frame);
    const bool isFlipped = util::Dot(before.row(0), world("CarBodyMesh", frame).row(0)) < 0.0;
    return (isFlipped ? -1.0 : 1.0) * std::atan2(turn[6] * util::Scale(before).z, turn[5] * util::Scale(before).y);
}

}  // namespace ond::validate

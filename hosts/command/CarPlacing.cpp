#include "command/CarPlacing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "command/CommandError.h"
#include "command/Numbers.h"
#include "ond/util/Quat.h"

namespace ond::command {

using stage::Vehicle;
using util::Matrix4;
using util::Vector3;

namespace {

constexpr double kRadians = 0.017453292519943295;
constexpr const char* kCorners[4] = {"FL", "FR", "BL", "BR"};
/// Elements that stand in the world by themselves.
constexpr const char* kRoots[3] = {"CarBodyMesh", "GravityDirectionMesh", "TargetMesh"};

double now(const Vehicle& vehicle) { return vehicle.scene.clock.time(vehicle.scene.clock.now); }

Matrix4 worldOf(const Vehicle& vehicle, const std::string& identifier) {
    return vehicle.scene.world(vehicle.element(identifier), now(vehicle));
}

void transformRoots(Vehicle& vehicle, const Matrix4& by) {
    for (const char* root : kRoots)
        vehicle.scene.setWorld(vehicle.element(root), now(vehicle), by * worldOf(vehicle, root));
}

/// Four points, one under each wheel.
using Contacts = std::array<Vector3<double>, 4>;

Contacts contactsOf(const Vehicle& vehicle) {
    Contacts contacts;
    for (std::size_t i = 0; i < 4; ++i) {
        const Matrix4 wheel = worldOf(vehicle, std::string("WheelMesh_") + kCorners[i]);
        const double radius = util::Length(wheel.row(1)) * vehicle.value("Wheel Radius Multiplier");
        contacts[i] = wheel.row(3) - Vector3<double>(0.0, radius, 0.0);
    }
    return contacts;
}

Vector3<double> mean(const Contacts& points) { return (points[0] + points[1] + points[2] + points[3]) * 0.25; }

/// Axes of a car that stands on the four points: right, up, back.
Matrix4 axesOf(const Contacts& points) {
    Matrix4 axes;
    const Vector3<double> back = util::Normalized(points[2] + points[3] - points[0] - points[1]);
    Vector3<double> right = points[1] + points[3] - points[0] - points[2];
    right = util::Normalized(right - back * util::Dot(right, back));
    axes.setRow(0, right);
    axes.setRow(1, util::Cross(back, right));
    axes.setRow(2, back);
    return axes;
}

Matrix4 upright(double heading, const Vector3<double>& at) {
    return util::Translation(at) * util::RotationY(-heading * kRadians);
}

Contacts transformed(const Matrix4& by, const Contacts& points) {
    Contacts moved;
    for (std::size_t i = 0; i < 4; ++i) moved[i] = util::Transform(by, points[i]);
    return moved;
}

/// The placing that puts the contacts onto the ground about (x, z), or nothing where a wheel has no ground.
std::optional<Matrix4> standing(const Contacts& contacts, double x, double z, double heading,
                                const GroundProbe& ground) {
    Matrix4 placing = upright(heading, {x, 0.0, z});
    // A leaning car has its wheels elsewhere than an upright one; a few rounds settle that.
    for (int round = 0; round < 4; ++round) {
        Contacts below = transformed(placing, contacts);
        for (Vector3<double>& point : below) {
            const std::optional<double> height = ground.top(point.x, point.z);
            if (!height) return std::nullopt;
            point.y = *height;
        }
        Matrix4 turn = axesOf(below) * util::Inverse(axesOf(contacts));
        turn.setRow(3, {x, mean(below).y - util::Transform(turn, mean(contacts)).y, z});
        placing = turn;
    }
    return placing;
}

/// Places to try without a wish: the origin, then from the middle of the ground outwards.
std::vector<std::pair<double, double>> candidates(const GroundProbe& ground) {
    std::vector<std::pair<double, double>> places;
    const Vector3<double> middle = (ground.low() + ground.high()) * 0.5;
    constexpr int kSteps = 20;
    for (int i = -kSteps; i <= kSteps; ++i)
        for (int k = -kSteps; k <= kSteps; ++k)
            places.emplace_back(middle.x + (ground.high().x - ground.low().x) * 0.5 * i / kSteps,
                                middle.z + (ground.high().z - ground.low().z) * 0.5 * k / kSteps);
    const auto fromMiddle = [&](const std::pair<double, double>& p) {
        return std::hypot(p.first - middle.x, p.second - middle.z);
    };
    std::stable_sort(places.begin(), places.end(),
                     [&](const auto& a, const auto& b) { return fromMiddle(a) < fromMiddle(b); });
    places.insert(places.begin(), {0.0, 0.0});
    return places;
}

std::string rangeText(const GroundProbe& ground) {
    return "the ground reaches from x " + shortText(ground.low().x) + " to " + shortText(ground.high().x) +
           " and from z " + shortText(ground.low().z) + " to " + shortText(ground.high().z);
}

/// Stands on what the wheels have of ground, upright.
std::optional<Matrix4> standingUpright(const Contacts& contacts, double x, double z, double heading,
                                       const GroundProbe& ground) {
    const Matrix4 turn = upright(heading, {x, 0.0, z});
    std::optional<double> height;
    for (const Vector3<double>& point : transformed(turn, contacts)) {
        const std::optional<double> here = ground.top(point.x, point.z);
        if (here && (!height || *here > *height)) height = here;
    }
    if (!height) return std::nullopt;
    return upright(heading, {x, *height - mean(contacts).y, z});
}

/// Sentences about a vehicle that was put somewhere without a look at the ground.
std::vector<std::string> startNotes(const Vehicle& vehicle, const GroundProbe& ground) {
    const double length = bodyLength(vehicle);
    // A wheel that stands a bit too deep still has the ground below it.
    const double lift = 0.25 * length;
    int without = 0;
    double nearest = std::numeric_limits<double>::max();
    for (const Vector3<double>& wheel : contactsOf(vehicle)) {
        const Vector3<double> from = wheel + Vector3<double>(0.0, lift, 0.0);
        const std::optional<double> height =
            ground.empty() ? planeBelow(from, planeHalf(vehicle, length)) : ground.below(from);
        if (!height) ++without;
        if (height) nearest = std::min(nearest, wheel.y - *height);
    }
    if (without == 4) return {"there is no ground below '" + vehicle.name + "' at the start"};
    if (without > 0) return {"not all wheels of '" + vehicle.name + "' have ground below them at the start"};
    if (nearest <= 0.5 * length) return {};
    return {"'" + vehicle.name + "' starts in the air, " + shortText(nearest, 4) + " above the ground"};
}

}  // namespace

double bodyLength(const Vehicle& vehicle) { return util::Length(worldOf(vehicle, "CarBodyMesh").row(2)); }

void resizeCar(Vehicle& vehicle, double length) {
    transformRoots(vehicle, util::Scaling(length / bodyLength(vehicle)));
}

void placeWheels(Vehicle& vehicle, const std::map<std::string, WheelPlan>& wheels) {
    const Matrix4 body = worldOf(vehicle, "CarBodyMesh");
    Matrix4 axes = body;
    for (int i = 0; i < 3; ++i) axes.setRow(i, util::Normalized(body.row(i)));
    axes.setRow(3, {0.0, 0.0, 0.0});
    for (const auto& [corner, plan] : wheels) {
        const std::string identifier = "WheelRelocatorMesh_" + corner;
        if (!vehicle.hasElement(identifier))
            throw CommandError("the vehicle '" + vehicle.name + "' has no wheel " + corner);
        Matrix4 world = worldOf(vehicle, identifier);
        const double size = util::Length(world.row(1)) * plan.scale.value_or(1.0);
        if (plan.caster) {
            const Matrix4 turned = axes * util::RotationX(*plan.caster * kRadians);
            for (int i = 0; i < 3; ++i) world.setRow(i, turned.row(i));
        }
        for (int i = 0; i < 3; ++i) world.setRow(i, util::Normalized(world.row(i)) * size);
        if (plan.move) world.setRow(3, world.row(3) + util::Transform(axes, *plan.move));
        vehicle.scene.setWorld(vehicle.element(identifier), now(vehicle), world);
    }
}

std::vector<std::string> placeCar(Vehicle& vehicle, const CarPlace& place, const GroundProbe& ground) {
    const Contacts contacts = contactsOf(vehicle);
    const double rest = mean(contacts).y;
    std::vector<std::string> notes;
    if (place.at.size() == 3) {
        transformRoots(vehicle, upright(place.heading, {place.at[0], place.at[1] - rest, place.at[2]}));
        return startNotes(vehicle, ground);
    }
    if (ground.empty()) {
        const std::vector<double> at = place.at.empty() ? std::vector<double>{0.0, 0.0} : place.at;
        transformRoots(vehicle, upright(place.heading, {at[0], -rest, at[1]}));
        return startNotes(vehicle, ground);
    }
    if (!place.at.empty()) {
        std::optional<Matrix4> placing = standing(contacts, place.at[0], place.at[1], place.heading, ground);
        if (!placing) {
            placing = standingUpright(contacts, place.at[0], place.at[1], place.heading, ground);
            notes.push_back("not all wheels of '" + vehicle.name + "' have ground below them at the start");
        }
        if (!placing)
            throw CommandError("there is no ground at x " + shortText(place.at[0]) + ", z " + shortText(place.at[1]) +
                               " to stand '" + vehicle.name + "' on; " + rangeText(ground));
        transformRoots(vehicle, *placing);
        return notes;
    }
    for (const auto& [x, z] : candidates(ground)) {
        const std::optional<Matrix4> placing = standing(contacts, x, z, place.heading, ground);
        if (!placing) continue;
        transformRoots(vehicle, *placing);
        if (x != 0.0 || z != 0.0)
            notes.push_back("there is no ground at the origin; '" + vehicle.name + "' stands at x " + shortText(x) +
                            ", z " + shortText(z));
        return notes;
    }
    throw CommandError("found no place on the ground where '" + vehicle.name + "' can stand; give one with --at X,Z, " +
                       "or, if the file's Z is up, --up z; " + rangeText(ground));
}

}  // namespace ond::command

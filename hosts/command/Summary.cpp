#include "command/Summary.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "command/GroundProbe.h"
#include "command/Numbers.h"

namespace ond::command {

using stage::Stage;
using stage::Vehicle;
using util::Vector3;

namespace {

/// Between two frames no car's speed changes by more than this, units per second, ...
constexpr double kLargestChange = 100.0;
/// ... nor is it ever faster by this factor than its pedal allows; a booster gives less.
constexpr double kLargestFactor = 20.0;

constexpr const char* kAirChannels[4] = {"WheelMesh_FL", "WheelMesh_FR", "WheelMesh_BL", "WheelMesh_BR"};

void measureMotion(Summary& summary, const Vehicle& vehicle, double topOfPedal) {
    Vector3<double> before = vehicle.world("CarBodyMesh", summary.first).row(3);
    double speedBefore = 0.0;
    const double step = vehicle.scene.clock.step();
    for (int frame = summary.first + 1; frame <= summary.last; ++frame) {
        const util::Matrix4 body = vehicle.world("CarBodyMesh", frame);
        if (body.row(1).y < 0.0 && !summary.overturned) summary.overturned = frame;
        const Vector3<double> place = body.row(3);
        const double way = util::Length(place - before);
        const double speed = way / step;
        summary.distance += way;
        if (speed > summary.topSpeed) {
            summary.topSpeed = speed;
            summary.topSpeedFrame = frame;
        }
        // What the car did before the first frame is not known.
        const bool jumps = frame > summary.first + 1 && std::abs(speed - speedBefore) > kLargestChange;
        if (jumps || speed > kLargestFactor * topOfPedal) summary.jumps.push_back({frame, speedBefore, speed});
        speedBefore = speed;
        before = place;
    }
}

void measureAir(Summary& summary, const stage::Curves& curves) {
    std::array<int, 4> columns{};
    for (std::size_t i = 0; i < 4; ++i) columns[i] = curves.column(stage::CurveKind::output, kAirChannels[i]);
    summary.knowsAir = std::all_of(columns.begin(), columns.end(), [](int column) { return column >= 0; });
    if (!summary.knowsAir) return;
    for (int frame = summary.first + 1; frame <= summary.last; ++frame) {
        const double* row = curves.row(frame);
        if (row == nullptr) continue;
        const auto inAir =
            std::count_if(columns.begin(), columns.end(), [&](int column) { return row[column] != 0.0; });
        if (inAir > 0) ++summary.wheelsInAir;
        if (inAir == 4) ++summary.allInAir;
    }
}

void measureGround(Summary& summary, const Vehicle& vehicle, double length) {
    const stage::Scene& scene = vehicle.scene;
    const GroundProbe ground(scene, linkedGrounds(scene, vehicle.name), scene.clock.time(summary.first));
    summary.hasGround = !ground.empty();
    if (ground.empty()) return;
    const Vector3<double> lift(0.0, length, 0.0);
    std::vector<const stage::Element*> parts;
    for (const char* name : {"CarBodyMesh", "WheelMesh_FL", "WheelMesh_FR", "WheelMesh_BL", "WheelMesh_BR"})
        if (const stage::Element* part = scene.find(vehicle.name, name)) parts.push_back(part);
    for (int frame = summary.first; frame <= summary.last; ++frame) {
        const double time = scene.clock.time(frame);
        const Vector3<double> place = vehicle.world("CarBodyMesh", frame).row(3);
        if (std::all_of(parts.begin(), parts.end(), [&](const stage::Element* part) {
                return ground.below(scene.world(*part, time).row(3) + lift).has_value();
            }))
            continue;
        if (!summary.left) summary.left = Summary::Leaving{frame, place};
        ++summary.framesOff;
    }
}

std::string fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

std::string at(const Vector3<double>& p) { return fixed(p.x, 2) + ", " + fixed(p.y, 2) + ", " + fixed(p.z, 2); }

}  // namespace

Summary summarise(const Stage& stage, int index, int first, int last) {
    const Vehicle& vehicle = *stage.vehicles.at(static_cast<std::size_t>(index));
    Summary summary;
    summary.vehicle = vehicle.name;
    summary.first = first;
    summary.last = last;
    summary.seconds = stage.scene.clock.time(last) - stage.scene.clock.time(first);
    const double length = util::Length(vehicle.world("CarBodyMesh", first).row(2));
    measureMotion(summary, vehicle, length * vehicle.value("Gas Pedal (Forw/Backw) Maximum"));
    if (static_cast<std::size_t>(index) < stage.curves.size())
        measureAir(summary, stage.curves[static_cast<std::size_t>(index)]);
    measureGround(summary, vehicle, length);
    return summary;
}

std::string Summary::text() const {
    std::string text = vehicle + ": frames " + std::to_string(first) + " to " + std::to_string(last) + ", " +
                       fixed(seconds, 2) + " s, " + fixed(distance, 1) + " m, top speed " + fixed(topSpeed * 3.6, 1) +
                       " km/h at frame " + std::to_string(topSpeedFrame);
    if (wallSeconds > 0.0)
        text += "; driven in " + fixed(wallSeconds, 2) + " s, " + fixed(seconds / wallSeconds, 0) + " times real time";
    text += "\n" + vehicle + ": ";
    if (knowsAir)
        text += "a wheel in the air in " + std::to_string(wheelsInAir) + " frames, all four in " +
                std::to_string(allInAir) + "; ";
    if (!hasGround)
        text += "no ground mesh, driven on the plane y = 0";
    else if (left)
        text += "left the ground at frame " + std::to_string(left->frame) + " at " + at(left->place) + ", " +
                std::to_string(framesOff) + " frames with the body or a wheel beyond its edge";
    else
        text += "stayed on the ground";
    text += "\n";
    if (overturned) text += vehicle + ": turned over at frame " + std::to_string(*overturned) + "\n";
    constexpr std::size_t kNamed = 3;
    for (std::size_t i = 0; i < std::min(kNamed, jumps.size()); ++i)
        text += vehicle + ": implausible step at frame " + std::to_string(jumps[i].frame) + ": from " +
                fixed(jumps[i].before, 1) + " to " + fixed(jumps[i].speed, 1) + " m/s\n";
    if (jumps.size() > kNamed)
        text += vehicle + ": and " + std::to_string(jumps.size() - kNamed) + " more implausible steps\n";
    return text;
}

std::string Summary::json() const {
    nlohmann::ordered_json object{{"vehicle", vehicle},
                                  {"first", first},
                                  {"last", last},
                                  {"seconds", seconds},
                                  {"distance", distance},
                                  {"topSpeed", topSpeed},
                                  {"topSpeedFrame", topSpeedFrame}};
    if (knowsAir) {
        object["framesWithWheelInAir"] = wheelsInAir;
        object["framesWithAllWheelsInAir"] = allInAir;
    }
    object["hasGround"] = hasGround;
    object["leftGround"] = nullptr;
    if (left)
        object["leftGround"] = {
            {"frame", left->frame}, {"place", {left->place.x, left->place.y, left->place.z}}, {"frames", framesOff}};
    object["overturned"] = nullptr;
    if (overturned) object["overturned"] = *overturned;
    object["implausibleSteps"] = nlohmann::ordered_json::array();
    for (const Jump& jump : jumps)
        object["implausibleSteps"].push_back({{"frame", jump.frame}, {"before", jump.before}, {"speed", jump.speed}});
    if (wallSeconds > 0.0) {
        object["wallSeconds"] = wallSeconds;
        object["timesRealTime"] = seconds / wallSeconds;
    }
    return object.dump();
}

}  // namespace ond::command

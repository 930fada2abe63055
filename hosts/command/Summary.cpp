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

/// What the wheels and the ground were like in each frame of a summary.
struct Frames {
    std::vector<bool> allInAir;      ///< no wheel touches
    std::vector<bool> nothingBelow;  ///< the body's middle is beyond the ground
};

std::size_t place(const Summary& summary, int frame) { return static_cast<std::size_t>(frame - summary.first); }

void measureAir(Summary& summary, const stage::Curves& curves, Frames& frames) {
    std::array<int, 4> columns{};
    for (std::size_t i = 0; i < 4; ++i) columns[i] = curves.column(stage::CurveKind::output, kAirChannels[i]);
    summary.knowsAir = std::all_of(columns.begin(), columns.end(), [](int column) { return column >= 0; });
    if (!summary.knowsAir) return;
    for (int frame = summary.first + 1; frame <= summary.last; ++frame) {
        const double* row = curves.row(frame);
        if (row == nullptr) continue;
        const auto inAir =
            std::count_if(columns.begin(), columns.end(), [&](int column) { return row[column] != 0.0; });
        frames.allInAir[place(summary, frame)] = inAir == 4;
        if (inAir > 0) ++summary.wheelsInAir;
        if (inAir == 4) ++summary.allInAir;
    }
}

void measureGround(Summary& summary, const Vehicle& vehicle, double length, Frames& frames) {
    const stage::Scene& scene = vehicle.scene;
    const GroundProbe ground(scene, linkedGrounds(scene, vehicle.name), scene.clock.time(summary.first));
    summary.hasGround = !ground.empty();
    const double half = planeHalf(vehicle, length);
    const Vector3<double> lift(0.0, length, 0.0);
    const auto below = [&](const Vector3<double>& point) {
        return ground.empty() ? planeBelow(point + lift, half) : ground.below(point + lift);
    };
    std::vector<const stage::Element*> parts;
    for (const char* name : kAirChannels)
        if (const stage::Element* part = scene.find(vehicle.name, name)) parts.push_back(part);
    std::optional<double> height;
    for (int frame = summary.first; frame <= summary.last; ++frame) {
        const double time = scene.clock.time(frame);
        const Vector3<double> body = vehicle.world("CarBodyMesh", frame).row(3);
        const std::optional<double> here = below(body);
        frames.nothingBelow[place(summary, frame)] = !here;
        const bool off = !here || !std::all_of(parts.begin(), parts.end(), [&](const stage::Element* part) {
            return below(scene.world(*part, time).row(3)).has_value();
        });
        // Beyond the edge the height counts from the ground that was last below.
        if (here) height = here;
        if (off && !summary.left) summary.left = Summary::Leaving{frame, body};
        if (off) ++summary.framesOff;
        if (summary.left && height) summary.highest = std::max(summary.highest, body.y - *height);
    }
}

/// A fall is the time at the end in which no wheel touches anything, nothing is below, and the vehicle goes down ever
/// faster.
void measureFall(Summary& summary, const Vehicle& vehicle, double length, const Frames& frames) {
    int from = summary.last + 1;
    while (from > summary.first && frames.allInAir[place(summary, from - 1)] &&
           frames.nothingBelow[place(summary, from - 1)])
        --from;
    if (summary.last - from < 2) return;
    const auto at = [&](int frame) { return vehicle.world("CarBodyMesh", frame).row(3); };
    const Vector3<double> start = at(from);
    const double firstStep = start.y - at(from + 1).y;
    const double lastStep = at(summary.last - 1).y - at(summary.last).y;
    if (start.y - at(summary.last).y > length && lastStep > firstStep) summary.falls = Summary::Leaving{from, start};
}

void measureMotion(Summary& summary, const Vehicle& vehicle, double topOfPedal, const Frames& frames) {
    Vector3<double> before = vehicle.world("CarBodyMesh", summary.first).row(3);
    double speedBefore = 0.0;
    std::optional<double> plausible;
    const double step = vehicle.scene.clock.step();
    for (int frame = summary.first + 1; frame <= summary.last; ++frame) {
        const util::Matrix4 body = vehicle.world("CarBodyMesh", frame);
        if (body.row(1).y < 0.0 && !summary.overturned) summary.overturned = frame;
        const Vector3<double> now = body.row(3);
        const double way = util::Length(now - before);
        const double speed = way / step;
        const bool falls = summary.falls && frame > summary.falls->frame;
        if (!falls) summary.distance += way;
        // What the car did before the first frame is not known.
        const bool changes = frame > summary.first + 1 && std::abs(speed - speedBefore) > kLargestChange;
        const bool jumps = !falls && (changes || speed > kLargestFactor * topOfPedal);
        if (jumps) summary.jumps.push_back({frame, speedBefore, speed});
        const bool touches = !frames.allInAir[place(summary, frame)] && !frames.allInAir[place(summary, frame - 1)];
        // Behind a step that no car makes its speed counts again when it is back where it was.
        if (touches && !jumps && (!plausible || std::abs(speed - *plausible) <= kLargestChange)) {
            plausible = speed;
            if (speed > summary.topSpeed || !summary.topSpeedFrame) {
                summary.topSpeed = speed;
                summary.topSpeedFrame = frame;
            }
        }
        speedBefore = speed;
        before = now;
    }
}

std::string fixed(double value, int decimals) {
    // A larger number is no measure of a drive any more; its digits would only hide that.
    constexpr double kPrintedInFull = 1e9;
    if (!(std::abs(value) < kPrintedInFull)) return exactText(value);
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
    const std::vector<bool> none(place(summary, std::max(first, last)) + 1, false);
    Frames frames{none, none};
    if (static_cast<std::size_t>(index) < stage.curves.size())
        measureAir(summary, stage.curves[static_cast<std::size_t>(index)], frames);
    measureGround(summary, vehicle, length, frames);
    measureFall(summary, vehicle, length, frames);
    measureMotion(summary, vehicle, length * vehicle.value("Gas Pedal (Forw/Backw) Maximum"), frames);
    if (summary.highest < length) summary.highest = 0.0;
    return summary;
}

std::string Summary::speedText() const {
    if (!topSpeedFrame) return neverTouched() ? "never on the ground" : "no plausible speed";
    std::string text = "top speed on the ground " + fixed(topSpeed * 3.6, 1) + " km/h at frame ";
    text += std::to_string(*topSpeedFrame);
    if (!jumps.empty()) text += " (implausible steps left out)";
    return text;
}

std::string Summary::groundText() const {
    const std::string plane = "no ground mesh, driven on the plane y = 0";
    if (neverTouched()) return hasGround ? "never touched the ground" : plane + ", but never touched it";
    if (!left) return hasGround ? "stayed on the ground" : plane;
    std::string text = (hasGround ? "left the ground at frame " : plane + ", and left it at frame ");
    text += std::to_string(left->frame) + " at " + at(left->place);
    text += ", " + std::to_string(framesOff) + " frames with the body or a wheel beyond its edge";
    if (highest > 0.0) text += ", up to " + fixed(highest, 1) + " m above the ground";
    return text;
}

std::string Summary::text() const {
    std::string text = vehicle + ": frames " + std::to_string(first) + " to " + std::to_string(last);
    text += ", " + fixed(seconds, 2) + " s, " + fixed(distance, 1) + (falls ? " m before the fall, " : " m, ");
    text += speedText();
    if (wallSeconds > 0.0)
        text += "; driven in " + fixed(wallSeconds, 2) + " s, " + fixed(seconds / wallSeconds, 0) + " times real time";
    text += "\n" + vehicle + ": ";
    if (knowsAir)
        text += "a wheel in the air in " + std::to_string(wheelsInAir) + " frames, all four in " +
                std::to_string(allInAir) + "; ";
    text += groundText() + "\n";
    if (falls)
        text += vehicle + ": falls from frame " + std::to_string(falls->frame) + " at " + at(falls->place) +
                " until the end\n";
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
    nlohmann::ordered_json object{{"vehicle", vehicle},      {"first", first},       {"last", last},
                                  {"seconds", seconds},      {"distance", distance}, {"topSpeed", nullptr},
                                  {"topSpeedFrame", nullptr}};
    if (topSpeedFrame) {
        object["topSpeed"] = topSpeed;
        object["topSpeedFrame"] = *topSpeedFrame;
    }
    if (knowsAir) {
        object["framesWithWheelInAir"] = wheelsInAir;
        object["framesWithAllWheelsInAir"] = allInAir;
    }
    object["hasGround"] = hasGround;
    object["neverTouched"] = neverTouched();
    object["leftGround"] = nullptr;
    if (left)
        object["leftGround"] = {{"frame", left->frame},
                                {"place", {left->place.x, left->place.y, left->place.z}},
                                {"frames", framesOff},
                                {"highest", highest}};
    object["falls"] = nullptr;
    if (falls) object["falls"] = {{"frame", falls->frame}, {"place", {falls->place.x, falls->place.y, falls->place.z}}};
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

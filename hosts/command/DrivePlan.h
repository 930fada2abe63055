// What a drive is made of, before anything of it is read or made. Lengths in scene units, angles in degrees.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "command/InputLog.h"
#include "ond/util/Vector3.h"

namespace ond::command {

enum class GroundLink {
    automatic,  ///< the first mesh of the first file carries the gravity arrow, all others hang below it
    parent,     ///< the first mesh of this file carries the gravity arrow
    child       ///< all meshes of this file hang below the gravity arrow
};

struct GroundPlan {
    std::string file;
    GroundLink link = GroundLink::automatic;
    util::Vector3<double> at{0.0, 0.0, 0.0};  ///< moves the file's content, behind the scaling
    double scale = 1.0;
    bool zUp = false;  ///< the file's Z points up and becomes Y; its Y becomes -Z
};

/// How a wheel is placed at the car, as a user does with its relocator.
struct WheelPlan {
    std::optional<util::Vector3<double>> move;  ///< along the car's axes: right, up, back
    std::optional<double> scale;                ///< of the wheel about its centre
    std::optional<double> caster;               ///< degrees by which the steering axis leans; 0 is upright
};

/// How an axis becomes a channel's value; what is left out stays as it is.
struct ChannelPlan {
    std::optional<double> multiplier, deadZone, exponent, offset;
};

struct TrackPlan {
    std::string where;  ///< what messages call it: "--hold gas=2"
    std::string file;   ///< a log, or empty for a single channel with keys
    LogColumns columns;
    double offset = 0.0;                          ///< seconds added to all times
    double scale = 1.0;                           ///< factor on the values of a log
    int channel = -1;                             ///< place in kChannels
    std::vector<std::pair<double, double>> keys;  ///< seconds and value, ascending; one for a constant
};

struct TargetPlan {
    std::string file;             ///< a path, or empty
    std::string node;             ///< of a ground or scenery file, or empty
    std::optional<double> speed;  ///< along a path without times, scene units per second
};

/// A value of the dialog or of the saved state by its name.
using NamedValue = std::pair<std::string, double>;

struct VehiclePlan {
    std::string name = "car";
    std::vector<double> at;              ///< x, z or x, y, z of the point on the ground; empty to look for a place
    double heading = 0.0;                ///< 0 looks along -Z, positive turns right
    double length = 4.0;                 ///< of the body
    std::string preset;                  ///< name or file, or empty
    std::vector<NamedValue> parameters;  ///< in the order in which they are set
    std::vector<NamedValue> state;
    std::map<std::string, WheelPlan> wheels;  ///< by corner: FL, FR, BL, BR
    std::map<int, ChannelPlan> channels;      ///< by place in kChannels
    std::vector<TrackPlan> inputs;            ///< later ones win
    std::optional<TargetPlan> target;
};

struct DrivePlan {
    std::vector<GroundPlan> ground;
    std::vector<GroundPlan> scenery;  ///< only to be seen
    std::string fps = "25";
    int first = 0;
    std::optional<int> last;
    std::vector<VehiclePlan> vehicles;
};

}  // namespace ond::command

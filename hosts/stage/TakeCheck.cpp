#include "stage/TakeCheck.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "stage/StageError.h"

namespace ond::stage {

using util::Matrix4;

namespace {

constexpr double kLargestSingle = std::numeric_limits<float>::max();

[[noreturn]] void refuse(const std::string& what) { throw StageError(what + "; nothing was written"); }

bool isFinite(const Matrix4& matrix) {
    return std::all_of(matrix.m.begin(), matrix.m.end(), [](double number) { return std::isfinite(number); });
}

/// Also the axis lengths of such a matrix are within single precision.
bool isSingle(const Matrix4& matrix) {
    return std::all_of(matrix.m.begin(), matrix.m.end(),
                       [](double number) { return std::abs(number) < kLargestSingle / 2.0; });
}

void requireMatrix(const Matrix4& matrix, const std::string& name, const std::string& when) {
    if (!isFinite(matrix)) refuse("the transform of '" + name + "'" + when + " is not finite");
    if (!isSingle(matrix)) refuse("the transform of '" + name + "'" + when + " is too large for a scene file");
}

void requireTrack(const Track& track, FrameRate rate, const std::string& name) {
    requireMatrix(track.pose, name, "");
    const double farthest = rate.time(kFarthestFrame);
    for (const TrackKey& key : track.keys) {
        // Written so that NaN fails.
        if (!(std::abs(key.time) <= farthest)) refuse("'" + name + "' has a key at no time of the timeline");
        // The text is made only when it is needed: there are many keys.
        if (!isFinite(key.local) || !isSingle(key.local))
            requireMatrix(key.local, name, " at frame " + std::to_string(rate.nearest(key.time)));
    }
}

void requireShape(const TakeElement& element) {
    for (const auto* list : {&element.shape.vertices, &element.shape.texCoords})
        for (const util::Vector3<double>& vertex : *list)
            for (const double number : {vertex.x, vertex.y, vertex.z})
                if (!(std::abs(number) <= kLargestSingle))
                    refuse("the mesh of '" + element.name + "' has a coordinate that is not finite or too large");
}

void requireElement(const TakeElement& element, FrameRate rate) {
    requireTrack(element.state.track, rate, element.name);
    requireShape(element);
    for (const float part : element.colour)
        if (!std::isfinite(part)) refuse("the colour of '" + element.name + "' is not finite");
    if (!std::isfinite(element.fieldOfView)) refuse("the field of view of '" + element.name + "' is not finite");
}

void requireVehicle(const VehicleState& vehicle) {
    for (const auto& [label, value] : vehicle.rows)
        if (!std::isfinite(value)) refuse("the value '" + label + "' of '" + vehicle.name + "' is not finite");
    for (const ChannelSettings& channel : vehicle.channels)
        for (const double value : {channel.multiplier, channel.deadZone, channel.exponent, channel.offset})
            if (!std::isfinite(value))
                refuse("the channel '" + channel.name + "' of '" + vehicle.name + "' has a setting that is not finite");
}

void requireCurves(const Curves& curves, const std::string& vehicle) {
    for (std::size_t i = 0; i < curves.values.size(); ++i)
        if (!std::isfinite(curves.values[i]))
            refuse("the curve '" + curves.columns[i % curves.columns.size()].name + "' of '" + vehicle +
                   "' is not finite at frame " +
                   std::to_string(curves.first + static_cast<int>(i / curves.columns.size())));
}

void requireRun(const RunRecord& run, const TakeContents& contents) {
    for (const RunInput& input : run.inputs)
        for (const double value : input.axes)
            if (!std::isfinite(value))
                refuse("the input of the run from frame " + std::to_string(run.from) + " is not finite");
    if (run.before == nullptr) return;
    for (std::size_t i = 0; i < run.before->elements.size() && i < contents.elements.size(); ++i)
        requireTrack(run.before->elements[i].track, contents.rate, contents.elements[i].name);
    for (const VehicleState& vehicle : run.before->vehicles) requireVehicle(vehicle);
}

}  // namespace

void requireWritable(const TakeContents& contents) {
    std::vector<const ElementState*> states;
    for (const TakeElement& element : contents.elements) {
        requireElement(element, contents.rate);
        states.push_back(&element.state);
    }
    if (!isSoundTree(states))
        refuse("the elements hang below each other more than " + std::to_string(kDeepestNesting) + " deep");
    for (const VehicleState& vehicle : contents.vehicles) requireVehicle(vehicle);
    for (std::size_t i = 0; i < contents.curves.size() && i < contents.vehicles.size(); ++i)
        requireCurves(contents.curves[i], contents.vehicles[i].name);
    for (const RunRecord& run : contents.journal) requireRun(run, contents);
}

}  // namespace ond::stage

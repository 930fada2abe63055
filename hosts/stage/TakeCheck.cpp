#include "stage/TakeCheck.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "stage/Finite.h"
#include "stage/SavedBlock.h"
#include "stage/StageError.h"
#include "stage/TakeFormat.h"

namespace ond::stage {

using util::Matrix4;

namespace {

constexpr double kLargestSingle = std::numeric_limits<float>::max();
constexpr int kMost = 1000000000;

[[noreturn]] void refuse(const std::string& what) { throw StageError(what + "; nothing was written"); }

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
        if (!fitsTake(key.local)) requireMatrix(key.local, name, " at frame " + std::to_string(rate.nearest(key.time)));
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

// What readTake() and stageOf() refuse besides.

bool isFrame(int frame) { return frame >= -kFarthestFrame && frame <= kFarthestFrame; }

void requireAscending(const Track& track, const std::string& name) {
    for (std::size_t i = 1; i < track.keys.size(); ++i)
        if (!(track.keys[i].time > track.keys[i - 1].time)) refuse("the keys of '" + name + "' are not in order");
}

void requireBlock(const VehicleState& vehicle) {
    if (!vehicle.block.empty() && !isWholeBlock(vehicle.block))
        refuse("the saved state of the vehicle '" + vehicle.name + "' is damaged");
}

void requireVehicles(const std::vector<VehicleState>& vehicles) {
    if (vehicles.empty()) refuse("the scene has no vehicle, and a take is one of a vehicle");
    std::set<std::string> names;
    for (const VehicleState& vehicle : vehicles) {
        if (vehicle.block.empty())
            refuse("the vehicle '" + vehicle.name + "' has no saved state; rig it or remove it first");
        requireBlock(vehicle);
        if (!names.insert(vehicle.name).second) refuse("two vehicles have the name '" + vehicle.name + "'");
    }
}

void requireMessages(const TakeContents& contents) {
    for (const StageMessage& message : contents.messages)
        if (!isFrame(message.frame) || message.count < 1 || message.count > kMost || message.vehicle < 0 ||
            static_cast<std::size_t>(message.vehicle) >= contents.vehicles.size())
            refuse("the message '" + message.caption + "' is of no vehicle or of no frame");
}

void requireBefore(const Snapshot& before, const TakeContents& contents, const std::string& run) {
    if (!isFrame(before.now)) refuse(run + " starts from no frame of the timeline");
    if (before.elements.size() > contents.elements.size()) refuse(run + " has elements that the scene does not have");
    std::vector<const ElementState*> states;
    for (std::size_t i = 0; i < before.elements.size(); ++i) {
        states.push_back(&before.elements[i]);
        requireAscending(before.elements[i].track, contents.elements[i].name);
    }
    if (!isSoundTree(states)) refuse(run + " starts from elements that hang in no tree");
    for (const VehicleState& vehicle : before.vehicles) requireBlock(vehicle);
}

void requireRows(const RunRecord& run, const std::string& name) {
    const std::int64_t frames = std::int64_t{run.to} - run.from + 1;
    for (const RunInput& input : run.inputs)
        if (input.channels < 0 || input.channels > kMostChannels ||
            static_cast<std::int64_t>(input.axes.size()) != (input.armed ? frames * input.channels : 0))
            refuse("the input of " + name + " does not have one row per frame");
}

}  // namespace

bool fitsTake(double number) { return std::isfinite(number); }

bool fitsTake(const Matrix4& transform) { return isFinite(transform) && isSingle(transform); }

void requireReadable(const TakeContents& contents) {
    if (!isFrame(contents.now)) refuse("the timeline shows a frame that is too far away");
    requireVehicles(contents.vehicles);
    for (const TakeElement& element : contents.elements) requireAscending(element.state.track, element.name);
    for (const Curves& curves : contents.curves)
        if (!isFrame(curves.first)) refuse("the curves begin at a frame that is too far away");
    requireMessages(contents);
    for (const RunRecord& run : contents.journal) {
        const std::string name = "the run from frame " + std::to_string(run.from);
        if (!isFrame(run.from) || !isFrame(run.to) || run.to < run.from)
            refuse(name + " has no frames of the timeline");
        if (run.before != nullptr) requireBefore(*run.before, contents, name);
        requireRows(run, name);
    }
    if (!contents.journal.empty() && contents.journal.front().before == nullptr)
        refuse("the first run does not say what it started from");
}

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

// What a stage keeps of its runs, and how it drives them again.
#include <algorithm>
#include <cmath>
#include <functional>
#include <set>
#include <utility>

#include "ond/util/DataChunk.h"
#include "stage/Recording.h"
#include "stage/Stage.h"
#include "stage/StageError.h"

namespace ond::stage {

namespace {

bool takesPart(const Vehicle& vehicle) { return vehicle.armed && vehicle.life == Vehicle::Life::rigged; }

std::vector<ElementState> statesOf(const Scene& scene) {
    std::vector<ElementState> all;
    for (const auto& element : scene.elements) {
        ElementState state{element->track, -1, {}, element->deleted, element->shown};
        if (element->parent != nullptr) state.parent = static_cast<int>(element->parent->index);
        for (const Element* child : element->children) state.children.push_back(static_cast<int>(child->index));
        all.push_back(std::move(state));
    }
    return all;
}

/// Does something at the end of its block, also where that is left by an exception.
class AtEnd {
  public:
    explicit AtEnd(std::function<void()> action) : m_action(std::move(action)) {}
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;
    ~AtEnd() { m_action(); }

  private:
    std::function<void()> m_action;
};

/// An input channel by its places: in Stage::vehicles, in Vehicle::properties.
struct FedChannel {
    int vehicle = 0;
    int channel = 0;
};

/// The channels that the axis feeds.
std::vector<FedChannel> channelsOf(const std::vector<std::unique_ptr<Vehicle>>& vehicles, const InputAxis& axis) {
    std::vector<FedChannel> fed;
    for (std::size_t v = 0; v < vehicles.size(); ++v)
        for (std::size_t c = 0; c < vehicles[v]->properties.size(); ++c)
            if (vehicles[v]->properties[c]->source == &axis) fed.push_back({static_cast<int>(v), static_cast<int>(c)});
    return fed;
}

/// What the channel was given in the frame of the run, or in the nearest one; nothing where it was not recorded.
std::optional<double> recordedInput(const RunRecord& run, FedChannel of, int frame) {
    if (static_cast<std::size_t>(of.vehicle) >= run.inputs.size()) return std::nullopt;
    const RunInput& input = run.inputs[static_cast<std::size_t>(of.vehicle)];
    const int rows = input.channels == 0 ? 0 : static_cast<int>(input.axes.size()) / input.channels;
    if (rows == 0 || of.channel >= input.channels) return std::nullopt;
    const auto row = static_cast<std::size_t>(std::clamp(frame - run.from, 0, rows - 1));
    return input.axes[row * static_cast<std::size_t>(input.channels) + static_cast<std::size_t>(of.channel)];
}

}  // namespace

Snapshot Stage::snapshot() {
    requireNoRun("the scene cannot be captured");
    Snapshot all;
    all.now = scene.clock.now;
    for (const auto& vehicle : vehicles) all.vehicles.push_back(vehicle->state());
    all.elements = statesOf(scene);
    return all;
}

void Stage::restore(const Snapshot& snapshot) {
    requireNoRun("the scene cannot be restored");
    std::set<std::string> taken;
    for (const VehicleState& state : snapshot.vehicles)
        if (!taken.insert(state.name).second)
            throw StageError("the scene cannot be restored: two of its vehicles have the name '" + state.name + "'");
    const std::vector<ElementState> before = statesOf(scene);
    const int nowBefore = scene.clock.now;
    undo.clear();
    putElements(snapshot.elements);
    scene.clock.now = snapshot.now;
    // The new vehicles load beside the old ones, which go when all is well.
    std::vector<std::unique_ptr<Vehicle>> fresh;
    try {
        for (const VehicleState& state : snapshot.vehicles) {
            fresh.push_back(std::make_unique<Vehicle>(plugin, state.name, scene, undo));
            fresh.back()->log.enabled = logsCalls;
            fresh.back()->become(state);
        }
    } catch (...) {
        fresh.clear();
        putElements(before);
        scene.clock.now = nowBefore;
        throw;
    }
    vehicles.swap(fresh);
    fresh.clear();
    wireChannels(snapshot.vehicles);
}

/// What the elements are; those behind the states are deleted.
void Stage::putElements(const std::vector<ElementState>& states) {
    for (std::size_t i = 0; i < scene.elements.size(); ++i) {
        Element& element = *scene.elements[i];
        element.children.clear();
        element.parent = nullptr;
        if (i >= states.size()) {
            element.deleted = true;
            continue;
        }
        const ElementState& state = states[i];
        element.track = state.track;
        element.deleted = state.deleted;
        element.shown = state.shown;
        if (state.parent >= 0) element.parent = scene.elements[static_cast<std::size_t>(state.parent)].get();
        for (const int child : state.children)
            element.children.push_back(scene.elements[static_cast<std::size_t>(child)].get());
    }
}

void Stage::setState(int vehicle, const std::map<std::string, double>& values) {
    Snapshot changed = snapshot();
    VehicleState& state = changed.vehicles.at(static_cast<std::size_t>(vehicle));
    util::DataChunk root;
    root.deserialize(state.block.data(), state.block.size());
    for (const auto& [key, value] : values) {
        if (!root.hasChild(key)) throw StageError("the saved state of " + state.name + " has no key '" + key + "'");
        if (std::isnan(value))
            throw StageError("the key '" + key + "' of the saved state cannot hold what is no number");
        util::DataChunk& leaf = root.getChild(key);
        const bool flag = value != 0.0;
        const auto whole = static_cast<std::int32_t>(std::clamp(value, -2147483648.0, 2147483647.0));
        switch (leaf.getSize()) {
            case sizeof(bool): leaf.setData(&flag, sizeof flag); break;
            case sizeof whole: leaf.setData(&whole, sizeof whole); break;
            case sizeof value: leaf.setData(&value, sizeof value); break;
            default: throw StageError("the key '" + key + "' of the saved state does not hold a single number");
        }
    }
    int size = 0;
    const auto* bytes = static_cast<const unsigned char*>(root.serialize(&size));
    state.block.assign(bytes, bytes + size);
    restore(changed);
}

void Stage::prepareCurves(int frame) {
    curves.resize(vehicles.size());
    // A run that does not go on from a recorded frame leaves no rows before it.
    for (std::size_t i = 0; i < vehicles.size(); ++i)
        prepareTable(curves[i], *vehicles[i], !takesPart(*vehicles[i]) || curves[i].row(frame) != nullptr);
}

std::optional<std::pair<int, int>> Stage::recorded() const { return recordedFrames(journal, names()); }

std::optional<std::pair<int, int>> Stage::recorded(int vehicle) const {
    return recordedFrames(journal, {vehicles.at(static_cast<std::size_t>(vehicle))->name});
}

void Stage::noteRunStart(int frame) {
    if (!keepsRun() || m_drivingAgain) return;
    m_before = std::make_shared<const Snapshot>(snapshot());
    const bool follows = !journal.empty() && journal.back().left == fingerprint(*m_before);
    m_run = {frame, frame, follows ? nullptr : m_before, {}, 0};
    for (const auto& vehicle : vehicles)
        m_run.inputs.push_back({takesPart(*vehicle), static_cast<int>(vehicle->axes.size()), {}});
    beginRecording(frame);
}

void Stage::beginRecording(int frame) {
    std::erase_if(messages, [this](const StageMessage& message) { return isCut(message); });
    prepareCurves(frame);
}

/// Whether the present run takes the place of the message.
bool Stage::isCut(const StageMessage& message) const {
    const auto vehicle = static_cast<std::size_t>(message.vehicle);
    return message.frame > m_run.from && vehicle < m_run.inputs.size() && m_run.inputs[vehicle].armed;
}

void Stage::noteInputs() {
    if (!keepsRun()) return;
    const int frame = m_frame;
    m_run.to = frame;
    for (std::size_t v = 0; v < vehicles.size() && v < m_run.inputs.size(); ++v) {
        const Vehicle& vehicle = *vehicles[v];
        if (!m_run.inputs[v].armed) continue;
        if (!m_drivingAgain)
            for (std::size_t c = 0; c < vehicle.axes.size(); ++c) m_run.inputs[v].axes.push_back(vehicle.input(c));
        Curves& table = curves[v];
        // The first frame of a resumed run was driven by the run before, whose row stays.
        table.keepUpTo(frame == m_run.from ? frame : frame - 1);
        if (table.row(frame) == nullptr) appendRow(table, vehicle, frame);
    }
    m_breakdown = findBrokenRow();
}

std::optional<RunRecord> Stage::noteRunEnd() {
    if (!keepsRun()) return std::nullopt;
    m_run.left = fingerprint(snapshot());
    if (m_run.to == m_run.from) {
        keepOldRecording();
        return std::nullopt;
    }
    journal.push_back(m_run);
    return m_run;
}

/// After a run without frames: the curves of before, and the messages with those that came since.
void Stage::keepOldRecording() {
    Shown old = m_shownBefore;
    std::size_t next = 0;
    for (StageMessage& message : old.messages)
        if (!isCut(message) && next < messages.size()) message.count = messages[next++].count;
    old.messages.insert(old.messages.end(), messages.begin() + static_cast<std::ptrdiff_t>(next), messages.end());
    putShown(old);
}

Stage::Shown Stage::shown() const { return {names(), curves, messages}; }

/// Finds the vehicles by their names, as others may have come or gone.
void Stage::putShown(const Shown& from) {
    std::vector<Curves> tables(from.curves.empty() ? 0 : vehicles.size());
    for (std::size_t i = 0; i < from.curves.size() && i < from.names.size(); ++i)
        if (const int place = vehicleNamed(from.names[i]); place >= 0)
            tables[static_cast<std::size_t>(place)] = from.curves[i];
    std::vector<StageMessage> placed;
    for (StageMessage message : from.messages) {
        if (static_cast<std::size_t>(message.vehicle) >= from.names.size()) continue;
        message.vehicle = vehicleNamed(from.names[static_cast<std::size_t>(message.vehicle)]);
        if (message.vehicle >= 0) placed.push_back(std::move(message));
    }
    curves = std::move(tables);
    messages = std::move(placed);
}

/// Puts back what the broken run started from and drives it once more, this time to the last whole frame.
void Stage::driveAgainTo(int frame) {
    undo.close();
    scene.clock.now = m_frame;
    for (const auto& vehicle : vehicles)
        if (vehicle->life == Vehicle::Life::running) vehicle->stopRun(m_frame);
    scene.endRun(true);
    restore(*m_before);
    if (frame <= m_run.from) {
        keepOldRecording();
        return;
    }
    for (RunInput& input : m_run.inputs)
        if (input.armed)
            input.axes.resize(static_cast<std::size_t>(frame - m_run.from + 1) *
                              static_cast<std::size_t>(input.channels));
    putShown(m_shownBefore);
    beginRecording(m_run.from);
    const RunRecord run = m_run;
    m_drivingAgain = true;
    const AtEnd over([this] { m_drivingAgain = false; });
    driveRecorded(run, frame, nullptr);
}

void Stage::feed(const RunRecord& run, const TakeOver* other) {
    for (std::size_t v = 0; v < vehicles.size() && v < run.inputs.size(); ++v)
        for (const auto& axis : vehicles[v]->axes) {
            const Clock& clock = scene.clock;
            const std::vector<FedChannel> channels = channelsOf(vehicles, *axis);
            axis->script = [&run, &clock, other, channels](double) {
                if (other != nullptr && clock.now > other->at)
                    for (const auto& [vehicle, channel] : channels)
                        if (const std::optional<double> value = other->input(vehicle, channel, clock.now))
                            return *value;
                for (const FedChannel& channel : channels)
                    if (const std::optional<double> value = recordedInput(run, channel, clock.now)) return *value;
                return 0.0;
            };
        }
}

void Stage::driveRecorded(const RunRecord& run, int to, const TakeOver* other) {
    for (std::size_t v = 0; v < vehicles.size() && v < run.inputs.size(); ++v) vehicles[v]->armed = run.inputs[v].armed;
    feed(run, other);
    // The scripts look at the run.
    const AtEnd over([this] {
        for (const auto& vehicle : vehicles)
            for (const auto& axis : vehicle->axes) axis->script = nullptr;
    });
    startRun(run.from);
    advance(to - run.from);
    if (isRunning()) stopRun();
}

std::size_t Stage::runTakenOver(const Journal& runs, const TakeOver& other) const {
    const std::string chosen = other.vehicle < 0 ? "" : vehicles.at(static_cast<std::size_t>(other.vehicle))->name;
    std::vector<std::vector<std::string>> driven = drivenVehicles(runs);
    for (std::size_t i = runs.size(); i-- > 0;) {
        if (other.at < runs[i].from || other.at > runs[i].to) continue;
        for (const std::string& name : driven[i]) {
            const auto range = recordedFrames(runs, {name});
            if ((chosen.empty() || name == chosen) && range && other.at <= range->second) return i;
        }
    }
    const auto range = recordedFrames(runs, chosen.empty() ? names() : std::vector<std::string>{chosen});
    throw StageError("frame " + std::to_string(other.at) + " is not within a recorded run" +
                     (chosen.empty() ? "" : " of " + chosen) +
                     (range ? "; the recording has the frames " + std::to_string(range->first) + " to " +
                                  std::to_string(range->second)
                            : ""));
}

/// The same with input that knows the vehicles by the places that they have now: the runs of a recording may begin with
/// others.
Stage::TakeOver Stage::withPlacesOfNow(const TakeOver& other) const {
    TakeOver byName = other;
    byName.input = [this, input = other.input, names = names()](int vehicle, int channel,
                                                                int frame) -> std::optional<double> {
        const auto place = std::find(names.begin(), names.end(), vehicles[static_cast<std::size_t>(vehicle)]->name);
        if (place == names.end()) return std::nullopt;
        return input(static_cast<int>(place - names.begin()), channel, frame);
    };
    return byName;
}

bool Stage::retake(const Journal& recording, const std::optional<TakeOver>& other,
                   const std::function<void(int)>& progressOfRetake) {
    requireNoRun("a recording cannot be driven again");
    if (recording.empty()) throw StageError("there is no recorded run to drive again");
    // The recording may be the journal itself, which is cleared.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const Journal runs = recording;
    const std::size_t last = other ? runTakenOver(runs, *other) : runs.size() - 1;
    const std::optional<TakeOver> byName = other ? std::optional<TakeOver>(withPlacesOfNow(*other)) : std::nullopt;
    const Snapshot before = snapshot();
    const Shown shownBefore = shown();
    const Journal journalBefore = journal;
    const AtEnd over([this, own = progress] { progress = own; });
    progress = progressOfRetake;
    try {
        journal.clear();
        messages.clear();
        curves.clear();
        bool whole = true;
        for (std::size_t i = 0; i <= last && whole; ++i) {
            restore(runs[i].before != nullptr ? *runs[i].before : snapshot());
            const bool takenOver = other && i == last;
            driveRecorded(runs[i], takenOver ? byName->to : runs[i].to, takenOver ? &*byName : nullptr);
            whole = !m_breakdown;
        }
        return whole;
    } catch (...) {
        if (isRunning()) endRun(m_frame);
        journal = journalBefore;
        // Also if a vehicle of before no longer loads.
        const AtEnd shownAgain([&] { putShown(shownBefore); });
        restore(before);
        throw;
    }
}

}  // namespace ond::stage

// What a stage keeps of its runs, and how it drives them again.
#include <algorithm>
#include <utility>

#include "ond/util/DataChunk.h"
#include "stage/Recording.h"
#include "stage/Stage.h"
#include "stage/StageError.h"

namespace ond::stage {

namespace {

bool takesPart(const Vehicle& vehicle) { return vehicle.armed && vehicle.life == Vehicle::Life::rigged; }

}  // namespace

Snapshot Stage::snapshot() {
    Snapshot all;
    all.now = scene.clock.now;
    for (const auto& vehicle : vehicles) all.vehicles.push_back(vehicle->state());
    for (const auto& element : scene.elements) {
        ElementState state{element->track, -1, {}, element->deleted, element->shown};
        if (element->parent != nullptr) state.parent = static_cast<int>(element->parent->index);
        for (const Element* child : element->children) state.children.push_back(static_cast<int>(child->index));
        all.elements.push_back(std::move(state));
    }
    return all;
}

void Stage::restore(const Snapshot& snapshot) {
    vehicles.clear();
    undo.clear();
    for (std::size_t i = 0; i < scene.elements.size(); ++i) {
        Element& element = *scene.elements[i];
        element.children.clear();
        element.parent = nullptr;
        if (i >= snapshot.elements.size()) {
            element.deleted = true;
            continue;
        }
        const ElementState& state = snapshot.elements[i];
        element.track = state.track;
        element.deleted = state.deleted;
        element.shown = state.shown;
        if (state.parent >= 0) element.parent = scene.elements[static_cast<std::size_t>(state.parent)].get();
        for (const int child : state.children)
            element.children.push_back(scene.elements[static_cast<std::size_t>(child)].get());
    }
    scene.clock.now = snapshot.now;
    for (const VehicleState& state : snapshot.vehicles) addVehicle(state);
}

void Stage::setState(int vehicle, const std::map<std::string, double>& values) {
    Snapshot changed = snapshot();
    VehicleState& state = changed.vehicles.at(static_cast<std::size_t>(vehicle));
    util::DataChunk root;
    root.deserialize(state.block.data(), state.block.size());
    for (const auto& [key, value] : values) {
        if (!root.hasChild(key)) throw StageError("the saved state of " + state.name + " has no key '" + key + "'");
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

void Stage::prepareCurves() {
    curves.resize(vehicles.size());
    for (std::size_t i = 0; i < vehicles.size(); ++i) {
        std::vector<CurveColumn> columns = columnsOf(*vehicles[i]);
        if (curves[i].columns != columns) curves[i] = {0, std::move(columns), {}};
    }
}

std::optional<std::pair<int, int>> Stage::recorded() const {
    if (journal.empty()) return std::nullopt;
    std::pair<int, int> range{journal.front().from, journal.back().to};
    for (const RunRecord& run : journal) range.first = std::min(range.first, run.from);
    return range;
}

void Stage::noteRunStart(int frame) {
    if (!keepsJournal || !m_recorded || m_drivingAgain) return;
    m_before = std::make_shared<const Snapshot>(snapshot());
    const bool follows = !journal.empty() && journal.back().left == fingerprint(*m_before);
    m_run = {frame, frame, follows ? nullptr : m_before, {}, 0};
    for (const auto& vehicle : vehicles)
        m_run.inputs.push_back({takesPart(*vehicle), static_cast<int>(vehicle->axes.size()), {}});
    std::erase_if(messages, [&](const StageMessage& message) { return message.frame > frame; });
    prepareCurves();
}

void Stage::noteInputs() {
    if (!keepsJournal || !m_recorded) return;
    const int frame = scene.clock.now;
    m_run.to = frame;
    for (std::size_t v = 0; v < vehicles.size() && v < m_run.inputs.size(); ++v) {
        const Vehicle& vehicle = *vehicles[v];
        if (!m_run.inputs[v].armed) continue;
        if (!m_drivingAgain)
            for (const auto& axis : vehicle.axes) m_run.inputs[v].axes.push_back(axis->shown());
        Curves& table = curves[v];
        // The first frame of a resumed run was driven by the run before, whose row stays.
        table.keepUpTo(frame == m_run.from ? frame : frame - 1);
        if (table.row(frame) == nullptr) appendRow(table, vehicle, frame);
    }
}

void Stage::noteRunEnd() {
    if (!keepsJournal || !m_recorded) return;
    m_run.left = fingerprint(snapshot());
    if (m_run.to > m_run.from) journal.push_back(m_run);
}

/// Puts back what the broken run started from and drives it once more, this time to the last whole frame.
void Stage::driveAgainTo(int frame) {
    const std::optional<Breakdown> breakdown = m_breakdown;
    if (!keepsJournal || !m_recorded) {
        for (const auto& element : scene.elements)
            element->track.removeBehind(scene.clock.time(frame), scene.clock.snap());
        scene.clock.now = frame;
        return;
    }
    undo.close();
    scene.endRun(true);
    for (const auto& vehicle : vehicles)
        if (vehicle->life == Vehicle::Life::running) vehicle->stopRun(scene.clock.now);
    restore(*m_before);
    if (frame > m_run.from) {
        m_drivingAgain = true;
        const RunRecord run = m_run;
        driveRecorded(run, frame, nullptr);
        m_drivingAgain = false;
        for (RunInput& input : journal.back().inputs)
            input.axes.resize(input.axes.empty() ? 0
                                                 : static_cast<std::size_t>((frame - run.from + 1) * input.channels));
    }
    m_breakdown = breakdown;
}

void Stage::feed(const RunRecord& run, const TakeOver* other) {
    for (std::size_t v = 0; v < vehicles.size() && v < run.inputs.size(); ++v) {
        const RunInput& input = run.inputs[v];
        const int rows = input.channels == 0 ? 0 : static_cast<int>(input.axes.size()) / input.channels;
        for (std::size_t c = 0; c < vehicles[v]->axes.size(); ++c) {
            const Clock& clock = scene.clock;
            const int vehicle = static_cast<int>(v);
            const int channel = static_cast<int>(c);
            vehicles[v]->axes[c]->script = [&run, &input, &clock, other, rows, vehicle, channel](double) {
                if (other != nullptr && clock.now > other->at)
                    if (const std::optional<double> value = other->input(vehicle, channel, clock.now)) return *value;
                if (rows == 0 || channel >= input.channels) return 0.0;
                const int row = std::clamp(clock.now - run.from, 0, rows - 1);
                return input.axes[static_cast<std::size_t>(row * input.channels + channel)];
            };
        }
    }
}

void Stage::driveRecorded(const RunRecord& run, int to, const TakeOver* other) {
    for (std::size_t v = 0; v < vehicles.size() && v < run.inputs.size(); ++v) vehicles[v]->armed = run.inputs[v].armed;
    feed(run, other);
    startRun(run.from);
    advance(to - run.from);
    if (isRunning()) stopRun();
    for (const auto& vehicle : vehicles)
        for (const auto& axis : vehicle->axes) axis->script = nullptr;
}

bool Stage::retake(const Journal& recording, const std::optional<TakeOver>& other,
                   const std::function<void(int)>& progressOfRetake) {
    if (recording.empty()) throw StageError("there is no recorded run to drive again");
    const Journal runs = recording;
    std::size_t last = runs.size() - 1;
    if (other) {
        while (last > 0 && runs[last].from > other->at) --last;
        if (other->at < runs[last].from || other->at > runs[last].to)
            throw StageError("frame " + std::to_string(other->at) + " is not within the recorded run from frame " +
                             std::to_string(runs[last].from) + " to " + std::to_string(runs[last].to));
    }
    journal.clear();
    messages.clear();
    curves.clear();
    progress = progressOfRetake;
    bool whole = true;
    for (std::size_t i = 0; i <= last && whole; ++i) {
        restore(runs[i].before != nullptr ? *runs[i].before : snapshot());
        const bool takenOver = other && i == last;
        driveRecorded(runs[i], takenOver ? other->to : runs[i].to, takenOver ? &*other : nullptr);
        whole = !m_breakdown;
    }
    progress = nullptr;
    return whole;
}

}  // namespace ond::stage

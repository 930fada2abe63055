#include "command/TraceLines.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>

#include "command/CommandError.h"
#include "command/OutputFile.h"
#include "command/TakeSession.h"

namespace ond::command {

using nlohmann::ordered_json;

namespace {

ordered_json valuesOf(const stage::Stage& stage, std::size_t vehicle, stage::CurveKind kind, int frame) {
    ordered_json values = ordered_json::object();
    if (vehicle >= stage.curves.size()) return values;
    const stage::Curves& curves = stage.curves[vehicle];
    const double* row = curves.row(frame);
    if (row == nullptr) return values;
    for (std::size_t c = 0; c < curves.columns.size(); ++c)
        if (curves.columns[c].kind == kind) values[curves.columns[c].name] = row[c];
    return values;
}

bool lacksGauges(const stage::Stage& stage, std::size_t vehicle) {
    if (vehicle >= stage.curves.size()) return false;
    const stage::Curves& curves = stage.curves[vehicle];
    return curves.rows() > 0 && !curves.has(stage::CurveKind::gauge);
}

class TakeTrace final : public TraceSource {
  public:
    TakeTrace(const std::string& path, const std::string& module) {
        CommonOptions common;
        common.module = module;
        m_session = openSession(path, common);
        const auto [first, last] = recordedFrames(*m_session.stage, path);
        m_frame = first;
        m_last = last;
    }
    bool next(std::string* line) override {
        if (m_frame > m_last) return false;
        *line = traceLine(*m_session.stage, m_frame);
        ++m_frame;
        return true;
    }

  private:
    TakeSession m_session;
    int m_frame = 0;
    int m_last = 0;
};

class FileTrace final : public TraceSource {
  public:
    explicit FileTrace(const std::string& path) : m_file(path) {
        if (!m_file) throw CommandError("the trace '" + path + "' cannot be read; check its name");
    }
    bool next(std::string* line) override {
        while (std::getline(m_file, *line))
            if (!line->empty()) return true;
        return false;
    }

  private:
    std::ifstream m_file;
};

ordered_json parseLine(const std::string& line) {
    ordered_json value = ordered_json::parse(line, nullptr, false);
    if (!value.is_object() || !value.contains("frame") || !value["frame"].is_number_integer())
        throw CommandError("a line of the trace is no frame; is the file a trace?");
    return value;
}

std::string inside(std::string at, const std::string& key) {
    if (!at.empty()) at += ": ";
    return at += key;
}

/// The first place where two values differ, or an empty text. Numbers differ if their bits do.
std::string differingPlace(const ordered_json& left, const ordered_json& right, const std::string& at,
                           TraceDifference* difference) {
    if (left.is_object() && right.is_object()) {
        for (const auto& [key, value] : left.items()) {
            std::string found =
                differingPlace(value, right.contains(key) ? right[key] : ordered_json(), inside(at, key), difference);
            if (!found.empty()) return found;
        }
        for (const auto& [key, value] : right.items())
            if (!left.contains(key)) return differingPlace({}, value, inside(at, key), difference);
        return {};
    }
    if (left.is_array() && right.is_array() && left.size() == right.size()) {
        for (std::size_t i = 0; i < left.size(); ++i) {
            std::string place = at;
            place.append("[").append(std::to_string(i)).append("]");
            std::string found = differingPlace(left[i], right[i], place, difference);
            if (!found.empty()) return found;
        }
        return {};
    }
    if (left.type() == right.type() && left.dump() == right.dump()) return {};
    difference->left = left.is_null() ? std::string() : left.dump();
    difference->right = right.is_null() ? std::string() : right.dump();
    return at;
}

struct Section {
    const char* name;
    const char* member;  ///< what one of its members is called
};
constexpr Section kSections[] = {
    {"elements", "the element"}, {"channels", "the channels of"}, {"inputs", "the inputs of"}};

/// Takes out of a line what the other has not, and adds it to `surplus` when it is met for the first time.
void dropSurplus(const ordered_json& other, ordered_json& line, bool first, std::vector<TraceSurplus>& surplus) {
    for (const Section& section : kSections) {
        if (!line.contains(section.name) || !other.contains(section.name)) continue;
        ordered_json& own = line[section.name];
        const ordered_json& theirs = other[section.name];
        if (!own.is_object() || !theirs.is_object()) continue;
        std::vector<std::string> names;
        for (const auto& [name, value] : own.items())
            if (!theirs.contains(name)) names.push_back(name);
        for (const std::string& name : names) {
            own.erase(name);
            std::string what = section.member;
            what.append(" '").append(name).append("'");
            const bool known = std::any_of(surplus.begin(), surplus.end(), [&](const TraceSurplus& one) {
                return one.first == first && one.what == what;
            });
            if (!known) surplus.push_back({line["frame"].get<int>(), first, std::move(what)});
        }
    }
}

/// Takes out of a line the gauges of vehicles that have none in the other.
void dropGaugesNotIn(const ordered_json& other, ordered_json& line, std::set<std::string>& dropped) {
    if (!line.contains("gauges") || !line["gauges"].is_object()) return;
    const ordered_json known = other.value("gauges", ordered_json::object());
    std::vector<std::string> names;
    for (const auto& [name, gauges] : line["gauges"].items())
        if (!known.contains(name)) names.push_back(name);
    for (const std::string& name : names) line["gauges"].erase(name);
    if (line["gauges"].empty()) line.erase("gauges");
    dropped.insert(names.begin(), names.end());
}

}  // namespace

std::string traceLine(const stage::Stage& stage, int frame) {
    const double time = stage.scene.clock.time(frame);
    ordered_json line{{"frame", frame}, {"time", time}, {"elements", ordered_json::object()}};
    for (const auto& element : stage.scene.elements)
        if (!element->deleted) line["elements"][element->name] = stage.scene.world(*element, time).m;
    line["channels"] = ordered_json::object();
    line["inputs"] = ordered_json::object();
    for (std::size_t v = 0; v < stage.vehicles.size(); ++v) {
        line["channels"][stage.vehicles[v]->name] = valuesOf(stage, v, stage::CurveKind::output, frame);
        line["inputs"][stage.vehicles[v]->name] = valuesOf(stage, v, stage::CurveKind::input, frame);
    }
    for (std::size_t v = 0; v < stage.vehicles.size(); ++v)
        if (!lacksGauges(stage, v))
            line["gauges"][stage.vehicles[v]->name] = valuesOf(stage, v, stage::CurveKind::gauge, frame);
    line["messages"] = ordered_json::array();
    for (const stage::StageMessage& message : stage.messages)
        if (message.frame == frame)
            line["messages"].push_back({{"vehicle", stage.vehicles[static_cast<std::size_t>(message.vehicle)]->name},
                                        {"caption", message.caption},
                                        {"text", message.text},
                                        {"count", message.count}});
    return line.dump();
}

std::vector<std::string> vehiclesWithoutGauges(const stage::Stage& stage) {
    std::vector<std::string> names;
    for (std::size_t v = 0; v < stage.vehicles.size(); ++v)
        if (lacksGauges(stage, v)) names.push_back(stage.vehicles[v]->name);
    return names;
}

std::unique_ptr<TraceSource> openTrace(const std::string& path, const std::string& module) {
    if (endingOf(path) == ".jsonl") return std::make_unique<FileTrace>(path);
    return std::make_unique<TakeTrace>(path, module);
}

TraceComparison compareTraces(TraceSource& left, TraceSource& right) {
    TraceComparison result;
    std::string leftLine;
    std::string rightLine;
    for (;; ++result.framesEqual) {
        const bool hasLeft = left.next(&leftLine);
        const bool hasRight = right.next(&rightLine);
        if (!hasLeft && !hasRight) return result;
        if (hasLeft && hasRight && leftLine == rightLine) continue;
        TraceDifference difference;
        if (hasLeft != hasRight) {
            difference.frame = parseLine(hasLeft ? leftLine : rightLine)["frame"].get<int>();
            difference.what = hasLeft ? "only the first has this frame" : "only the second has this frame";
        } else {
            ordered_json a = parseLine(leftLine);
            ordered_json b = parseLine(rightLine);
            dropSurplus(b, a, true, result.surplus);
            dropSurplus(a, b, false, result.surplus);
            dropGaugesNotIn(b, a, result.gaugesNotCompared);
            dropGaugesNotIn(a, b, result.gaugesNotCompared);
            difference.frame = a["frame"].get<int>();
            difference.what = differingPlace(a, b, "", &difference);
            if (difference.what.empty()) continue;
        }
        result.difference = difference;
        return result;
    }
}

}  // namespace ond::command

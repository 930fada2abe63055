#include "command/TraceLines.h"

#include <fstream>
#include <nlohmann/json.hpp>

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

ordered_json gaugesOf(const stage::Vehicle& vehicle) {
    ordered_json gauges = ordered_json::object();
    for (const stage::DialogItem& item : vehicle.dialog.items)
        if (item.isGauge()) gauges[item.label] = item.value();
    return gauges;
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
        *line = traceLine(*m_session.stage, m_frame, m_frame == m_last);
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

/// The first place where two values differ, or an empty text. Numbers differ if their bits do.
std::string differingPlace(const ordered_json& left, const ordered_json& right, const std::string& at,
                           TraceDifference* difference) {
    if (left.is_object() && right.is_object()) {
        for (const auto& [key, value] : left.items()) {
            const std::string place = at.empty() ? key : at + ": " + key;
            const std::string found =
                differingPlace(value, right.contains(key) ? right[key] : ordered_json(), place, difference);
            if (!found.empty()) return found;
        }
        for (const auto& [key, value] : right.items())
            if (!left.contains(key)) return differingPlace({}, value, at.empty() ? key : at + ": " + key, difference);
        return {};
    }
    if (left.is_array() && right.is_array() && left.size() == right.size()) {
        for (std::size_t i = 0; i < left.size(); ++i) {
            const std::string found = differingPlace(left[i], right[i], at + "[" + std::to_string(i) + "]", difference);
            if (!found.empty()) return found;
        }
        return {};
    }
    if (left.type() == right.type() && left.dump() == right.dump()) return {};
    difference->left = left.is_null() ? std::string() : left.dump();
    difference->right = right.is_null() ? std::string() : right.dump();
    return at;
}

}  // namespace

std::string traceLine(const stage::Stage& stage, int frame, bool gauges) {
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
    if (gauges)
        for (const auto& vehicle : stage.vehicles) line["gauges"][vehicle->name] = gaugesOf(*vehicle);
    line["messages"] = ordered_json::array();
    for (const stage::StageMessage& message : stage.messages)
        if (message.frame == frame)
            line["messages"].push_back({{"vehicle", stage.vehicles[static_cast<std::size_t>(message.vehicle)]->name},
                                        {"caption", message.caption},
                                        {"text", message.text},
                                        {"count", message.count}});
    return line.dump();
}

std::unique_ptr<TraceSource> openTrace(const std::string& path, const std::string& module) {
    if (endingOf(path) == ".jsonl") return std::make_unique<FileTrace>(path);
    return std::make_unique<TakeTrace>(path, module);
}

bool findDifference(TraceSource& left, TraceSource& right, TraceDifference* difference, int* frames) {
    std::string leftLine;
    std::string rightLine;
    for (*frames = 0;; ++*frames) {
        const bool hasLeft = left.next(&leftLine);
        const bool hasRight = right.next(&rightLine);
        if (!hasLeft && !hasRight) return false;
        if (hasLeft && hasRight && leftLine == rightLine) continue;
        if (hasLeft != hasRight) {
            difference->frame = parseLine(hasLeft ? leftLine : rightLine)["frame"].get<int>();
            difference->what = hasLeft ? "only the first has this frame" : "only the second has this frame";
            return true;
        }
        const ordered_json a = parseLine(leftLine);
        const ordered_json b = parseLine(rightLine);
        difference->frame = a["frame"].get<int>();
        difference->what = differingPlace(a, b, "", difference);
        if (!difference->what.empty()) return true;
    }
}

}  // namespace ond::command

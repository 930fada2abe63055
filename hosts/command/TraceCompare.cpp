#include "command/TraceCompare.h"

#include <algorithm>
#include <bit>
#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>

#include "command/CommandError.h"
#include "command/OutputFile.h"
#include "command/TakeSession.h"
#include "command/TraceLines.h"

namespace ond::command {

using nlohmann::ordered_json;

namespace {

class TakeTrace final : public TraceSource {
  public:
    TakeTrace(const std::string& path, const std::string& module) : m_path(path) {
        CommonOptions common;
        common.module = module;
        m_session = openSession(path, common);
        const auto [first, last] = recordedFrames(*m_session.stage, path);
        m_frame = first;
        m_last = last;
        m_writer.emplace(*m_session.stage);
    }
    bool next(std::string* line) override {
        if (m_frame > m_last) return false;
        *line = m_writer->line(m_frame);
        ++m_frame;
        return true;
    }
    std::string where() const override { return "'" + m_path + "', frame " + std::to_string(m_frame - 1); }

  private:
    std::string m_path;
    TakeSession m_session;
    std::optional<TraceWriter> m_writer;
    int m_frame = 0;
    int m_last = 0;
};

class FileTrace final : public TraceSource {
  public:
    explicit FileTrace(const std::string& path) : m_path(path), m_file(path) {
        std::error_code error;
        if (!m_file || std::filesystem::is_directory(path, error))
            throw CommandError("the trace '" + path + "' cannot be read; check its name");
    }
    bool next(std::string* line) override {
        while (std::getline(m_file, *line)) {
            ++m_line;
            if (!line->empty()) return true;
        }
        if (m_file.bad()) throw CommandError("the trace '" + m_path + "' cannot be read to its end");
        return false;
    }
    std::string where() const override { return "'" + m_path + "', line " + std::to_string(m_line); }

  private:
    std::string m_path;
    std::ifstream m_file;
    int m_line = 0;
};

ordered_json parseLine(const std::string& line, const TraceSource& source) {
    ordered_json value = ordered_json::parse(line, nullptr, false);
    if (!value.is_object() || !value.contains("frame") || !value["frame"].is_number_integer())
        throw CommandError(source.where() + " is no frame of a trace; is the file a trace, and whole?");
    return value;
}

std::string inside(std::string at, const std::string& key) {
    if (!at.empty()) at += ": ";
    return at += key;
}

bool sameValue(const ordered_json& left, const ordered_json& right) {
    if (left.is_number() && right.is_number())
        return std::bit_cast<std::uint64_t>(left.get<double>()) == std::bit_cast<std::uint64_t>(right.get<double>());
    return left == right;
}

/// The first place where two values differ, or an empty text.
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
    if (sameValue(left, right)) return {};
    difference->left = left.is_null() ? std::string() : left.dump();
    difference->right = right.is_null() ? std::string() : right.dump();
    if (left.is_number() && right.is_number()) difference->numbers = {left.get<double>(), right.get<double>()};
    return at;
}

/// The vehicle that a place belongs to: that of a channel by its name, that of an element by the name that its own
/// begins with.
std::string vehicleAt(const std::string& place, const ordered_json& line) {
    if (!line.contains("channels") || !line["channels"].is_object()) return {};
    std::string found;
    for (const auto& [name, channels] : line["channels"].items()) {
        const bool itsOwn = place.find(": " + name + ": ") != std::string::npos;
        const bool itsElement = place.compare(0, name.size() + 11, "elements: " + name + "_") == 0;
        if ((itsOwn || itsElement) && name.size() > found.size()) found = name;
    }
    return found;
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

std::optional<double> timeOf(const ordered_json& line) {
    if (!line.contains("time") || !line["time"].is_number()) return std::nullopt;
    return line["time"].get<double>();
}

TraceDifference onlyIn(bool first, const ordered_json& line) {
    TraceDifference difference;
    difference.frame = line["frame"].get<int>();
    difference.time = timeOf(line);
    difference.what = first ? "only the first has this frame" : "only the second has this frame";
    return difference;
}

/// What differs between two lines, what only one of them has left out; nothing if they are equal.
std::optional<TraceDifference> differenceOf(ordered_json left, ordered_json right, TraceComparison& result) {
    const int frames[] = {left["frame"].get<int>(), right["frame"].get<int>()};
    if (frames[0] != frames[1]) return onlyIn(frames[0] < frames[1], frames[0] < frames[1] ? left : right);
    dropSurplus(right, left, true, result.surplus);
    dropSurplus(left, right, false, result.surplus);
    dropGaugesNotIn(right, left, result.gaugesNotCompared);
    dropGaugesNotIn(left, right, result.gaugesNotCompared);
    TraceDifference difference;
    difference.frame = frames[0];
    difference.time = timeOf(left);
    difference.what = differingPlace(left, right, "", &difference);
    if (difference.what.empty()) return std::nullopt;
    difference.vehicle = vehicleAt(difference.what, left);
    return difference;
}

}  // namespace

std::unique_ptr<TraceSource> openTrace(const std::string& path, const std::string& module) {
    if (endingOf(path) == ".jsonl") return std::make_unique<FileTrace>(path);
    return std::make_unique<TakeTrace>(path, module);
}

TraceComparison compareTraces(TraceSource& left, TraceSource& right) {
    TraceComparison result;
    std::string lines[2];
    for (int count = 0;; ++count) {
        const bool hasLeft = left.next(&lines[0]);
        const bool hasRight = right.next(&lines[1]);
        if (count == 0)
            for (const TraceSource* source : {hasLeft ? nullptr : &left, hasRight ? nullptr : &right})
                if (source != nullptr) throw CommandError(source->where() + ": the trace holds no frame");
        if (!hasLeft && !hasRight) return result;
        if (hasLeft && hasRight && lines[0] == lines[1] && count > 0) {
            ++result.framesEqual;
            continue;
        }
        if (hasLeft != hasRight)
            result.difference = onlyIn(hasLeft, hasLeft ? parseLine(lines[0], left) : parseLine(lines[1], right));
        else
            result.difference = differenceOf(parseLine(lines[0], left), parseLine(lines[1], right), result);
        if (result.difference) return result;
        ++result.framesEqual;
    }
}

std::uint64_t ulpsBetween(double a, double b) {
    // In the order of the numbers: negative doubles count down from zero.
    const auto ordered = [](double value) {
        const auto bits = std::bit_cast<std::int64_t>(value);
        return bits < 0 ? std::numeric_limits<std::int64_t>::min() - bits : bits;
    };
    const std::int64_t low = std::min(ordered(a), ordered(b));
    const std::int64_t high = std::max(ordered(a), ordered(b));
    return static_cast<std::uint64_t>(high) - static_cast<std::uint64_t>(low);
}

}  // namespace ond::command

// Written without a tree of values between: the traces of an hour are 100 million numbers.
#include "command/TraceLines.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace ond::command {

using stage::CurveKind;

namespace {

/// With quotes, and what may not stand between them escaped.
std::string jsonText(const std::string& text) {
    constexpr const char* kHex = "0123456789abcdef";
    std::string all = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            all += '\\';
            all += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            all += "\\u00";
            all += kHex[(c >> 4) & 0xf];
            all += kHex[c & 0xf];
        } else {
            all += c;
        }
    }
    return all += '"';
}

std::string keyOf(const std::string& name) { return jsonText(name) + ":"; }

/// A whole number keeps a ".0", so that readers take it for the double that it is.
void append(std::string& text, double value) {
    if (!std::isfinite(value)) {
        text += "null";
        return;
    }
    char digits[32];
    char* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    text.append(digits, end);
    if (std::none_of(digits, end, [](char c) { return c == '.' || c == 'e'; })) text += ".0";
}

/// A comma, unless `text` has just begun a list or an object.
void separate(std::string& text) {
    if (text.back() != '[' && text.back() != '{') text += ',';
}

bool lacksGauges(const stage::Stage& stage, std::size_t vehicle) {
    if (vehicle >= stage.curves.size()) return false;
    const stage::Curves& curves = stage.curves[vehicle];
    return curves.rows() > 0 && !curves.has(CurveKind::gauge);
}

}  // namespace

TraceWriter::TraceWriter(const stage::Stage& stage) : m_stage(stage) {
    for (const auto& element : stage.scene.elements) {
        if (element->deleted) continue;
        const std::string key = keyOf(element->name);
        // Of elements of one name the last stands for all: an object has each name once.
        const auto same =
            std::find_if(m_elements.begin(), m_elements.end(), [&](const Named& known) { return known.key == key; });
        if (same != m_elements.end())
            same->element = element.get();
        else
            m_elements.push_back({key, element.get()});
    }
    for (const auto& vehicle : stage.vehicles) m_vehicles.push_back(keyOf(vehicle->name));
    m_sections = {{"channels", CurveKind::output, false, {}},
                  {"inputs", CurveKind::input, false, {}},
                  {"gauges", CurveKind::gauge, true, {}}};
    for (Section& section : m_sections) {
        section.values.resize(m_vehicles.size());
        for (std::size_t v = 0; v < m_vehicles.size() && v < stage.curves.size(); ++v)
            for (std::size_t c = 0; c < stage.curves[v].columns.size(); ++c)
                if (stage.curves[v].columns[c].kind == section.kind)
                    section.values[v].push_back({keyOf(stage.curves[v].columns[c].name), c});
    }
}

std::string TraceWriter::line(int frame) const {
    const double time = m_stage.scene.clock.time(frame);
    std::string text = "{\"frame\":" + std::to_string(frame) + ",\"time\":";
    append(text, time);
    appendElements(text, time);
    for (const Section& section : m_sections) appendSection(text, section, frame);
    appendMessages(text, frame);
    return text += '}';
}

void TraceWriter::appendElements(std::string& text, double time) const {
    text += ",\"elements\":{";
    for (const Named& named : m_elements) {
        separate(text);
        text += named.key;
        text += '[';
        for (const double number : m_stage.scene.world(*named.element, time).m) {
            separate(text);
            append(text, number);
        }
        text += ']';
    }
    text += '}';
}

bool TraceWriter::lacks(const Section& section, std::size_t vehicle) const {
    return section.optional && lacksGauges(m_stage, vehicle);
}

void TraceWriter::appendSection(std::string& text, const Section& section, int frame) const {
    std::string vehicles = "{";
    for (std::size_t v = 0; v < m_vehicles.size(); ++v) {
        if (lacks(section, v)) continue;
        separate(vehicles);
        vehicles += m_vehicles[v] + "{";
        const double* row = v < m_stage.curves.size() ? m_stage.curves[v].row(frame) : nullptr;
        for (const Value& value : section.values[v]) {
            if (row == nullptr) break;
            separate(vehicles);
            vehicles += value.key;
            append(vehicles, row[value.column]);
        }
        vehicles += '}';
    }
    if (section.optional && vehicles == "{") return;
    text.append(",\"").append(section.name).append("\":").append(vehicles).append("}");
}

void TraceWriter::appendMessages(std::string& text, int frame) const {
    text += ",\"messages\":[";
    for (const stage::StageMessage& message : m_stage.messages) {
        if (message.frame != frame) continue;
        separate(text);
        text += "{\"vehicle\":" + jsonText(m_stage.vehicles[static_cast<std::size_t>(message.vehicle)]->name);
        text += ",\"caption\":" + jsonText(message.caption);
        text += ",\"text\":" + jsonText(message.text);
        text += ",\"count\":" + std::to_string(message.count) + "}";
    }
    text += ']';
}

std::vector<std::string> vehiclesWithoutGauges(const stage::Stage& stage) {
    std::vector<std::string> names;
    for (std::size_t v = 0; v < stage.vehicles.size(); ++v)
        if (lacksGauges(stage, v)) names.push_back(stage.vehicles[v]->name);
    return names;
}

}  // namespace ond::command

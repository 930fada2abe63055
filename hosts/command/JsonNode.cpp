#include "command/JsonNode.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>

#include "command/CommandError.h"
#include "command/Nearest.h"

namespace ond::command {

using nlohmann::json;

namespace {

/// How deep values may be nested; no file of ours comes near.
constexpr int kDeepest = 100;

}  // namespace

void JsonNode::fail(const std::string& what) const { throw CommandError(m_where + ": " + what); }

void JsonNode::requireKeys(const std::vector<std::string>& known) const {
    if (!m_value->is_object()) fail("here must stand an object, { ... }");
    for (const auto& [key, value] : m_value->items()) {
        if (std::find(known.begin(), known.end(), key) != known.end()) continue;
        const std::string hint = didYouMean(key, known);
        fail("there is no key '" + key + "'" + (hint.empty() ? "; keys are " + enumerated(known) : hint));
    }
}

bool JsonNode::has(const std::string& key) const { return m_value->is_object() && m_value->contains(key); }

JsonNode JsonNode::at(const std::string& key) const { return {m_value->at(key), m_where + ": " + key}; }

void JsonNode::forEach(const std::function<void(const std::string&, const JsonNode&)>& visit) const {
    if (!m_value->is_object()) fail("here must stand an object, { ... }");
    for (const auto& [key, value] : m_value->items()) visit(key, {value, m_where + ": " + key});
}

std::vector<JsonNode> JsonNode::elements() const {
    if (!m_value->is_array()) fail("here must stand a list, [ ... ]");
    std::vector<JsonNode> all;
    for (std::size_t i = 0; i < m_value->size(); ++i)
        all.emplace_back((*m_value)[i], m_where + "[" + std::to_string(i) + "]");
    return all;
}

std::string JsonNode::text() const {
    if (!m_value->is_string()) fail("here must stand a text in quotes");
    return m_value->get<std::string>();
}

double JsonNode::number(const Range& range) const {
    if (!m_value->is_number()) fail("here must stand a number");
    const double value = m_value->get<double>();
    if (!std::isfinite(value)) fail("the number is too large");
    if (!range.holds(value)) fail(exactText(value) + " is out of range; give " + range.text());
    return value;
}

int JsonNode::whole(const Range& range) const {
    const double value = number({std::max(range.min, -1e9), std::min(range.max, 1e9)});
    if (value != std::floor(value)) fail(exactText(value) + " is no whole number");
    return static_cast<int>(value);
}

double JsonNode::numberOrFlag() const {
    if (m_value->is_boolean()) return m_value->get<bool>() ? 1.0 : 0.0;
    if (!m_value->is_number()) fail("here must stand a number, true or false");
    return number();
}

std::vector<double> JsonNode::numbers(std::size_t least, std::size_t most) const {
    std::vector<double> all;
    for (const JsonNode& element : elements()) all.push_back(element.number());
    if (all.size() < least || all.size() > most)
        fail("here must stand " +
             (least == most ? std::to_string(least) : std::to_string(least) + " to " + std::to_string(most)) +
             " numbers");
    return all;
}

bool JsonNode::isText() const { return m_value->is_string(); }

std::shared_ptr<const json> parseJson(std::string_view text, const std::string& name) {
    // Keys that are there twice would silently lose one of their values.
    std::vector<std::set<std::string>> keys;
    const auto watch = [&](int depth, json::parse_event_t event, json& value) {
        if (depth > kDeepest) throw CommandError(name + " is nested too deeply");
        if (event == json::parse_event_t::object_start) keys.emplace_back();
        if (event == json::parse_event_t::object_end) keys.pop_back();
        if (event == json::parse_event_t::key && !keys.back().insert(value.get<std::string>()).second)
            throw CommandError(name + ": the key '" + value.get<std::string>() + "' stands twice in one object");
        return true;
    };
    try {
        return std::make_shared<const json>(json::parse(text, watch, true, true));
    } catch (const json::parse_error& error) {
        const std::size_t at = std::min(error.byte, text.size());
        const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n');
        throw CommandError(name + ", line " + std::to_string(line) +
                           ": this is no JSON; look for a missing comma, quote or bracket");
    } catch (const json::exception&) {
        throw CommandError(name + " holds a text or number that cannot be read");
    }
}

}  // namespace ond::command

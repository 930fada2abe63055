#include "stage/TakeJson.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "stage/Glb.h"

namespace ond::stage {

void JsonPlace::fail(const std::string& what) const {
    throw FileDamage((m_path.empty() ? "its description" : m_path) + " " + what);
}

bool JsonPlace::has(const char* key) const { return m_value->is_object() && m_value->contains(key); }

bool JsonPlace::isNull() const { return m_value->is_null(); }

JsonPlace JsonPlace::at(const char* key) const {
    if (!m_value->is_object()) fail("is no object");
    const auto found = m_value->find(key);
    if (found == m_value->end()) fail("has no '" + std::string(key) + "'");
    return {*found, m_path.empty() ? key : m_path + "." + key};
}

std::vector<JsonPlace> JsonPlace::each() const {
    if (!m_value->is_array()) fail("is no list");
    std::vector<JsonPlace> places;
    places.reserve(m_value->size());
    for (const nlohmann::json& value : *m_value)
        places.emplace_back(value, m_path + "[" + std::to_string(places.size()) + "]");
    return places;
}

std::vector<std::string> JsonPlace::names() const {
    if (!m_value->is_object()) fail("is no object");
    std::vector<std::string> names;
    for (const auto& item : m_value->items()) names.push_back(item.key());
    return names;
}

std::int64_t JsonPlace::integer(std::int64_t least, std::int64_t most) const {
    if (!m_value->is_number_integer()) fail("is no whole number");
    const bool huge =
        m_value->is_number_unsigned() &&
        m_value->get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const std::int64_t number = huge ? 0 : m_value->get<std::int64_t>();
    if (huge || number < least || number > most)
        fail("is not within " + std::to_string(least) + " and " + std::to_string(most));
    return number;
}

int JsonPlace::whole(int least, int most) const { return static_cast<int>(integer(least, most)); }

double JsonPlace::number() const {
    if (!m_value->is_number()) fail("is no number");
    const auto number = m_value->get<double>();
    if (!std::isfinite(number)) fail("is not finite");
    return number;
}

bool JsonPlace::flag() const {
    if (!m_value->is_boolean()) fail("is neither true nor false");
    return m_value->get<bool>();
}

const std::string& JsonPlace::text() const {
    if (!m_value->is_string()) fail("is no text");
    return m_value->get_ref<const std::string&>();
}

}  // namespace ond::stage

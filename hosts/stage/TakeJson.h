// Looks into a JSON document that may be damaged or hostile: every look is checked.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace ond::stage {

/// A value in a document, and where it stands. All functions but has() and isNull() throw FileDamage, naming the place,
/// if the value is not what they say. The document must outlive the place.
class JsonPlace {
  public:
    JsonPlace(const nlohmann::json& value, std::string path) : m_value(&value), m_path(std::move(path)) {}

    /// Whether this is an object with that member, null or not.
    [[nodiscard]] bool has(const char* key) const;
    [[nodiscard]] bool isNull() const;
    [[nodiscard]] JsonPlace at(const char* key) const;
    /// The values of a list.
    [[nodiscard]] std::vector<JsonPlace> each() const;
    /// The names of the members of an object.
    [[nodiscard]] std::vector<std::string> names() const;

    [[nodiscard]] std::int64_t integer(std::int64_t least, std::int64_t most) const;
    /// The same as an int: places, counts and frames.
    [[nodiscard]] int whole(int least, int most) const;
    /// Finite.
    [[nodiscard]] double number() const;
    [[nodiscard]] bool flag() const;
    [[nodiscard]] const std::string& text() const;

    /// Says that the value is wrong: "extensions.x.y[3] " and `what`.
    [[noreturn]] void fail(const std::string& what) const;

  private:
    const nlohmann::json* m_value;
    std::string m_path;
};

}  // namespace ond::stage

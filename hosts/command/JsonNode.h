// Reading a JSON file that a user wrote, with messages that name the place.
#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "command/Numbers.h"

namespace ond::command {

/// A value of a JSON text and where it stands. The text's tree must outlive it.
class JsonNode {
  public:
    JsonNode(const nlohmann::json& value, std::string where) : m_value(&value), m_where(std::move(where)) {}

    /// @throws CommandError unless it is an object whose keys are all among `known`; names the nearest
    void requireKeys(const std::vector<std::string>& known) const;
    [[nodiscard]] bool has(const std::string& key) const;
    /// The value of a key that is there.
    [[nodiscard]] JsonNode at(const std::string& key) const;
    /// Calls `visit` for each key in the order of the file; the value must be an object.
    void forEach(const std::function<void(const std::string&, const JsonNode&)>& visit) const;
    /// The elements of an array.
    [[nodiscard]] std::vector<JsonNode> elements() const;

    [[nodiscard]] std::string text() const;
    [[nodiscard]] double number(const Range& range = {}) const;
    [[nodiscard]] int whole(const Range& range = {}) const;
    /// A number, or true and false as 1 and 0.
    [[nodiscard]] double numberOrFlag() const;
    /// An array of `least` to `most` numbers.
    [[nodiscard]] std::vector<double> numbers(std::size_t least, std::size_t most) const;
    [[nodiscard]] bool isText() const;
    [[nodiscard]] const std::string& where() const { return m_where; }
    /// @throws CommandError with the place and `what`
    [[noreturn]] void fail(const std::string& what) const;

  private:
    const nlohmann::json* m_value;
    std::string m_where;
};

/// The tree of a JSON text; comments in it are allowed.
/// @throws CommandError with the line of the first mistake, and for an object that has a key twice
[[nodiscard]] std::shared_ptr<const nlohmann::json> parseJson(std::string_view text, const std::string& name);

}  // namespace ond::command

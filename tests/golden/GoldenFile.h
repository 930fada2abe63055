// Golden files: one JSON object a line, doubles as texts in hexadecimal form so that reading them is exact.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace golden {

/// A value of a line. Reading a value as what it is not, or looking up a member that is not there, throws
/// std::runtime_error, which fails the test at hand.
class Value {
  public:
    enum class Kind { Null, Bool, Integer, Text, List, Object };

    [[nodiscard]] Kind kind() const { return kind_; }
    [[nodiscard]] bool flag() const;
    [[nodiscard]] std::int64_t integer() const;
    /// A double: a text in hexadecimal form, or an integer.
    [[nodiscard]] double number() const;
    [[nodiscard]] const std::string& text() const;
    [[nodiscard]] const std::vector<Value>& list() const;
    /// The numbers of a list.
    [[nodiscard]] std::vector<double> numbers() const;
    /// Members as the file has them one after the other.
    [[nodiscard]] const std::vector<std::pair<std::string, Value>>& members() const;
    [[nodiscard]] bool has(std::string_view name) const { return find(name) != nullptr; }
    [[nodiscard]] const Value& operator[](std::string_view name) const;

  private:
    friend class Parser;
    [[nodiscard]] const Value* find(std::string_view name) const;
    void require(Kind kind) const;

    Kind kind_ = Kind::Null;
    bool flag_ = false;
    std::int64_t integer_ = 0;
    std::string text_;
    std::vector<Value> list_;
    std::vector<std::pair<std::string, Value>> members_;
};

struct Line {
    int number;  ///< in its file, from 1
    Value value;
};

/// Parses one JSON value; throws std::runtime_error on anything else. Escapes in texts other than \" and \\ are not
/// known.
[[nodiscard]] Value parse(std::string_view text);

/// All lines of a file of this folder; throws std::runtime_error when it cannot be read.
[[nodiscard]] std::vector<Line> readFile(const std::string& name);

}  // namespace golden

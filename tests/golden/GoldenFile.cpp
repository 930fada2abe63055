#include "GoldenFile.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace golden {

class Parser {
  public:
    explicit Parser(std::string_view text) : text_(text) {}

    Value whole() {
        Value value = parseValue();
        if (at_ != text_.size()) fail("text behind the value");
        return value;
    }

  private:
    [[noreturn]] void fail(const char* what) const {
        throw std::runtime_error(std::string(what) + " at column " + std::to_string(at_ + 1));
    }

    char peek() {
        while (at_ < text_.size() && text_[at_] == ' ') ++at_;
        return at_ < text_.size() ? text_[at_] : '\0';
    }

    bool take(char c) {
        if (peek() != c) return false;
        ++at_;
        return true;
    }

    void expect(char c) {
        if (!take(c)) fail("unexpected character");
    }

    bool takeWord(std::string_view word) {
        if (text_.substr(at_, word.size()) != word) return false;
        at_ += word.size();
        return true;
    }

    std::string parseText() {
        expect('"');
        std::string out;
        while (at_ < text_.size() && text_[at_] != '"') {
            if (text_[at_] == '\\') {
                ++at_;
                if (at_ == text_.size() || (text_[at_] != '"' && text_[at_] != '\\')) fail("unknown escape");
            }
            out += text_[at_++];
        }
        expect('"');
        return out;
    }

    std::int64_t parseInteger() {
        const std::size_t start = at_;
        if (at_ < text_.size() && text_[at_] == '-') ++at_;
        while (at_ < text_.size() && text_[at_] >= '0' && text_[at_] <= '9') ++at_;
        const std::string digits(text_.substr(start, at_ - start));
        if (digits.empty() || digits == "-") fail("no value");
        return std::strtoll(digits.c_str(), nullptr, 10);
    }

    Value parseList() {
        Value value;
        value.kind_ = Value::Kind::List;
        expect('[');
        if (take(']')) return value;
        do value.list_.push_back(parseValue());
        while (take(','));
        expect(']');
        return value;
    }

    Value parseObject() {
        Value value;
        value.kind_ = Value::Kind::Object;
        expect('{');
        if (take('}')) return value;
        do {
            std::string name = parseText();
            expect(':');
            value.members_.emplace_back(std::move(name), parseValue());
        } while (take(','));
        expect('}');
        return value;
    }

    Value parseValue() {
        const char c = peek();
        if (c == '{') return parseObject();
        if (c == '[') return parseList();
        Value value;
        if (c == '"') {
            value.kind_ = Value::Kind::Text;
            value.text_ = parseText();
        } else if (takeWord("true") || takeWord("false")) {
            value.kind_ = Value::Kind::Bool;
            value.flag_ = c == 't';
        } else {
            value.kind_ = Value::Kind::Integer;
            value.integer_ = parseInteger();
        }
        return value;
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

void Value::require(Kind kind) const {
    if (kind_ != kind) throw std::runtime_error("golden value of another kind than asked for");
}

bool Value::flag() const {
    require(Kind::Bool);
    return flag_;
}

std::int64_t Value::integer() const {
    require(Kind::Integer);
    return integer_;
}

double Value::number() const {
    if (kind_ == Kind::Integer) return static_cast<double>(integer_);
    require(Kind::Text);
    char* end = nullptr;
    const double value = std::strtod(text_.c_str(), &end);
    if (text_.empty() || *end != '\0') throw std::runtime_error("not a number: " + text_);
    return value;
}

const std::string& Value::text() const {
    require(Kind::Text);
    return text_;
}

const std::vector<Value>& Value::list() const {
    require(Kind::List);
    return list_;
}

std::vector<double> Value::numbers() const {
    std::vector<double> out;
    for (const Value& value : list()) out.push_back(value.number());
    return out;
}

const std::vector<std::pair<std::string, Value>>& Value::members() const {
    require(Kind::Object);
    return members_;
}

const Value* Value::find(std::string_view name) const {
    for (const auto& [key, value] : members()) {
        if (key == name) return &value;
    }
    return nullptr;
}

const Value& Value::operator[](std::string_view name) const {
    const Value* value = find(name);
    if (value == nullptr) throw std::runtime_error("no member " + std::string(name));
    return *value;
}

Value parse(std::string_view text) { return Parser(text).whole(); }

std::vector<Line> readFile(const std::string& name) {
    std::ifstream file(std::string(GOLDEN_FOLDER) + "/" + name);
    if (!file) throw std::runtime_error("cannot read " + name);
    std::vector<Line> lines;
    std::string text;
    for (int number = 1; std::getline(file, text); ++number) {
        try {
            lines.push_back({number, parse(text)});
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(name + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    return lines;
}

}  // namespace golden

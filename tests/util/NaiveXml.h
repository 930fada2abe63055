// A second, deliberately plain XML reader and writer to compare the real one with: recursive, character by character,
// a NUL standing behind the end of each string. Only for small texts.
#pragma once

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "ond/util/xml/Element.h"

namespace ond::test::naive {

struct Node {
    int type = 0;
    std::string text;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<Node> children;
};

struct Token {
    int kind = 0;
    std::string text;
};

inline char at(const std::string& s, std::size_t i) { return i < s.size() ? s[i] : '\0'; }

inline bool space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }

inline bool hexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

/// "%x" and "%d" of the C library, whose result is open for numbers too large: those give their low byte.
inline char scanned(const std::string& digits, bool hexadecimal) {
    int number = 0;
    if (digits.size() < 8) {
        unsigned bits = 0;
        if (hexadecimal && std::sscanf(digits.c_str(), "%x", &bits) == 1) number = static_cast<int>(bits);
        if (!hexadecimal && std::sscanf(digits.c_str(), "%d", &number) != 1) number = 0;
    } else {
        for (const char c : digits) {
            if (!hexadecimal && (c < '0' || c > '9')) break;
            const int value = c <= '9' ? c - '0' : (c | 32) - 'a' + 10;
            number = (number * (hexadecimal ? 16 : 10) + value) % 256;
        }
    }
    return static_cast<char>(number & 0xff);
}

inline std::string unescape(const std::string& s) {
    std::string result;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '&' && at(s, i + 1) == '#') {
            i += 2;
            const bool hexadecimal = at(s, i) == 'x';
            if (hexadecimal) ++i;
            std::string digits;
            while (hexDigit(at(s, i))) digits += s[i++];
            result += scanned(digits, hexadecimal);
        } else {
            result += s[i];
        }
    }
    return result;
}

inline std::string escape(const std::string& s) {
    std::string result;
    for (const char c : s) {
        const int byte = static_cast<unsigned char>(c);
        if (byte < 32 || byte > 126 || c == '&' || c == '<')
            result += "&#" + std::to_string(byte) + ";";
        else
            result += c;
    }
    return result;
}

inline std::vector<Token> tokenize(const std::string& s) {
    std::vector<Token> tokens;
    std::size_t i = 0;
    while (at(s, i) != '\0') {
        std::string cur;
        int kind = 0;
        while (space(at(s, i))) cur += s[i++];
        if (at(s, i) == '<') {
            cur.clear();
            ++i;
            kind = 1;
            if (at(s, i) == '/') {
                kind = 2;
                ++i;
            } else if (at(s, i) == '!') {
                kind = 4;
                ++i;
            }
            while (at(s, i) != '>' && at(s, i) != '\0') {
                if (s[i] == '/' && at(s, i + 1) == '>' && kind != 4)
                    kind = 3;
                else
                    cur += s[i];
                ++i;
            }
            if (at(s, i) == '>') ++i;
        } else {
            while (at(s, i) != '<' && at(s, i) != '\0') cur += s[i++];
            cur = unescape(cur);
        }
        if (!cur.empty()) tokens.push_back({kind, cur});
    }
    return tokens;
}

inline int parseAttributes(const std::string& s, Node& node) {
    std::size_t i = 0;
    while (space(at(s, i))) ++i;
    while (i < s.size() && !space(s[i])) ++i;
    for (;;) {
        if (i >= s.size()) return 0;
        while (space(at(s, i))) ++i;
        if (i >= s.size() || s[i] == '?') return 0;
        std::string name;
        while (i < s.size() && s[i] != '=' && !space(s[i])) name += s[i++];
        if (at(s, i) != '=') return 5;
        ++i;
        const char quote = at(s, i);
        if (quote != '\'' && quote != '"') return 5;
        ++i;
        std::string value;
        while (i < s.size() && s[i] != quote) value += s[i++];
        if (i >= s.size()) return 5;
        ++i;
        bool stored = false;
        for (auto& pair : node.attributes) {
            if (pair.first != name) continue;
            pair.second = unescape(value);
            stored = true;
        }
        if (!stored) node.attributes.emplace_back(name, unescape(value));
    }
}

inline int parseOne(const std::vector<Token>& tokens, std::size_t& n, Node& node) {
    if (n >= tokens.size()) return 5;
    const Token& token = tokens[n];
    if (token.kind == 2) return 2;
    if (token.kind == 0 || token.kind == 4) {
        node.type = token.kind == 0 ? 2 : 4;
        node.text = unescape(token.text);
        ++n;
        return 0;
    }
    node.type = 1;
    std::size_t end = 0;
    while (end < token.text.size() && !space(token.text[end])) ++end;
    node.text = unescape(token.text.substr(0, end));
    if (const int code = parseAttributes(token.text, node); code != 0) return code;
    ++n;
    if (token.kind == 3) return 0;
    while (n < tokens.size() && tokens[n].kind != 2) {
        Node child;
        if (const int code = parseOne(tokens, n, child); code != 0) return code;
        if (!child.text.empty() || !child.children.empty()) node.children.push_back(child);
    }
    if (n >= tokens.size()) return 3;
    if (tokens[n].text != node.text) return 4;
    ++n;
    return 0;
}

inline int parse(const std::string& s, Node& root) {
    const std::vector<Token> tokens = tokenize(s);
    if (tokens.empty() || (tokens[0].kind != 1 && tokens[0].kind != 3)) return 2;
    std::size_t n = tokens[0].text[0] == '?' ? 1 : 0;
    return parseOne(tokens, n, root);
}

inline std::string quoted(const std::string& value) {
    const bool hasDouble = value.find('"') != std::string::npos;
    const bool hasSingle = value.find('\'') != std::string::npos;
    const char quote = hasDouble && !hasSingle ? '\'' : '"';
    std::string result(1, quote);
    for (const char c : escape(value)) {
        if (c == '"' && quote == '"')
            result += "&#34;";
        else
            result += c;
    }
    result += quote;
    return result;
}

inline std::string write(const Node& node, const std::string& newline, const std::string& step,
                         const std::string& indent) {
    if (node.type == 2) return escape(node.text);
    if (node.type == 4) return indent + "<!-- " + escape(node.text) + "-- >";
    if (node.type != 1) return {};
    std::string result = indent + "<" + escape(node.text);
    for (const auto& [name, value] : node.attributes) result += " " + name + "=" + quoted(value);
    if (node.children.empty()) return result + "/>";
    result += ">";
    const bool textMode = node.children[0].type == 2;
    if (!textMode) result += newline;
    for (std::size_t i = 0; i < node.children.size(); ++i) {
        result += write(node.children[i], newline, step, indent + step);
        if (!textMode)
            result += newline;
        else if (node.children[i].type == 2 && i + 1 < node.children.size() && node.children[i + 1].type == 2)
            result += " ";
    }
    if (!textMode) result += indent;
    return result + "</" + escape(node.text) + ">";
}

inline bool same(const Node& node, const util::xml::Element& element) {
    if (node.type != element.type || node.text != element.text || node.attributes != element.attributes ||
        node.children.size() != element.children.size())
        return false;
    for (std::size_t i = 0; i < node.children.size(); ++i)
        if (!same(node.children[i], *element.children[i])) return false;
    return true;
}

}  // namespace ond::test::naive

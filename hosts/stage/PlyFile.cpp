#include "stage/PlyFile.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>

#include "ond/util/LittleEndian.h"
#include "stage/GroundFile.h"
#include "stage/GroundWord.h"

namespace ond::stage {

namespace {

enum class Type { int8, uint8, int16, uint16, int32, uint32, float32, float64 };

struct Property {
    std::string name;
    Type type = Type::float32;
    /// Of a list, the type of its length.
    std::optional<Type> length;
};

struct Element {
    std::string name;
    std::uint64_t count = 0;
    std::vector<Property> properties;
};

enum class Form { text, little, big };

struct Header {
    std::optional<Form> form;
    std::vector<Element> elements;
};

[[noreturn]] void damaged(const std::string& what) { throw GroundError(what + "; export the file again"); }

std::size_t sizeOf(Type type) {
    switch (type) {
        case Type::int8:
        case Type::uint8: return 1;
        case Type::int16:
        case Type::uint16: return 2;
        case Type::int32:
        case Type::uint32:
        case Type::float32: return 4;
        case Type::float64: return 8;
    }
    return 0;
}

Type typeOf(std::string_view name) {
    struct Name {
        std::string_view text;
        Type type;
    };
    static constexpr std::array<Name, 16> kNames{{{"char", Type::int8},
                                                  {"int8", Type::int8},
                                                  {"uchar", Type::uint8},
                                                  {"uint8", Type::uint8},
                                                  {"short", Type::int16},
                                                  {"int16", Type::int16},
                                                  {"ushort", Type::uint16},
                                                  {"uint16", Type::uint16},
                                                  {"int", Type::int32},
                                                  {"int32", Type::int32},
                                                  {"uint", Type::uint32},
                                                  {"uint32", Type::uint32},
                                                  {"float", Type::float32},
                                                  {"float32", Type::float32},
                                                  {"double", Type::float64},
                                                  {"float64", Type::float64}}};
    const auto* found = std::find_if(kNames.begin(), kNames.end(), [name](const Name& n) { return n.text == name; });
    if (found == kNames.end()) damaged("its header has a property of the unknown type " + quotedWord(name));
    return found->type;
}

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

/// Cuts the next word off the front of `line`; empty at its end.
std::string_view takeWord(std::string_view& line) {
    while (!line.empty() && isBlank(line.front())) line.remove_prefix(1);
    std::size_t length = 0;
    while (length < line.size() && !isBlank(line[length])) ++length;
    const std::string_view word = line.substr(0, length);
    line.remove_prefix(length);
    return word;
}

/// Cuts the next line off the front of `rest`, without its line feed. Nothing at the end of the file.
std::optional<std::string_view> takeLine(std::string_view& rest) {
    if (rest.empty()) return std::nullopt;
    const std::size_t end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return line;
}

// --- Header ---------------------------------------------------------------------------------------------------------

Form formOf(std::string_view line) {
    const std::string_view form = takeWord(line);
    if (takeWord(line) != "1.0") damaged("its header is of another version than 1.0");
    if (form == "ascii") return Form::text;
    if (form == "binary_little_endian") return Form::little;
    if (form == "binary_big_endian") return Form::big;
    damaged("its header names the unknown form " + quotedWord(form));
}

Element elementOf(std::string_view line) {
    Element element;
    element.name = takeWord(line);
    const std::string_view count = takeWord(line);
    const auto [end, error] = std::from_chars(count.data(), count.data() + count.size(), element.count);
    if (count.empty() || error != std::errc() || end != count.data() + count.size()) {
        damaged("its header gives no proper count for the element " + quotedWord(element.name));
    }
    return element;
}

Property propertyOf(std::string_view line) {
    Property property;
    std::string_view type = takeWord(line);
    if (type == "list") {
        property.length = typeOf(takeWord(line));
        if (*property.length == Type::float32 || *property.length == Type::float64) {
            damaged("its header has a list whose length is no whole number");
        }
        type = takeWord(line);
    }
    property.type = typeOf(type);
    property.name = takeWord(line);
    if (property.name.empty()) damaged("its header has a property without a name");
    return property;
}

/// Cuts the header off the front of `rest`.
Header takeHeader(std::string_view& rest) {
    Header header;
    std::optional<std::string_view> line = takeLine(rest);
    if (!line || takeWord(*line) != "ply") {
        throw GroundError("it does not begin as a .ply file; give it the ending of what it is or export it again");
    }
    while ((line = takeLine(rest))) {
        const std::string_view word = takeWord(*line);
        if (word == "end_header") {
            if (!header.form) damaged("its header does not say in what form it is");
            return header;
        }
        if (word == "format") {
            header.form = formOf(*line);
        } else if (word == "element") {
            header.elements.push_back(elementOf(*line));
        } else if (word == "property") {
            if (header.elements.empty()) damaged("its header has a property before any element");
            header.elements.back().properties.push_back(propertyOf(*line));
        } else if (!word.empty() && word != "comment" && word != "obj_info") {
            damaged("its header has a line that begins with " + quotedWord(word));
        }
    }
    damaged("its header has no end");
}

// --- Values ---------------------------------------------------------------------------------------------------------

/// The values behind the header in their order, entry by entry.
class Values {
  public:
    Values(std::string_view rest, Form form) : m_rest(rest), m_form(form) {}

    [[nodiscard]] std::size_t bytesLeft() const { return m_word.size() + m_line.size() + m_rest.size(); }
    /// Least number of bytes that a value takes.
    [[nodiscard]] std::size_t leastSize(Type type) const { return m_form == Form::text ? 1 : sizeOf(type); }

    /// Before the values of an entry: in text an entry is a line.
    void beginEntry() {
        if (m_form != Form::text) return;
        do {
            const std::optional<std::string_view> line = takeLine(m_rest);
            if (!line) damaged("it ends before all that its header announces");
            m_line = *line;
            m_word = takeWord(m_line);
        } while (m_word.empty());
    }

    void endEntry() const {
        if (m_form == Form::text && !m_word.empty()) damaged("one of its lines has more values than its header says");
    }

    double next(Type type) { return m_form == Form::text ? nextOfText() : nextOfBytes(type); }

  private:
    double nextOfText() {
        if (m_word.empty()) damaged("one of its lines has fewer values than its header says");
        const std::optional<double> value = toDouble(m_word);
        if (!value) damaged(quotedWord(m_word) + " stands in it where a number should");
        m_word = takeWord(m_line);
        return *value;
    }

    double nextOfBytes(Type type) {
        const std::size_t size = sizeOf(type);
        if (m_rest.size() < size) damaged("it ends before all that its header announces");
        std::array<unsigned char, 8> bytes{};
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t to = m_form == Form::big ? size - 1 - i : i;
            bytes[to] = static_cast<unsigned char>(m_rest[i]);
        }
        m_rest.remove_prefix(size);
        switch (type) {
            case Type::int8: return static_cast<signed char>(bytes[0]);
            case Type::uint8: return bytes[0];
            case Type::int16: return util::loadLittleEndian<std::int16_t>(bytes.data());
            case Type::uint16: return util::loadLittleEndian<std::uint16_t>(bytes.data());
            case Type::int32: return util::loadLittleEndian<std::int32_t>(bytes.data());
            case Type::uint32: return util::loadLittleEndian<std::uint32_t>(bytes.data());
            case Type::float32: return static_cast<double>(util::loadLittleEndian<float>(bytes.data()));
            case Type::float64: return util::loadLittleEndian<double>(bytes.data());
        }
        return 0.0;
    }

    std::string_view m_rest;
    Form m_form;
    /// In text, what is left of the entry's line and the word before it.
    std::string_view m_line;
    std::string_view m_word;
};

std::uint32_t wholeNumber(double value, const char* what) {
    if (!(value >= 0.0 && value <= 4294967295.0) || value != std::floor(value)) {
        damaged(std::string(what) + " in it is no number of something");
    }
    return static_cast<std::uint32_t>(value);
}

/// The length of a list, checked against the bytes that are left.
std::uint32_t takeLength(Values& values, const Property& list) {
    const std::uint32_t length = wholeNumber(values.next(*list.length), "a list length");
    if (length * values.leastSize(list.type) > values.bytesLeft()) {
        damaged("a list in it is longer than the file");
    }
    return length;
}

void skip(Values& values, const Property& property) {
    const std::uint32_t count = property.length ? takeLength(values, property) : 1;
    for (std::uint32_t i = 0; i < count; ++i) values.next(property.type);
}

void readVertex(Values& values, const Element& element, PlyFile& file) {
    util::Vector3<double> vertex;
    for (const Property& property : element.properties) {
        if (!property.length && property.name == "x") {
            vertex.x = values.next(property.type);
        } else if (!property.length && property.name == "y") {
            vertex.y = values.next(property.type);
        } else if (!property.length && property.name == "z") {
            vertex.z = values.next(property.type);
        } else {
            skip(values, property);
        }
    }
    file.vertices.push_back(vertex);
}

bool isCornerList(const Property& property) {
    return property.length && (property.name == "vertex_indices" || property.name == "vertex_index");
}

void readFace(Values& values, const Element& element, PlyFile& file) {
    for (const Property& property : element.properties) {
        if (!isCornerList(property)) {
            skip(values, property);
            continue;
        }
        const std::uint32_t length = takeLength(values, property);
        for (std::uint32_t i = 0; i < length; ++i) {
            file.corners.push_back(wholeNumber(values.next(property.type), "a corner of a face"));
        }
        file.sizes.push_back(length);
    }
}

/// A strip: each corner from the third on makes a triangle with the two before it, every other one turned round. -1
/// begins a new strip.
void readStrip(Values& values, const Property& property, PlyFile& file) {
    const std::uint32_t length = takeLength(values, property);
    std::vector<std::uint32_t> strip;
    for (std::uint32_t i = 0; i < length; ++i) {
        const double value = values.next(property.type);
        if (value == -1.0) {
            strip.clear();
            continue;
        }
        strip.push_back(wholeNumber(value, "a corner of a strip"));
        const std::size_t n = strip.size();
        if (n < 3) continue;
        const bool turned = n % 2 == 0;
        file.corners.push_back(strip[n - (turned ? 2 : 3)]);
        file.corners.push_back(strip[n - (turned ? 3 : 2)]);
        file.corners.push_back(strip[n - 1]);
        file.sizes.push_back(3);
    }
}

void readEntry(Values& values, const Element& element, PlyFile& file) {
    if (element.name == "vertex") return readVertex(values, element, file);
    if (element.name == "face") return readFace(values, element, file);
    for (const Property& property : element.properties) {
        if (element.name == "tristrips" && isCornerList(property)) {
            readStrip(values, property, file);
        } else {
            skip(values, property);
        }
    }
}

/// A count that does not fit into the rest of the file is not to take memory or time.
void checkCount(const Values& values, const Element& element) {
    std::size_t least = 0;
    for (const Property& property : element.properties) {
        least += values.leastSize(property.length ? *property.length : property.type);
    }
    if (element.count > 0 && (least == 0 || element.count > values.bytesLeft() / least)) {
        damaged("its header announces " + std::to_string(element.count) + " entries of " + quotedWord(element.name) +
                ", which are not in it");
    }
}

void checkVertexElement(const Header& header) {
    const auto isVertex = [](const Element& element) { return element.name == "vertex"; };
    if (std::count_if(header.elements.begin(), header.elements.end(), isVertex) != 1) {
        damaged("its header does not announce vertices once");
    }
    const Element& vertex = *std::find_if(header.elements.begin(), header.elements.end(), isVertex);
    for (const char* axis : {"x", "y", "z"}) {
        const auto isAxis = [axis](const Property& p) { return p.name == axis && !p.length; };
        if (std::count_if(vertex.properties.begin(), vertex.properties.end(), isAxis) != 1) {
            damaged("its header does not give its vertices one coordinate " + std::string(axis));
        }
    }
}

}  // namespace

PlyFile readPly(std::string_view bytes) {
    const Header header = takeHeader(bytes);
    checkVertexElement(header);
    Values values(bytes, *header.form);
    PlyFile file;
    for (const Element& element : header.elements) {
        checkCount(values, element);
        for (std::uint64_t i = 0; i < element.count; ++i) {
            values.beginEntry();
            readEntry(values, element, file);
            values.endEntry();
        }
    }
    return file;
}

}  // namespace ond::stage

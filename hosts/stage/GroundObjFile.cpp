#include "stage/GroundObjFile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "stage/GroundFile.h"
#include "stage/GroundObjText.h"
#include "stage/GroundWord.h"

namespace ond::stage::obj {

namespace {

/// The vertex of a corner "5", "5/1", "5//1" or "5/1/1" as it stands there; one that no number holds is far off.
std::optional<std::int64_t> vertexOf(std::string_view corner) {
    std::int64_t index = 0;
    const char* const end = corner.data() + corner.size();
    const std::from_chars_result result = std::from_chars(corner.data(), end, index);
    if (result.ec == std::errc::invalid_argument || (result.ptr != end && *result.ptr != '/')) return std::nullopt;
    if (result.ec == std::errc::result_out_of_range) {
        return corner.front() == '-' ? std::numeric_limits<std::int64_t>::min()
                                     : std::numeric_limits<std::int64_t>::max();
    }
    return index;
}

class Reader {
  public:
    Reader(std::string_view text, std::size_t mostParts) : m_words(text), m_mostParts(mostParts) {}

    ObjFile read() {
        while (m_words.nextLine()) readLine(m_words.next());
        if (!m_isObj) {
            throw GroundError("it does not read as a .obj file; give it the ending of what it is or export it again");
        }
        checkFarthest();
        return std::move(m_file);
    }

  private:
    void readLine(std::string_view keyword);
    void readVertex();
    double readCoordinate(std::string_view word);
    void readFace();
    std::uint32_t placeOf(std::string_view corner);
    void checkFarthest() const;
    std::int64_t countWords();
    Part& currentPart();
    void enterObject(std::string name);
    void enterGroup(std::string name);
    void enterMaterial(std::string name);
    void addMaterialFile(std::string name);

    [[nodiscard]] std::string lineAt(std::size_t place) const {
        return "line " + std::to_string(m_words.lineNumberAt(place));
    }
    [[nodiscard]] std::string line() const { return lineAt(m_words.place()); }
    [[noreturn]] static void outOfRange(const std::string& line, std::string_view corner, const std::string& why) {
        throw GroundError("a face in " + line + " has the corner " + quotedWord(corner) + ", but " + why +
                          "; export the file again");
    }

    Words m_words;
    std::size_t m_mostParts;
    ObjFile m_file;
    bool m_isObj = false;
    /// The part that the next face is in, made with its first face.
    std::optional<std::size_t> m_part;
    std::string m_name;
    std::string m_group;
    std::map<std::string, std::size_t> m_partOfName;
    std::optional<std::size_t> m_material;
    std::map<std::string, std::size_t> m_materialOfName;
    std::set<std::string> m_materialFiles;
    /// The highest corner whose vertex did not stand before it, and its place. At the end there has to be one.
    std::size_t m_farthest = 0;
    std::size_t m_farthestPlace = 0;
};

void Reader::readLine(std::string_view keyword) {
    if (keyword == "v") return readVertex();
    if (keyword == "f" || keyword == "fo") return readFace();
    // A line of three vertices is two lines.
    if (keyword == "l") m_file.pointsAndLines += std::max<std::int64_t>(countWords() - 1, 1);
    if (keyword == "p") m_file.pointsAndLines += std::max<std::int64_t>(countWords(), 1);
    if (keyword == "o") enterObject(std::string(m_words.rest()));
    if (keyword == "g") enterGroup(std::string(m_words.rest()));
    if (keyword == "usemtl") enterMaterial(std::string(m_words.rest()));
    if (keyword == "mtllib") addMaterialFile(std::string(m_words.rest()));
}

double Reader::readCoordinate(std::string_view word) {
    const std::optional<double> number = toDouble(word);
    if (!number) {
        throw GroundError(quotedWord(word) + " stands in " + line() + " where a number should; export the file again");
    }
    if (!std::isfinite(*number)) {
        throw GroundError(line() + " has a coordinate that is not finite; repair the mesh and export the file again");
    }
    return *number;
}

/// A fourth number alone is the weight that the coordinates are divided by; more of them are colours.
void Reader::readVertex() {
    m_isObj = true;
    util::Vector3<double> vertex;
    for (double* const coordinate : {&vertex.x, &vertex.y, &vertex.z}) {
        const std::string_view word = m_words.next();
        if (word.empty()) {
            throw GroundError(line() + " gives a vertex fewer than three coordinates; export the file again");
        }
        *coordinate = readCoordinate(word);
    }
    const std::string_view fourth = m_words.next();
    if (!fourth.empty() && m_words.next().empty()) {
        const double weight = readCoordinate(fourth);
        vertex = {vertex.x / weight, vertex.y / weight, vertex.z / weight};
        if (!std::isfinite(vertex.x) || !std::isfinite(vertex.y) || !std::isfinite(vertex.z)) {
            throw GroundError(line() + " gives a vertex the weight " + quotedWord(fourth) +
                              ", by which it is not finite; export the file without weights");
        }
    }
    m_file.vertices.push_back(vertex);
}

void Reader::readFace() {
    m_isObj = true;
    Part& part = currentPart();
    std::uint32_t size = 0;
    for (std::string_view corner = m_words.next(); !corner.empty(); corner = m_words.next()) {
        part.corners.push_back(placeOf(corner));
        ++size;
    }
    if (size < 3) {
        part.corners.resize(part.corners.size() - size);
        ++m_file.pointsAndLines;
        return;
    }
    part.sizes.push_back(size);
    if (m_material && (part.materials.empty() || part.materials.back() != *m_material)) {
        part.materials.push_back(*m_material);
    }
}

std::uint32_t Reader::placeOf(std::string_view corner) {
    const std::optional<std::int64_t> index = vertexOf(corner);
    const auto count = static_cast<std::int64_t>(m_file.vertices.size());
    if (!index) {
        throw GroundError(quotedWord(corner) + " stands in " + line() +
                          " where the number of a vertex should; export the file again");
    }
    if (*index == 0) outOfRange(line(), corner, "vertices are counted from 1");
    if (*index < 0) {
        if (*index < -count) outOfRange(line(), corner, "only " + std::to_string(count) + " vertices stand before it");
        return static_cast<std::uint32_t>(count + *index);
    }
    if (*index > std::numeric_limits<std::int32_t>::max()) {
        outOfRange(line(), corner, "no file has as many vertices");
    }
    if (*index > count && static_cast<std::size_t>(*index) > m_farthest) {
        m_farthest = static_cast<std::size_t>(*index);
        m_farthestPlace = m_words.place();
    }
    return static_cast<std::uint32_t>(*index - 1);
}

void Reader::checkFarthest() const {
    if (m_farthest <= m_file.vertices.size()) return;
    outOfRange(lineAt(m_farthestPlace), std::to_string(m_farthest),
               "the file has only " + std::to_string(m_file.vertices.size()) + " vertices");
}

std::int64_t Reader::countWords() {
    std::int64_t count = 0;
    while (!m_words.next().empty()) ++count;
    return count;
}

Part& Reader::currentPart() {
    if (!m_part) {
        if (m_file.parts.size() >= m_mostParts) {
            throw GroundError("it has more than " + std::to_string(m_mostParts) +
                              " objects and groups; join them and export the file again");
        }
        m_part = m_file.parts.size();
        m_partOfName.try_emplace(m_name, *m_part);
        m_file.parts.push_back({m_name, {}, {}, {}});
    }
    return m_file.parts[*m_part];
}

void Reader::enterObject(std::string name) {
    const auto known = m_partOfName.find(name);
    m_part = known == m_partOfName.end() ? std::nullopt : std::optional(known->second);
    m_name = std::move(name);
    m_group.clear();
}

/// Exporters repeat the name of a group that has not ended.
void Reader::enterGroup(std::string name) {
    if (name == m_group) return;
    m_group = name;
    m_name = std::move(name);
    m_part.reset();
}

void Reader::enterMaterial(std::string name) {
    const auto [place, isNew] = m_materialOfName.try_emplace(name, m_file.materials.size());
    if (isNew) m_file.materials.push_back(std::move(name));
    m_material = place->second;
}

void Reader::addMaterialFile(std::string name) {
    if (m_materialFiles.insert(name).second) m_file.materialFiles.push_back(std::move(name));
}

}  // namespace

ObjFile readObj(std::string_view text, std::size_t mostParts) { return Reader(text, mostParts).read(); }

}  // namespace ond::stage::obj

#include "stage/GroundObjColours.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <set>
#include <system_error>

#include "stage/GroundBytes.h"
#include "stage/GroundFile.h"
#include "stage/GroundObjText.h"
#include "stage/GroundWord.h"

namespace ond::stage::obj {

namespace {

/// A single number is a grey. Nothing for a colour that is not given in numbers.
std::optional<std::array<float, 3>> colourOf(Words& words) {
    std::array<float, 3> colour{};
    for (std::size_t i = 0; i < 3; ++i) {
        const std::string_view word = words.next();
        if (word.empty() && i > 0) {
            colour[i] = colour[i - 1];
            continue;
        }
        const std::optional<double> number = toDouble(word);
        if (!number || !std::isfinite(*number)) return std::nullopt;
        colour[i] = static_cast<float>(std::clamp(*number, 0.0, 1.0));
    }
    return colour;
}

/// Where a file is; nothing if it is not there.
std::optional<std::filesystem::path> placeOf(const std::filesystem::path& folder, std::string name) {
    // Exporters of other systems write paths their way.
    std::replace(name.begin(), name.end(), '\\', '/');
    const std::filesystem::path path(name);
    for (const std::filesystem::path& place : {folder / path, folder / path.filename()}) {
        std::error_code error;
        if (!std::filesystem::is_regular_file(place, error)) continue;
        const std::filesystem::path one = std::filesystem::canonical(place, error);
        return error ? place : one;
    }
    return std::nullopt;
}

/// False if the file cannot be read.
bool addColoursOf(const std::filesystem::path& path, Colours& colours) {
    try {
        addColours(readGroundBytes(path), colours);
        return true;
    } catch (const GroundError&) {
        return false;
    }
}

}  // namespace

void addColours(std::string_view text, Colours& colours) {
    Words words(text);
    std::string material;
    while (words.nextLine()) {
        const std::string_view keyword = words.next();
        if (keyword != "Kd") {
            // To the end of the line as it stands: names of folders end with a backslash, too.
            const std::string_view rest = words.rest();
            if (keyword == "newmtl") material = rest;
            continue;
        }
        const std::optional<std::array<float, 3>> colour = colourOf(words);
        if (colour) colours.try_emplace(material, *colour);
    }
}

std::vector<ColourFile> findColourFiles(const std::vector<std::string>& files, const std::filesystem::path& folder,
                                        std::vector<std::string>& missing) {
    std::vector<ColourFile> found;
    std::set<std::filesystem::path> places;
    const auto find = [&](std::string_view name) {
        const std::optional<std::filesystem::path> place = placeOf(folder, std::string(name));
        if (place && places.insert(*place).second) found.push_back({std::string(name), *place});
        return place.has_value();
    };
    for (const std::string& line : files) {
        // One name with blanks in it, or several names.
        if (find(line)) continue;
        Words names(line);
        names.nextLine();
        for (std::string_view name = names.next(); !name.empty(); name = names.next()) {
            if (!find(name)) missing.emplace_back(name);
        }
    }
    return found;
}

Colours readColours(const std::vector<std::string>& files, const std::filesystem::path& folder, const std::string& stem,
                    std::vector<std::string>& warnings) {
    Colours colours;
    std::vector<std::string> missing;
    for (const ColourFile& file : findColourFiles(files, folder, missing)) {
        if (!addColoursOf(file.path, colours)) missing.push_back(file.name);
    }
    if (missing.empty()) return colours;
    const std::optional<std::filesystem::path> own = placeOf(folder, stem + ".mtl");
    if (!own || !addColoursOf(*own, colours)) {
        warnings.push_back("The material file " + quotedWord(missing.front()) +
                           (missing.size() == 1 ? "" : " and " + std::to_string(missing.size() - 1) + " more") +
                           " could not be read, so there are no colours from there.");
    }
    return colours;
}

}  // namespace ond::stage::obj

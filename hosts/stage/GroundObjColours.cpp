#include "stage/GroundObjColours.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
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

/// Adds the colours of a file if it is there.
bool addColoursOf(const std::filesystem::path& folder, std::string name, Colours& colours) {
    // Exporters of other systems write paths their way.
    std::replace(name.begin(), name.end(), '\\', '/');
    const std::filesystem::path path(name);
    for (const std::filesystem::path& place : {folder / path, folder / path.filename()}) {
        std::error_code ignored;
        if (!std::filesystem::is_regular_file(place, ignored)) continue;
        try {
            addColours(readGroundBytes(place), colours);
            return true;
        } catch (const GroundError&) {
            return false;
        }
    }
    return false;
}

}  // namespace

void addColours(std::string_view text, Colours& colours) {
    Words words(text);
    std::string material;
    while (words.nextLine()) {
        const std::string_view keyword = words.next();
        if (keyword == "newmtl") material = words.rest();
        if (keyword != "Kd") continue;
        const std::optional<std::array<float, 3>> colour = colourOf(words);
        if (colour) colours.try_emplace(material, *colour);
    }
}

Colours readColours(const std::vector<std::string>& files, const std::filesystem::path& folder, const std::string& stem,
                    std::vector<std::string>& warnings) {
    Colours colours;
    std::vector<std::string> missing;
    for (const std::string& line : files) {
        // One name with blanks in it, or several names.
        if (addColoursOf(folder, line, colours)) continue;
        Words names(line);
        names.nextLine();
        for (std::string_view name = names.next(); !name.empty(); name = names.next()) {
            if (!addColoursOf(folder, std::string(name), colours)) missing.emplace_back(name);
        }
    }
    if (!missing.empty() && !addColoursOf(folder, stem + ".mtl", colours)) {
        warnings.push_back("The material file " + quotedWord(missing.front()) +
                           (missing.size() == 1 ? "" : " and " + std::to_string(missing.size() - 1) + " more") +
                           " could not be read, so there are no colours from there.");
    }
    return colours;
}

}  // namespace ond::stage::obj

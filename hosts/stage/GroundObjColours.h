// Colours of the materials that a .obj file names, from the .mtl files next to it.
#pragma once

#include <array>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ond::stage::obj {

/// Red, green and blue, each from 0 to 1, by the name of the material.
using Colours = std::map<std::string, std::array<float, 3>>;

/// Adds the diffuse colours in the text of a .mtl file, except of materials that are there already. Whatever else the
/// text holds is skipped.
void addColours(std::string_view text, Colours& colours);

/// A material file under the name that a .obj file gives it.
struct ColourFile {
    std::string name;
    std::filesystem::path path;
};

/// The material files in `files`, as a .obj file names them, that are in `folder` under their path or under their name
/// alone. Each file is there once, whatever it is named by. The names of all others are appended to `missing`.
[[nodiscard]] std::vector<ColourFile> findColourFiles(const std::vector<std::string>& files,
                                                      const std::filesystem::path& folder,
                                                      std::vector<std::string>& missing);

/// The colours in `files`, as a .obj file names them. They are looked for in `folder` under their path and under their
/// name alone; instead of those that are not there, the file called `stem` with the ending .mtl is read. Appends a
/// warning if one cannot be read.
[[nodiscard]] Colours readColours(const std::vector<std::string>& files, const std::filesystem::path& folder,
                                  const std::string& stem, std::vector<std::string>& warnings);

}  // namespace ond::stage::obj

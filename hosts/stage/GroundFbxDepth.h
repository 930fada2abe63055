// How deep the records of an .fbx file lie in each other.
#pragma once

#include <cstddef>
#include <string_view>

namespace ond::stage {

/// Most records around one that are read. Exporters write fewer than ten.
inline constexpr std::size_t kMostFbxDepth = 200;

/// Checks a text or binary .fbx file before the importer library reads it, which goes into records by recursion and
/// would run out of stack. What is damaged in another way is left to the library.
/// Throws GroundError, without the name of the file.
void checkFbxDepth(std::string_view bytes);

}  // namespace ond::stage

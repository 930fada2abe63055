// How deep the records and the models of an .fbx file lie in each other.
#pragma once

#include <cstddef>
#include <string_view>

namespace ond::stage {

/// Most records around one that are read. Exporters write fewer than ten.
inline constexpr std::size_t kMostFbxDepth = 200;

/// Checks a text or binary .fbx file before the importer library reads it, which goes into records and into models by
/// recursion and would run out of stack. A binary file whose records are damaged is refused, since where the library
/// goes on in it cannot be told; what is damaged in another way is left to the library.
/// Throws GroundError, without the name of the file.
void checkFbxDepth(std::string_view bytes);

}  // namespace ond::stage

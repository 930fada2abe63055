// Putting right the record structure of binary FBX files.
#pragma once

#include <string>

namespace ond::command {

/// Binary FBX ends every list of nested records with an empty record. Some versions of the exporter leave these out,
/// and no program reads such a file. Gives the file with all of them; one that has them comes out the same but for its
/// padding, and anything else than binary FBX of version 7500 on comes out untouched.
/// @throws CommandError for records that do not fit into each other
[[nodiscard]] std::string withEmptyRecords(const std::string& file);

}  // namespace ond::command

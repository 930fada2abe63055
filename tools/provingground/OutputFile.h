// Files that are whole or not there.
#pragma once

#include <string>

namespace ond::provingground {

/// Writes aside and renames, so that a failure leaves an earlier file as it was.
/// Throws std::runtime_error with a sentence for the user.
void writeFile(const std::string& path, const std::string& bytes);

}  // namespace ond::provingground

// The program's version.
#pragma once

namespace ond::command {

constexpr const char* kVersion = "1.0.0";

}  // namespace ond::command

// What each command does. All of them throw CommandError, stage::StageError or stage::GroundError for what cannot be
// done, with nothing written.
#pragma once

#include "command/Console.h"
#include "command/Options.h"

namespace ond::command {

/// @return the exit code of the program, here and below
[[nodiscard]] int drive(const DriveOptions& options, const Console& console);
[[nodiscard]] int resume(const ContinueOptions& options, const Console& console);
[[nodiscard]] int retake(const ContinueOptions& options, const Console& console);
[[nodiscard]] int exportTake(const ExportOptions& options, const Console& console);
[[nodiscard]] int trace(const TraceOptions& options, const Console& console);
[[nodiscard]] int info(const InfoOptions& options, const Console& console);
[[nodiscard]] int presets(const PresetsOptions& options, const Console& console);
[[nodiscard]] int replay(const ReplayOptions& options, const Console& console);
[[nodiscard]] int validateModule(const ValidateOptions& options, const Console& console);

}  // namespace ond::command

// Declares the options of the commands. Each function adds its command to the program; the heavy library stays in the
// few files that implement them.
#pragma once

#include "command/Options.h"

namespace CLI {
class App;
}

namespace ond::command {

void addDrive(CLI::App& app, DriveOptions& options);
void addResume(CLI::App& app, ContinueOptions& options);
void addRetake(CLI::App& app, ContinueOptions& options);
void addExport(CLI::App& app, ExportOptions& options);
void addTrace(CLI::App& app, TraceOptions& options);
void addInfo(CLI::App& app, InfoOptions& options);
void addPresets(CLI::App& app, PresetsOptions& options);
void addReplay(CLI::App& app, ReplayOptions& options);
void addValidate(CLI::App& app, ValidateOptions& options);

}  // namespace ond::command

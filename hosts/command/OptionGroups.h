// Options that several commands have. Only for the files that declare options: it brings the whole library along.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "command/Options.h"

namespace ond::command {

/// A text option; the value's name and the default stand in the help.
inline CLI::Option* text(CLI::App* app, const char* name, std::string& value, const char* help, const char* group,
                         const char* kind, const char* usual = "") {
    CLI::Option* option = app->add_option(name, value, help)->group(group)->type_name(kind);
    if (*usual != '\0') option->default_str(usual);
    return option;
}

/// An option that may be given several times, one value each; the help says so.
inline CLI::Option* texts(CLI::App* app, const char* name, std::vector<std::string>& values, const std::string& help,
                          const char* group, const char* kind) {
    return app->add_option(name, values, help + "; several are possible")
        ->group(group)
        ->type_name(kind)
        ->allow_extra_args(false);
}

/// -o and --force. All that is given is kept, so that the command can say how many it takes.
inline void addOutputFiles(CLI::App* app, OutputOptions& options, const char* help, const char* forceHelp,
                           bool required) {
    app->add_option("-o,--output", options.files, help)
        ->group("Output")
        ->type_name("FILE")
        ->allow_extra_args(false)
        ->required(required);
    app->add_flag("--force", options.force, forceHelp)->group("Output");
}

inline void addCommon(CLI::App* app, CommonOptions& options, bool withJson) {
    const char* group = "Program";
    text(app, "--module", options.module,
         "The vehicle module; otherwise the one that QUADRIG_MODULE names, or else the one near the program", group,
         "FILE");
    app->add_flag("-q,--quiet", options.quiet, "No notes and no progress; only errors")->group(group);
    if (withJson) app->add_flag("--json", options.json, "What is told on stdout as JSON")->group(group);
}

inline void addOutput(CLI::App* app, OutputOptions& options, const char* help, bool required) {
    addOutputFiles(app, options, help, "Replace a file that is there; without it nothing is overwritten", required);
}

inline void addInput(CLI::App* app, InputOptions& options) {
    const char* group = "Input (later ones lie over earlier ones: logs, then --hold, then --key)";
    texts(app, "-i,--input", options.logs,
          "A log: CSV with a header, a column 'time' in seconds and one for each channel; straight between its rows",
          group, "CSV");
    texts(app, "--column", options.columns,
          "Which column of the logs feeds a channel, or 'time'; otherwise columns named like channels do "
          "(time, steer, gas, brake, ...)",
          group, "CHANNEL=COLUMN");
    texts(app, "--hold", options.held, "A channel that stands still: -1 to 1 for gas and steering, 0 to 1 for others",
          group, "CHANNEL=VALUE");
    texts(app, "--key", options.keyed, "A channel that runs straight from key to key; seconds ascend", group,
          "CHANNEL=T:V,T:V,...");
}

inline const char* exitCodes() {
    return "Exit codes:\n"
           "  0  done\n"
           "  1  done, with findings: a run that broke down, a difference, damage\n"
           "  2  wrong use, bad input or a failure; nothing was written\n";
}

}  // namespace ond::command

// The command line as plain values: what was given, as text. What it means is found out by the commands.
#pragma once

#include <string>
#include <vector>

namespace ond::command {

/// Of all commands.
struct CommonOptions {
    std::string module;  ///< the vehicle module; empty to look for it
    bool quiet = false;
    bool json = false;
};

struct OutputOptions {
    std::vector<std::string> files;
    bool force = false;  ///< an existing file may be replaced
};

struct InputOptions {
    std::vector<std::string> logs;     ///< --input
    std::vector<std::string> columns;  ///< --column channel=column
    std::vector<std::string> held;     ///< --hold channel=value
    std::vector<std::string> keyed;    ///< --key channel=t:v,t:v
};

struct DriveOptions {
    CommonOptions common;
    OutputOptions output;
    InputOptions input;
    std::string file;  ///< the drive file
    std::vector<std::string> ground, scenery;
    std::string up;                              ///< "y" or "z", of the ground's files
    std::vector<std::string> parameters, state;  ///< --set, --state
    std::string preset, at, heading, length, target, vehicle, fps, first, last;
};

/// Of `resume` and `retake`.
struct ContinueOptions {
    CommonOptions common;
    OutputOptions output;
    InputOptions input;
    std::string take, at, last, vehicle;
    bool takeClock = false;  ///< input seconds count from the start of the recording
    bool overdub = false;    ///< retake: channels without new input keep the recorded one
};

struct ExportOptions {
    CommonOptions common;
    OutputOptions output;
    std::string take, frame, camera, size, step, vehicle;
    bool helpers = false;
};

struct TraceOptions {
    CommonOptions common;
    OutputOptions output;            ///< none for stdout
    std::vector<std::string> takes;  ///< one, or the two to compare
    std::string first, last;
    bool compare = false;
};

struct InfoOptions {
    CommonOptions common;
    std::vector<std::string> files;
};

struct PresetsOptions {
    CommonOptions common;
    OutputOptions output;
    std::string action;  ///< list, show, extract, apply
    std::string preset, take, vehicle, name;
};

struct ReplayOptions {
    CommonOptions common;
    OutputOptions output;
    std::string take, title, page;
};

struct ValidateOptions {
    std::string module;  ///< to check
    std::vector<std::string> only, skip;
    std::string level, seed, timeout, jobs;
    bool list = false;
    bool inProcess = false;
    bool quiet = false;
    bool json = false;
};

/// What the command line asks for: one of the commands, or a text to show.
struct Options {
    std::string command;  ///< empty if there is only `text` to show
    DriveOptions drive;
    ContinueOptions resume, retake;
    ExportOptions exports;
    TraceOptions trace;
    InfoOptions info;
    PresetsOptions presets;
    ReplayOptions replay;
    ValidateOptions validate;

    std::string text;  ///< help or version, for stdout; a complaint, for stderr
    int exitCode = 0;  ///< 0 for text that was asked for
};

/// @param arguments without the program's name
[[nodiscard]] Options parseOptions(const std::vector<std::string>& arguments);

}  // namespace ond::command

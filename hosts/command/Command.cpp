#include "command/Command.h"

#include <exception>
#include <new>

#include "command/CommandError.h"
#include "command/Commands.h"
#include "command/Options.h"

namespace ond::command {

namespace {

Console quietIf(const Console& console, const CommonOptions& options) {
    Console own = console;
    own.quiet = console.quiet || options.quiet;
    return own;
}

int dispatch(const Options& options, const Console& console) {
    if (options.command == "drive") return drive(options.drive, quietIf(console, options.drive.common));
    if (options.command == "resume") return resume(options.resume, quietIf(console, options.resume.common));
    if (options.command == "retake") return retake(options.retake, quietIf(console, options.retake.common));
    if (options.command == "export") return exportTake(options.exports, quietIf(console, options.exports.common));
    if (options.command == "trace") return trace(options.trace, quietIf(console, options.trace.common));
    if (options.command == "info") return info(options.info, quietIf(console, options.info.common));
    if (options.command == "presets") return presets(options.presets, quietIf(console, options.presets.common));
    if (options.command == "replay") return replay(options.replay, quietIf(console, options.replay.common));
    if (options.command == "validate") {
        Console own = console;
        own.quiet = console.quiet || options.validate.quiet;
        return validateModule(options.validate, own);
    }
    throw CommandError("there is no command '" + options.command + "'");
}

}  // namespace

int runCommand(const std::vector<std::string>& arguments, const Console& console) {
    try {
        const Options options = parseOptions(arguments);
        if (!options.command.empty()) return dispatch(options, console);
        (options.exitCode == kFine ? console.out : console.err) << options.text;
        return options.exitCode;
    } catch (const std::bad_alloc&) {
        console.complain("there is not enough memory for this");
    } catch (const std::exception& error) {
        console.complain(error.what());
    }
    return kFailed;
}

}  // namespace ond::command

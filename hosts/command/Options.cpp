#include "command/Options.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "command/HelpFormat.h"
#include "command/Nearest.h"
#include "command/OptionText.h"
#include "command/Version.h"

namespace ond::command {

namespace {

std::vector<std::string> subcommandsOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* sub : app.get_subcommands({})) names.push_back(sub->get_name());
    return names;
}

/// The command that was asked for last, in the depth.
const CLI::App& chosen(const CLI::App& app) {
    const CLI::App* at = &app;
    while (!at->get_subcommands().empty()) at = at->get_subcommands().front();
    return *at;
}

std::vector<std::string> optionNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options())
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    return names;
}

/// The command with those above it, without the program itself: "presets apply".
std::string inFull(const CLI::App& app) {
    std::string name;
    for (const CLI::App* at = &app; at->get_parent() != nullptr; at = at->get_parent())
        name = at->get_name() + (name.empty() ? "" : " " + name);
    return name;
}

/// What is wrong with an argument that no option takes.
std::string strayArgument(const CLI::App& app, const std::string& argument) {
    const CLI::App& command = chosen(app);
    const std::string name = argument.substr(0, argument.find('='));
    const std::string where = inFull(command);
    if (name.size() > 1 && name[0] == '-')
        return (where.empty() ? "there is" : where + " has") + std::string(" no option '") + name + "'" +
               didYouMean(name, optionNames(command));
    const std::vector<std::string> known = subcommandsOf(command);
    if (!known.empty()) {
        const std::string hint = didYouMean(argument, known);
        return "there is no command '" + argument + "'" + (hint.empty() ? "; commands are " + enumerated(known) : hint);
    }
    return where + " does not know what to do with '" + argument + "'";
}

/// The help without the second empty line that the library puts between groups.
std::string helpOf(const CLI::App& app) {
    std::string text = app.help();
    for (std::size_t at = text.find("\n\n\n"); at != std::string::npos; at = text.find("\n\n\n", at)) text.erase(at, 1);
    return text;
}

std::string firstOf(const std::vector<std::string>& words) { return words.empty() ? std::string() : words.front(); }

/// A complaint of the library as a sentence of ours.
std::string complaint(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> stray = app.remaining(true);
    if (!stray.empty()) return strayArgument(app, firstOf(stray));
    std::string text = error.what();
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) text = inFull(chosen(app)) + ": " + text;
    return text;
}

}  // namespace

Options parseOptions(const std::vector<std::string>& arguments) {
    Options options;
    CLI::App app(
        "quadrig drives a four-wheeled rig over ground and records takes that any 3D program opens.\n\n"
        "Each command has a help of its own: quadrig COMMAND --help.",
        "quadrig");
    app.set_version_flag("--version", std::string("quadrig ") + kVersion, "Print the version");
    app.require_subcommand(1);
    app.formatter(std::make_shared<HelpFormat>());
    addDrive(app, options.drive);
    addResume(app, options.resume);
    addRetake(app, options.retake);
    addExport(app, options.exports);
    addTrace(app, options.trace);
    addInfo(app, options.info);
    addPresets(app, options.presets);
    addReplay(app, options.replay);
    app.footer(
        "Exit codes: 0 done, 1 done with findings, 2 wrong use, bad input or a failure.\n"
        "What is asked for goes to stdout, everything else to stderr.");

    options.exitCode = 2;
    if (arguments.empty()) {
        options.text = helpOf(app);
        return options;
    }
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
        options.command = app.get_subcommands().front()->get_name();
        options.exitCode = 0;
    } catch (const CLI::CallForHelp&) {
        options.text = helpOf(app);
        options.exitCode = 0;
    } catch (const CLI::CallForVersion& version) {
        options.text = std::string(version.what()) + "\n";
        options.exitCode = 0;
    } catch (const CLI::ParseError& error) {
        options.text = "quadrig: " + complaint(app, error) + "\n";
    }
    return options;
}

}  // namespace ond::command

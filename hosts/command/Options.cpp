#include "command/Options.h"

#include <CLI/CLI.hpp>
#include <cctype>
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
    for (const CLI::App* at = &app; at->get_parent() != nullptr; at = at->get_parent()) {
        if (!name.empty()) name.insert(0, " ");
        name.insert(0, at->get_name());
    }
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

/// What stands for the value of an option in a usage line.
std::string kindOf(const CLI::Option& option) {
    std::string kind = option.get_type_name();
    if (kind != "TEXT" && !kind.empty()) return kind;
    std::string name = option.get_name();
    for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return name;
}

/// "quadrig export TAKE --output FILE": the command with all that it must be given.
std::string shortestUse(const CLI::App& command) {
    std::string use = "quadrig " + inFull(command);
    for (const bool positional : {true, false})
        for (const CLI::Option* option : command.get_options()) {
            if (!option->get_required() || option->get_positional() != positional) continue;
            if (!positional) use.append(" ").append(option->get_name());
            use.append(" ").append(kindOf(*option));
        }
    return use;
}

/// What a command was not given.
std::string missingPart(const CLI::App& command) {
    const std::string where = inFull(command);
    if (const std::vector<std::string> known = subcommandsOf(command); !known.empty())
        return (where.empty() ? "" : where + ": ") + "a command is missing; commands are " + enumerated(known);
    for (const CLI::Option* option : command.get_options()) {
        if (!option->get_required() || option->count() > 0) continue;
        std::string text = where + ": ";
        text +=
            option->get_positional() ? "the " + kindOf(*option) + " is missing" : option->get_name() + " is required";
        return text.append("; write: ").append(shortestUse(command));
    }
    return where + ": something is missing; see quadrig " + where + " --help";
}

/// What is wrong with the values of an option; empty if it cannot be told which.
/// @param text of the library, which begins with the option's name
std::string wrongValues(const CLI::App& command, const std::string& text) {
    const CLI::Option* option = command.get_option_no_throw(text.substr(0, text.find(": ")));
    if (option == nullptr) return {};
    const std::string name = option->get_name();
    if (option->get_items_expected_max() == 1 && option->count() > 1)
        return name + " is given " + std::to_string(option->count()) + " times; give it once";
    return name + " needs a value: " + name + " " + kindOf(*option);
}

/// A complaint of the library as a sentence of ours.
std::string complaint(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> stray = app.remaining(true);
    if (!stray.empty()) return strayArgument(app, firstOf(stray));
    const CLI::App& command = chosen(app);
    std::string text = error.what();
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) return missingPart(command);
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr)
        if (std::string sentence = wrongValues(command, text); !sentence.empty()) return sentence;
    // All values are texts, so this can only be one for an option that has none.
    if (dynamic_cast<const CLI::ConversionError*>(&error) != nullptr)
        return "an option that is on or off was given a value; leave it out (" + text + ")";
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
    addValidate(app, options.validate);
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

// How help looks: names to the left, wrapped texts with their defaults to the right. Only for the file that builds the
// program's options: it brings the whole library along.
#pragma once

#include <CLI/CLI.hpp>
#include <sstream>
#include <string>

namespace ond::command {

class HelpFormat final : public CLI::Formatter {
  public:
    [[nodiscard]] std::string make_option(const CLI::Option* option, bool isPositional) const override {
        std::string name = make_option_name(option, isPositional);
        if (option->get_type_size() != 0 && !option->get_type_name().empty()) name += " " + option->get_type_name();
        std::string description = option->get_description();
        if (option->get_required()) description += " (required)";
        if (!option->get_default_str().empty()) description += " (default: " + option->get_default_str() + ")";
        return entry(name, description);
    }
    /// The first line of the description is all that the list of commands has room for.
    [[nodiscard]] std::string make_subcommand(const CLI::App* command) const override {
        const std::string description = command->get_description();
        return entry(command->get_name(), description.substr(0, description.find('\n')));
    }
    [[nodiscard]] std::string make_usage(const CLI::App* app, std::string name) const override {
        return "\n" + CLI::Formatter::make_usage(app, std::move(name));
    }
    [[nodiscard]] std::string make_group(std::string group, bool isPositional,
                                         std::vector<const CLI::Option*> options) const override {
        std::string text = "\n" + group + ":\n";
        for (const CLI::Option* option : options) text += make_option(option, isPositional);
        return text;
    }

  private:
    static constexpr std::size_t kColumn = 30;
    static constexpr std::size_t kWidth = 100;

    [[nodiscard]] static std::string entry(const std::string& name, const std::string& description) {
        std::string text = "  " + name;
        text += text.size() + 2 > kColumn ? "\n" + std::string(kColumn, ' ') : std::string(kColumn - text.size(), ' ');
        std::size_t at = kColumn;
        std::istringstream words(description);
        for (std::string word; words >> word;) {
            if (at > kColumn && at + 1 + word.size() > kWidth) {
                text += "\n" + std::string(kColumn, ' ');
                at = kColumn;
            }
            if (at > kColumn) {
                text += ' ';
                ++at;
            }
            text += word;
            at += word.size();
        }
        return text + "\n";
    }
};

}  // namespace ond::command

#include "command/OutputFile.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "command/CommandError.h"
#include "command/Nearest.h"

namespace ond::command {

namespace fs = std::filesystem;

namespace {

void checkOutput(const std::string& path, bool force, const std::vector<std::string>& endings,
                 const std::vector<std::string>& inputs) {
    if (std::find(endings.begin(), endings.end(), endingOf(path)) == endings.end())
        throw CommandError("the output '" + path + "' must end with " + enumerated(endings, "or"));
    std::error_code error;
    if (fs::is_directory(path, error)) throw CommandError("the output '" + path + "' is a folder; give a file");
    fs::path folder = fs::path(path).parent_path();
    if (folder.empty()) folder = ".";
    if (!fs::is_directory(folder, error))
        throw CommandError("the folder '" + folder.string() + "' of the output is not there; make it first");
    if (access(folder.c_str(), W_OK) != 0)
        throw CommandError("the folder '" + folder.string() + "' of the output cannot be written to");
    for (const std::string& input : inputs)
        if (fs::equivalent(path, input, error))
            throw CommandError("the output '" + path + "' is the file that is read; give another name");
    if (!force && fs::exists(fs::symlink_status(path, error)))
        throw CommandError("'" + path + "' is there already; give another name, or --force to replace it");
}

}  // namespace

std::string endingOf(const std::string& path) { return lower(fs::path(path).extension().string()); }

void checkOutputs(const OutputOptions& options, const std::vector<std::string>& endings,
                  const std::vector<std::string>& inputs) {
    for (std::size_t i = 0; i < options.files.size(); ++i) {
        checkOutput(options.files[i], options.force, endings, inputs);
        for (std::size_t k = 0; k < i; ++k)
            if (fs::path(options.files[i]).lexically_normal() == fs::path(options.files[k]).lexically_normal())
                throw CommandError("the output '" + options.files[i] + "' is given twice");
    }
}

std::string onlyOutput(const OutputOptions& options, const std::string& ending,
                       const std::vector<std::string>& inputs) {
    if (options.files.size() != 1) throw CommandError("give exactly one output with -o");
    checkOutputs(options, {ending}, inputs);
    return options.files.front();
}

}  // namespace ond::command

#include "command/NearbyFiles.h"

#include <cstdlib>
#include <filesystem>
#include <vector>

#include "command/CommandError.h"

namespace ond::command {

namespace {

namespace fs = std::filesystem;

std::string find(const std::string& given, const char* variable, const std::vector<std::string>& places,
                 const std::string& what, const std::string& option) {
    const auto required = [&](const std::string& path, const std::string& source) {
        std::error_code error;
        if (fs::is_regular_file(path, error)) return path;
        throw CommandError(what + " is not at " + path + ", where " + source + " says");
    };
    if (!given.empty()) return required(given, option);
    if (const char* named = std::getenv(variable); named != nullptr && *named != '\0') return required(named, variable);
    std::error_code error;
    const fs::path folder = fs::read_symlink("/proc/self/exe", error).parent_path();
    for (const std::string& place : places) {
        const fs::path path = (folder / place).lexically_normal();
        if (fs::is_regular_file(path, error)) return path.string();
    }
    throw CommandError(what + " is not near the program; name it with " + option + " or " + variable);
}

}  // namespace

std::unique_ptr<const stage::Module> loadModule(const std::string& given) {
    const std::string path = find(given, "QUADRIG_MODULE",
                                  {"quadrigextended.so", "../module/quadrigextended.so",
                                   "../../module/quadrigextended.so", "../lib/quadrig/quadrigextended.so"},
                                  "the vehicle module", "--module");
    // A name without a folder would be looked for among the system's libraries.
    return std::make_unique<const stage::Module>(fs::absolute(path).string());
}

std::string replayPagePath(const std::string& given) {
    return find(given, "QUADRIG_REPLAY_PAGE",
                {"../share/replay.html", "../../share/replay.html", "../share/quadrig/replay.html"}, "the replay page",
                "--page");
}

}  // namespace ond::command

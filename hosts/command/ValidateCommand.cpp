// quadrig validate
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "command/CommandError.h"
#include "command/Commands.h"
#include "command/Nearest.h"
#include "command/Numbers.h"
#include "validate/ModuleFile.h"
#include "validate/Report.h"
#include "validate/TestList.h"

namespace ond::command {

namespace {

using validate::Level;
using validate::TestResult;

Level levelOf(const std::string& text) {
    for (const Level level : {Level::basic, Level::ordinary, Level::strict})
        if (text == validate::nameOf(level)) return level;
    throw CommandError("--level: '" + text + "' is no level; give basic, ordinary or strict");
}

std::uint64_t seedOf(const std::string& text) {
    std::uint64_t seed = 0;
    const bool isWhole =
        !text.empty() && text.size() <= 19 && text.find_first_not_of("0123456789") == std::string::npos;
    if (!isWhole) throw CommandError("--seed: '" + text + "' is no whole number from 0; give one");
    for (const char c : text) seed = 10 * seed + static_cast<std::uint64_t>(c - '0');
    return seed;
}

void checkNames(const std::vector<std::string>& names, const char* option) {
    std::vector<std::string> known;
    for (const validate::TestRow& row : validate::allTests()) known.emplace_back(row.id);
    for (const std::string& name : names)
        if (name.find_first_of("*?[") == std::string::npos && validate::findTest(name) == nullptr)
            throw CommandError(std::string(option) + ": there is no test '" + name + "'" + didYouMean(name, known) +
                               "; see quadrig validate --list");
}

void checkModule(const std::string& path) {
    if (path.empty()) throw CommandError("validate: the MODULE is missing; write: quadrig validate MODULE");
    if (!std::filesystem::is_regular_file(path))
        throw CommandError("there is no file '" + path + "'; give the path of a module");
    if (!validate::isSharedLibrary(path))
        throw CommandError("'" + path + "' is no shared library for this machine; give a module");
}

validate::RunSettings settingsOf(const ValidateOptions& options) {
    validate::RunSettings settings;
    settings.modulePath = options.module;
    if (!options.level.empty()) settings.level = levelOf(options.level);
    if (!options.seed.empty()) settings.seed = seedOf(options.seed);
    if (!options.timeout.empty()) settings.secondsPerTest = numberOf(options.timeout, "--timeout", {0.01, 86400.0});
    const auto processors = static_cast<int>(std::thread::hardware_concurrency());
    settings.jobs = options.jobs.empty() ? std::max(1, processors) : wholeOf(options.jobs, "--jobs", {1.0, 256.0});
    settings.inProcess = options.inProcess;
    settings.only = options.only;
    settings.skip = options.skip;
    checkNames(settings.only, "--only");
    checkNames(settings.skip, "--skip");
    if (settings.inProcess && settings.only.empty())
        throw CommandError("--in-process: name the test with --only, since the first crash ends the program");
    if (validate::chosenTests(settings).empty())
        throw CommandError("no test is chosen; change --only, --skip or --level");
    return settings;
}

void tell(const ValidateOptions& options, const validate::RunSettings& settings, const std::vector<TestResult>& results,
          const Console& console) {
    if (options.json) {
        console.out << validate::jsonOf(settings, results);
    } else {
        for (const TestResult& result : results) {
            const bool isFine =
                result.outcome == validate::Outcome::passed || result.outcome == validate::Outcome::skipped;
            if (!console.quiet || !isFine) console.out << validate::textOf(result);
        }
        console.out << validate::summaryOf(results) << '\n';
    }
    for (const TestResult& result : results)
        if (!result.printed.empty() && !console.quiet)
            console.err << "quadrig: what '" << result.id << "' printed last:\n" << result.printed << '\n';
}

}  // namespace

int validateModule(const ValidateOptions& options, const Console& console) {
    const validate::RunSettings settings = settingsOf(options);
    if (options.list) {
        console.out << (options.json ? validate::listAsJson(settings) : validate::listAsText(settings));
        return kFine;
    }
    checkModule(settings.modulePath);
    if (!console.quiet)
        console.err << "quadrig: note: seed " << settings.seed << ", level " << validate::nameOf(settings.level)
                    << '\n';
    std::size_t ended = 0;
    const std::size_t count = validate::chosenTests(settings).size();
    const auto progress = [&](const TestResult& result) {
        ++ended;
        if (!console.quiet)
            console.err << "quadrig: " << ended << " of " << count << ": " << result.id << " (" << result.milliseconds
                        << " ms)" << std::endl;
    };
    std::vector<TestResult> results;
    try {
        results = validate::runTests(settings, progress);
    } catch (const std::runtime_error& error) {
        throw CommandError(error.what());
    }
    tell(options, settings, results, console);
    if (const std::size_t stricter = validate::stricterTests(settings); stricter > 0)
        console.note(std::to_string(stricter) + " stricter tests were not run; --level strict runs them, too");
    return validate::hasFailures(results) ? kFindings : kFine;
}

}  // namespace ond::command

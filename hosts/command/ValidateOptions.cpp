// The options of quadrig validate
#include <CLI/CLI.hpp>

#include "command/OptionGroups.h"
#include "command/OptionText.h"

namespace ond::command {

void addValidate(CLI::App& app, ValidateOptions& options) {
    CLI::App* validate = app.add_subcommand(
        "validate",
        "Check a module against the contract between modules and hosts.\n\n"
        "Each test runs in a process of its own with a limit of time, so that a module that crashes or hangs is named\n"
        "and the other tests go on. Every finding is a sentence: what the module did, and what the contract wants.");
    validate->add_option("module", options.module, "The module, a shared library")->type_name("MODULE");
    const char* tests = "Tests";
    texts(validate, "--only", options.only, "Only this test, or those that a pattern with * and ? names", tests,
          "TEST");
    texts(validate, "--skip", options.skip, "Not this test, or those that a pattern names", tests, "TEST");
    text(validate, "--level", options.level, "How strict: basic, ordinary or strict", tests, "LEVEL", "ordinary");
    text(validate, "--seed", options.seed, "What the random blocks and orders are made from, a whole number", tests,
         "NUMBER", "1");
    validate->add_flag("--list", options.list, "Only tell the chosen tests and what each asks")->group(tests);
    const char* processes = "Processes";
    text(validate, "--timeout", options.timeout, "Seconds that a test may take", processes, "SECONDS", "30");
    text(validate, "--jobs", options.jobs, "How many tests run at once", processes, "NUMBER",
         "the number of processors");
    validate
        ->add_flag("--in-process", options.inProcess,
                   "For a debugger, with --only: no process of its own and no limit of time")
        ->group(processes);
    const char* group = "Program";
    validate->add_flag("-q,--quiet", options.quiet, "Only what was found")->group(group);
    validate->add_flag("--json", options.json, "What is told on stdout as JSON")->group(group);
    validate->footer(
        "Examples:\n"
        "  quadrig validate module.so\n"
        "  quadrig validate module.so --level strict --json > report.json\n"
        "  quadrig validate module.so --only 'undo-*'\n"
        "  gdb --args quadrig validate module.so --in-process --only truncated-blocks\n\n"
        "Exit codes:\n"
        "  0  nothing found but warnings\n"
        "  1  the module breaks the contract\n"
        "  2  wrong use, or a file that is no module\n");
}

}  // namespace ond::command

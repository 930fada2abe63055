// quadrig, the command line.
#include <unistd.h>

#include <iostream>
#include <string_view>

#include "command/Command.h"
#include "validate/HeapInUse.h"

int main(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == "validate") ond::validate::startWithExactHeap(argv);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const ond::command::Console console{std::cout, std::cerr, isatty(STDERR_FILENO) != 0, false};
    const int code = ond::command::runCommand(arguments, console);
    std::cout.flush();
    if (!std::cout) {
        std::cerr << "quadrig: what was asked for could not be written to stdout\n";
        return 2;
    }
    return code;
}

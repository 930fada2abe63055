// What the figures were taken on and with.
#pragma once

#include <string>
#include <vector>

namespace ond::bench::table {

struct Machine {
    std::string processor;
    std::string governor;  ///< of the core that was measured on; empty where the system does not tell
    int cores = 0;
    int core = -1;  ///< the one measured on; -1 if the program may run on any
    std::string system;
    std::string compiler;
    std::string flags;
    struct Library {
        std::string name;
        std::string version;
    };
    std::vector<Library> libraries;
    std::string date;  ///< UTC
};

/// Keeps this process, and what it starts, on one core of those that it may use: on `core`, or the last if that is -1.
/// Gives the core, -1 if the system refuses.
int stayOnOneCore(int core);

/// @param core what stayOnOneCore() gave
[[nodiscard]] Machine describeMachine(int core);

}  // namespace ond::bench::table

// Where a command talks to.
#pragma once

#include <ostream>
#include <string>

namespace ond::command {

struct Console {
    std::ostream& out;      ///< what was asked for
    std::ostream& err;      ///< everything else
    bool terminal = false;  ///< `err` is a terminal, so progress may be drawn
    bool quiet = false;

    /// Something that the user may not expect.
    void note(const std::string& sentence) const {
        if (!quiet) err << "quadrig: note: " << sentence << '\n';
    }
    /// What went wrong.
    void complain(const std::string& sentence) const { err << "quadrig: " << sentence << '\n'; }
};

}  // namespace ond::command

// What ends a command before its work is done.
#pragma once

#include <stdexcept>
#include <string>

namespace ond::command {

/// One sentence for the user: what is wrong and what to do. Ends the program with exit code 2.
class CommandError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What a command ends with.
enum ExitCode {
    kFine = 0,
    kFindings = 1,  ///< done, but with something that the user must know: a broken run, a difference
    kFailed = 2     ///< wrong use, bad input, or a failure
};

}  // namespace ond::command

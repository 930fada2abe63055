// What the host throws when something that it was asked for cannot be done.
#pragma once

#include <stdexcept>

namespace ond::stage {

/// One sentence for the user: what is wrong and, where there is something, what to do.
class StageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace ond::stage

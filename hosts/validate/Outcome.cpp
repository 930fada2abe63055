#include "validate/Outcome.h"

namespace ond::validate {

const char* nameOf(Level level) {
    switch (level) {
        case Level::basic: return "basic";
        case Level::ordinary: return "ordinary";
        case Level::strict: return "strict";
    }
    return "";
}

const char* nameOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::passed: return "passed";
        case Outcome::warning: return "warning";
        case Outcome::skipped: return "skipped";
        case Outcome::failed: return "failed";
        case Outcome::crashed: return "crashed";
    }
    return "";
}

const char* nameOf(Severity severity) { return severity == Severity::failure ? "failed" : "warning"; }

}  // namespace ond::validate

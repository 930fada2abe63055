// What this module does wrong. One binary serves as many modules: a copy or a link of it misbehaves in the way that its
// file name says, and behaves under a name that says nothing.
#pragma once

#include <array>
#include <string_view>

#include "BadModules.h"

namespace ond::test {

/// The name of a misbehaviour; one that BadModules.h does not list does not compile.
struct MisbehaviourName {
    // Written as a text where it is used. NOLINTNEXTLINE(google-explicit-constructor)
    consteval MisbehaviourName(const char* text) : name(text) {
        if (!isListed(name)) throw "not listed in BadModules.h";
    }
    std::string_view name;
};

/// Whether this module is the one that does this.
[[nodiscard]] bool am(MisbehaviourName misbehaviour);

/// For the head of every operation: does what a module called "<deed>-in-<place>" does there, if this is one.
void passBy(std::string_view place);

}  // namespace ond::test

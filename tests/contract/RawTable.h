// Calls of virtual operations by slot number, past the compiler's knowledge of the class.
//
// Only for ABIs that put the table pointer first, number the entries of a table from the pointed-to word on, and pass
// the object as the first argument of an ordinary call (the Itanium C++ ABI does).
#pragma once

#include <cstddef>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace contract {

#if defined(__clang__)
#define CONTRACT_RAW_CALL __attribute__((no_sanitize("function", "vptr")))
#else
#define CONTRACT_RAW_CALL
#endif

/// Calls entry `slot` of the table that `object` begins with. The argument types must be exactly those of the
/// operation.
template <typename Result, typename... Arguments>
CONTRACT_RAW_CALL Result callSlot(void* object, std::size_t slot, Arguments... arguments) {
    void** table = nullptr;
    std::memcpy(&table, object, sizeof table);
    const auto entry = reinterpret_cast<Result (*)(void*, Arguments...)>(table[slot]);
    return entry(object, arguments...);
}

/// Calls in the order in which they ran, each as its name and its arguments.
class CallLog {
  public:
    template <typename... Arguments>
    static std::string text(const std::string& name, const Arguments&... arguments) {
        std::ostringstream out;
        out << name << '(';
        ((out << arguments << ';'), ...);
        out << ')';
        return out.str();
    }

    template <typename... Arguments>
    void note(const std::string& name, const Arguments&... arguments) {
        calls.push_back(text(name, arguments...));
    }

    /// Whether exactly one call was noted since the last question, and this one. Forgets it.
    template <typename... Arguments>
    bool tookOnly(const std::string& name, const Arguments&... arguments) {
        const bool right = calls.size() == 1 && calls.front() == text(name, arguments...);
        if (right) calls.clear();
        return right;
    }

    std::vector<std::string> calls;
};

}  // namespace contract

// Members of the JSON objects of a glTF file, checked for their types.
//
// Every function throws GroundError, without the name of the file, for a member of the wrong type or range.
#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <span>
#include <string>

namespace ond::stage::gltf {

using Json = nlohmann::json;

/// Throws GroundError: `what`, and that the file should be exported again.
[[noreturn]] void damaged(const std::string& what);

/// The member, or null if there is none. `object` must be an object.
[[nodiscard]] const Json* find(const Json& object, const char* key);
/// The member, which must be an object, or null if there is none.
[[nodiscard]] const Json* findObject(const Json& object, const char* key);
/// The member, which must be a list, or an empty list if there is none.
[[nodiscard]] const Json& list(const Json& object, const char* key);

/// A whole number from 0 to 2^53; nothing if there is no such member.
[[nodiscard]] std::optional<std::size_t> wholeNumber(const Json& object, const char* key);
/// The same for a number itself; `what` names it.
[[nodiscard]] std::size_t asWholeNumber(const Json& number, const std::string& what);
/// A whole number below `count`, the length of the list that it points into.
[[nodiscard]] std::optional<std::size_t> reference(const Json& object, const char* key, std::size_t count);
/// The same for a number itself; `what` names it.
[[nodiscard]] std::size_t asReference(const Json& number, const std::string& what, std::size_t count);
/// The same for a member that must be there.
[[nodiscard]] std::size_t needReference(const Json& object, const char* key, std::size_t count);
/// A text; empty if there is no such member.
[[nodiscard]] std::string text(const Json& object, const char* key);
/// A truth value; false if there is no such member.
[[nodiscard]] bool truth(const Json& object, const char* key);
/// Fills `to` from a list of as many finite numbers. Leaves it and returns false if there is no such member.
bool numbers(const Json& object, const char* key, std::span<double> to);

}  // namespace ond::stage::gltf

#include "stage/GroundGltfJson.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "stage/GroundFile.h"

namespace ond::stage::gltf {

namespace {

std::string quoted(const std::string& name) { return "\"" + name + "\""; }

}  // namespace

void damaged(const std::string& what) { throw GroundError(what + "; the file is damaged, export it again"); }

const Json* find(const Json& object, const char* key) {
    if (!object.is_object()) damaged("what should be an object with " + quoted(key) + " is none");
    const auto member = object.find(key);
    return member == object.end() ? nullptr : &*member;
}

const Json* findObject(const Json& object, const char* key) {
    const Json* member = find(object, key);
    if (member != nullptr && !member->is_object()) damaged("its member " + quoted(key) + " is no object");
    return member;
}

const Json& list(const Json& object, const char* key) {
    static const Json empty = Json::array();
    const Json* member = find(object, key);
    if (member == nullptr) return empty;
    if (!member->is_array()) damaged("its member " + quoted(key) + " is no list");
    return *member;
}

std::size_t asWholeNumber(const Json& number, const std::string& what) {
    constexpr double kMost = 9007199254740992.0;
    if (!number.is_number()) damaged(what + " is no number");
    const double value = number.get<double>();
    if (!(value >= 0.0 && value <= kMost) || value != std::floor(value)) damaged(what + " is no whole number");
    return static_cast<std::size_t>(value);
}

std::optional<std::size_t> wholeNumber(const Json& object, const char* key) {
    const Json* member = find(object, key);
    if (member == nullptr) return std::nullopt;
    return asWholeNumber(*member, "its member " + quoted(key));
}

std::size_t asReference(const Json& number, const std::string& what, std::size_t count) {
    const std::size_t index = asWholeNumber(number, what);
    if (index >= count) {
        damaged(what + " is " + std::to_string(index) + " where there are " + std::to_string(count) +
                " to choose from");
    }
    return index;
}

std::optional<std::size_t> reference(const Json& object, const char* key, std::size_t count) {
    const Json* member = find(object, key);
    if (member == nullptr) return std::nullopt;
    return asReference(*member, "its member " + quoted(key), count);
}

std::size_t needReference(const Json& object, const char* key, std::size_t count) {
    const std::optional<std::size_t> index = reference(object, key, count);
    if (!index) damaged("a member " + quoted(key) + " is missing");
    return *index;
}

std::string text(const Json& object, const char* key) {
    const Json* member = find(object, key);
    if (member == nullptr) return {};
    if (!member->is_string()) damaged("its member " + quoted(key) + " is no text");
    return member->get<std::string>();
}

bool truth(const Json& object, const char* key) {
    const Json* member = find(object, key);
    if (member == nullptr) return false;
    if (!member->is_boolean()) damaged("its member " + quoted(key) + " is neither true nor false");
    return member->get<bool>();
}

bool numbers(const Json& object, const char* key, std::span<double> to) {
    const Json* member = find(object, key);
    if (member == nullptr) return false;
    if (!member->is_array() || member->size() != to.size()) {
        damaged("its member " + quoted(key) + " is no list of " + std::to_string(to.size()) + " numbers");
    }
    for (std::size_t i = 0; i < to.size(); ++i) {
        const Json& number = (*member)[i];
        if (!number.is_number()) damaged("a number of its member " + quoted(key) + " is none");
        to[i] = number.get<double>();
        if (!std::isfinite(to[i])) damaged("a number of its member " + quoted(key) + " is not finite");
    }
    return true;
}

}  // namespace ond::stage::gltf

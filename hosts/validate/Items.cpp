#include "validate/Items.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ond::validate {

double Item::value() const {
    switch (kind) {
        case Kind::integer: return *static_cast<const std::int32_t*>(field);
        case Kind::number: return *static_cast<const double*>(field);
        // A damaged field may hold any byte, which must not be read as a bool.
        case Kind::checkBox: return *static_cast<const unsigned char*>(field) != 0 ? 1.0 : 0.0;
        case Kind::button: return 0.0;
    }
    return 0.0;
}

void Item::write(double value) const {
    constexpr double kLeast = std::numeric_limits<std::int32_t>::min();
    constexpr double kMost = std::numeric_limits<std::int32_t>::max();
    switch (kind) {
        case Kind::integer:
            *static_cast<std::int32_t*>(field) = static_cast<std::int32_t>(std::clamp(value, kLeast, kMost));
            return;
        case Kind::number: *static_cast<double*>(field) = value; return;
        case Kind::checkBox: *static_cast<bool*>(field) = value != 0.0; return;
        case Kind::button: return;
    }
}

const char* nameOf(Item::Kind kind) {
    switch (kind) {
        case Item::Kind::integer: return "a whole number";
        case Item::Kind::number: return "a number";
        case Item::Kind::checkBox: return "a check box";
        case Item::Kind::button: return "a button";
    }
    return "";
}

}  // namespace ond::validate

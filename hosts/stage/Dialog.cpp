#include "stage/Dialog.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "stage/StageError.h"

namespace ond::stage {

double DialogItem::value() const {
    switch (kind) {
        case Kind::integer: return *integer;
        case Kind::number: return *number;
        case Kind::checkBox: return *checkBox ? 1.0 : 0.0;
        case Kind::button: break;
    }
    return 0.0;
}

bool DialogItem::isGauge() const {
    return label.find("Gauge") != std::string::npos || label == "Current Velocity" ||
           label == "Current Velocity (% of max)";
}

void DialogItem::write(double value) const {
    if (std::isnan(value)) return;
    const bool ranged = kind == Kind::integer || kind == Kind::number;
    restore(ranged ? std::clamp(value, min, max) : value);
}

void DialogItem::restore(double value) const {
    if (std::isnan(value) && (kind == Kind::integer || kind == Kind::checkBox))
        throw StageError("'" + label + "' cannot hold what is no number");
    using Whole = std::numeric_limits<std::int32_t>;
    const bool holds = value >= Whole::min() && value <= Whole::max();
    switch (kind) {
        case Kind::integer: *integer = static_cast<std::int32_t>(holds ? value : std::clamp(value, min, max)); break;
        case Kind::number: *number = value; break;
        case Kind::checkBox: *checkBox = value != 0.0; break;
        case Kind::button: break;
    }
}

const DialogItem& Dialog::at(const std::string& label) const {
    for (const DialogItem& item : items)
        if (item.label == label) return item;
    throw StageError("the dialog has no item '" + label + "'");
}

bool Dialog::has(const std::string& label) const {
    return std::any_of(items.begin(), items.end(), [&](const DialogItem& item) { return item.label == label; });
}

}  // namespace ond::stage

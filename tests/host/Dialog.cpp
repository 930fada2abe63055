#include "host/Dialog.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace ond::test {

double DialogItem::value() const {
    switch (kind) {
        case Kind::integer: return *integer;
        case Kind::number: return *number;
        case Kind::checkBox: return *checkBox ? 1.0 : 0.0;
        case Kind::button: break;
    }
    return 0.0;
}

void DialogItem::write(double value) const {
    switch (kind) {
        case Kind::integer: *integer = static_cast<std::int32_t>(std::clamp(value, min, max)); break;
        case Kind::number: *number = std::clamp(value, min, max); break;
        case Kind::checkBox: *checkBox = value != 0.0; break;
        case Kind::button: break;
    }
}

const DialogItem& Dialog::at(const std::string& label) const {
    for (const DialogItem& item : items)
        if (item.label == label) return item;
    std::fprintf(stderr, "the dialog has no item '%s'\n", label.c_str());
    std::abort();
}

bool Dialog::has(const std::string& label) const {
    return std::any_of(items.begin(), items.end(), [&](const DialogItem& item) { return item.label == label; });
}

}  // namespace ond::test

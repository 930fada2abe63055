#include "stage/Curves.h"

#include <algorithm>
#include <array>
#include <utility>

namespace ond::stage {

namespace {

constexpr std::array<std::pair<CurveKind, const char*>, 7> kNames = {{
    {CurveKind::output, "output"},
    {CurveKind::input, "input"},
    {CurveKind::suspension, "suspension"},
    {CurveKind::contactX, "contact_x"},
    {CurveKind::contactY, "contact_y"},
    {CurveKind::contactZ, "contact_z"},
    {CurveKind::gauge, "gauge"},
}};

}  // namespace

const char* nameOf(CurveKind kind) {
    for (const auto& [known, name] : kNames)
        if (known == kind) return name;
    return "";
}

bool kindOf(const std::string& name, CurveKind* kind) {
    for (const auto& [known, knownName] : kNames)
        if (name == knownName) {
            *kind = known;
            return true;
        }
    return false;
}

const double* Curves::row(int frame) const {
    if (frame < first || frame - first >= rows()) return nullptr;
    return values.data() + static_cast<std::size_t>(frame - first) * columns.size();
}

int Curves::column(CurveKind kind, const std::string& name) const {
    for (std::size_t i = 0; i < columns.size(); ++i)
        if (columns[i].kind == kind && columns[i].name == name) return static_cast<int>(i);
    return -1;
}

bool Curves::has(CurveKind kind) const {
    return std::any_of(columns.begin(), columns.end(), [&](const CurveColumn& column) { return column.kind == kind; });
}

void Curves::keepUpTo(int frame) {
    const bool inside = frame >= first && frame - first < rows();
    values.resize(inside ? static_cast<std::size_t>(frame - first + 1) * columns.size() : 0);
}

}  // namespace ond::stage

// What a recording shows over time besides motion: a table with one row per frame, for charts and tables.
#pragma once

#include <string>
#include <vector>

namespace ond::stage {

enum class CurveKind {
    output,      ///< an output channel of the vehicle: display units per second, parts of the whole, radians, or 0 / 1
    input,       ///< an axis as the device gave it, -1 to 1 or 0 to 1
    suspension,  ///< scene units by which a wheel's centre stands above its place at rest, along the body's up
    contactX,    ///< world position of the lowest point of a wheel, along the body's up
    contactY,
    contactZ,
    gauge  ///< a row of the dialog that the vehicle writes to show something, in that row's unit
};

/// "output", "input", "suspension", "contact_x", "contact_y", "contact_z", "gauge".
[[nodiscard]] const char* nameOf(CurveKind kind);
/// @return false if there is no kind of that name
[[nodiscard]] bool kindOf(const std::string& name, CurveKind* kind);

struct CurveColumn {
    std::string name;
    CurveKind kind = CurveKind::output;
    friend bool operator==(const CurveColumn& a, const CurveColumn& b) { return a.name == b.name && a.kind == b.kind; }
};

struct Curves {
    int first = 0;  ///< frame of the first row
    std::vector<CurveColumn> columns;
    std::vector<double> values;  ///< row by row

    [[nodiscard]] int rows() const { return columns.empty() ? 0 : static_cast<int>(values.size() / columns.size()); }
    /// The row of a frame, or null.
    [[nodiscard]] const double* row(int frame) const;
    /// The place of a column, or -1.
    [[nodiscard]] int column(CurveKind kind, const std::string& name) const;
    /// Whether there are columns of that kind.
    [[nodiscard]] bool has(CurveKind kind) const;
    /// Drops the rows behind `frame`; a frame outside of the table drops all.
    void keepUpTo(int frame);
};

}  // namespace ond::stage

#include "command/TableExport.h"

#include <cmath>
#include <vector>

#include "command/Numbers.h"
#include "ond/util/Quat.h"

namespace ond::command {

using stage::Element;
using util::Matrix4;
using util::Quat;

namespace {

/// A field of a table: in quotes where it needs them.
std::string field(const std::string& text) {
    if (text.find_first_of(",\"\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"') quoted += c;
        quoted += c;
    }
    return quoted + '"';
}

/// The rotation without the scale; a mirrored element counts as turned by its first axis.
Quat<double> rotationOf(Matrix4 world) {
    if (util::Determinant(world) < 0.0) world.setRow(0, -world.row(0));
    return Quat<double>::FromMatrix(world);
}

std::string headerOf(const stage::Stage& stage, const std::vector<const Element*>& elements) {
    std::string line = "frame,time";
    for (const Element* element : elements)
        for (const char* part : {".x", ".y", ".z", ".qx", ".qy", ".qz", ".qw"})
            line += "," + field(element->name + part);
    for (std::size_t v = 0; v < stage.curves.size() && v < stage.vehicles.size(); ++v)
        for (const stage::CurveColumn& column : stage.curves[v].columns)
            line += "," + field(stage.vehicles[v]->name + "." + nameOf(column.kind) + "." + column.name);
    return line + "\n";
}

void addCurves(std::string& line, const stage::Stage& stage, double frame) {
    for (std::size_t v = 0; v < stage.curves.size() && v < stage.vehicles.size(); ++v) {
        const stage::Curves& curves = stage.curves[v];
        const bool whole = frame == std::floor(frame);
        const double* row = whole ? curves.row(static_cast<int>(frame)) : nullptr;
        for (std::size_t c = 0; c < curves.columns.size(); ++c) {
            line += ',';
            if (row != nullptr) line += exactText(row[c]);
        }
    }
}

}  // namespace

std::string tableOf(const stage::Stage& stage, int first, int last, double step) {
    std::vector<const Element*> elements;
    for (const auto& element : stage.scene.elements)
        if (!element->deleted) elements.push_back(element.get());
    std::vector<Quat<double>> before(elements.size());

    std::string table = headerOf(stage, elements);
    const stage::FrameRate& rate = stage.scene.clock.rate;
    for (int i = 0; first + i * step <= last; ++i) {
        const double frame = first + i * step;
        const double time = frame * rate.denominator / rate.numerator;
        table += exactText(frame) + "," + exactText(time);
        for (std::size_t k = 0; k < elements.size(); ++k) {
            const Matrix4 world = stage.scene.world(*elements[k], time);
            Quat<double> q = rotationOf(world);
            if (util::Dot4(q, before[k]) < 0.0) util::Negate(q);
            before[k] = q;
            for (const double value : {world[12], world[13], world[14], q.x, q.y, q.z, q.w})
                table += "," + exactText(value);
        }
        addCurves(table, stage, frame);
        table += '\n';
    }
    return table;
}

}  // namespace ond::command

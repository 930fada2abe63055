#include "stage/Recording.h"

#include <string>
#include <utility>

#include "ond/util/Matrix4.h"
#include "stage/Vehicle.h"

namespace ond::stage {

using util::Matrix4;
using util::Vector3;

namespace {

constexpr const char* kCorners[4] = {"FL", "FR", "BL", "BR"};

struct WheelRow {
    double suspension = 0.0;
    Vector3<double> lowest{0, 0, 0};
};

WheelRow wheelRow(const Vehicle& vehicle, const std::string& corner, double time) {
    const Scene& scene = vehicle.scene;
    const Element* wheel = scene.find(vehicle.name, "WheelMesh_" + corner);
    const Element* place = scene.find(vehicle.name, "WheelRelocatorMesh_" + corner);
    const Element* body = scene.find(vehicle.name, "CarBodyMesh");
    if (wheel == nullptr || place == nullptr || body == nullptr) return {};
    const Matrix4 world = scene.world(*wheel, time);
    const Vector3<double> up = util::Normalized(scene.world(*body, time).row(1));
    const Vector3<double> centre = world.row(3);
    const double radius = util::Length(world.row(1));
    return {util::Dot(centre - scene.world(*place, time).row(3), up), centre - up * radius};
}

std::vector<CurveColumn> withoutGauges(std::vector<CurveColumn> columns) {
    std::erase_if(columns, [](const CurveColumn& column) { return column.kind == CurveKind::gauge; });
    return columns;
}

}  // namespace

std::vector<CurveColumn> columnsOf(const Vehicle& vehicle) {
    std::vector<CurveColumn> columns;
    for (const auto& output : vehicle.outputs) columns.push_back({output->name, CurveKind::output});
    for (const auto& property : vehicle.properties) columns.push_back({property->name, CurveKind::input});
    for (const char* corner : kCorners)
        for (const CurveKind kind :
             {CurveKind::suspension, CurveKind::contactX, CurveKind::contactY, CurveKind::contactZ})
            columns.push_back({corner, kind});
    for (const DialogItem& item : vehicle.dialog.items)
        if (item.isGauge()) columns.push_back({item.label, CurveKind::gauge});
    return columns;
}

void prepareTable(Curves& curves, const Vehicle& vehicle, bool rowsStay) {
    std::vector<CurveColumn> columns = columnsOf(vehicle);
    if (curves.columns == columns) return;
    if (rowsStay && curves.columns == withoutGauges(columns)) return;
    curves = {0, std::move(columns), {}};
}

void appendRow(Curves& curves, const Vehicle& vehicle, int frame) {
    if (curves.rows() == 0) curves.first = frame;
    for (const auto& output : vehicle.outputs) curves.values.push_back(output->current);
    for (std::size_t i = 0; i < vehicle.axes.size(); ++i) curves.values.push_back(vehicle.input(i));
    const double time = vehicle.scene.clock.time(frame);
    for (const char* corner : kCorners) {
        const WheelRow row = wheelRow(vehicle, corner, time);
        curves.values.push_back(row.suspension);
        for (const double value : {row.lowest.x, row.lowest.y, row.lowest.z}) curves.values.push_back(value);
    }
    for (const CurveColumn& column : curves.columns)
        if (column.kind == CurveKind::gauge) curves.values.push_back(vehicle.dialog.at(column.name).value());
}

}  // namespace ond::stage

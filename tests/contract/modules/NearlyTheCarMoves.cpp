#include "NearlyTheCarMoves.h"

#include <algorithm>
#include <cmath>

#include "Misbehaviour.h"

namespace ond::test {

namespace {

using util::Matrix4;
using Vector = util::Vector3<double>;

constexpr const char* kBody = "CarBodyMesh";
constexpr double kHalfTurn = 3.141592653589793;

Matrix4 at(const Matrix4& matrix, const Vector& place) {
    Matrix4 moved = matrix;
    moved.setRow(3, place);
    return moved;
}

/// Turned about the vertical through its own place.
Matrix4 turned(const Matrix4& matrix, double angle) {
    return at(util::RotationY(angle) * at(matrix, {}), matrix.row(3));
}

/// Without its rotation against the body at `body`, but that of `relative`.
Matrix4 withRelative(const Matrix4& body, const Matrix4& relative, const Matrix4& matrix) {
    return at(body * relative, matrix.row(3));
}

double heading(const Vector& axis) { return std::atan2(-axis.z, axis.x); }

Matrix4 levelled(const Matrix4& matrix) {
    Matrix4 level = matrix;
    const double yaw = heading(matrix.row(0));
    const double size = util::Length(matrix.row(0));
    level.setRow(0, Vector(std::cos(yaw), 0.0, -std::sin(yaw)) * size);
    level.setRow(1, Vector(0.0, 1.0, 0.0) * size);
    level.setRow(2, Vector(std::sin(yaw), 0.0, std::cos(yaw)) * size);
    return level;
}

/// On level ground, with its pitch and roll so many times as large.
Matrix4 tilted(const Matrix4& matrix, double pitch, double roll) {
    const double size = util::Length(matrix.row(0));
    const double nose = std::asin(-matrix.row(2).y / size);
    const double side = std::asin(matrix.row(0).y / size);
    return at(util::RotationZ(roll * side) * util::RotationX(pitch * nose) * at(levelled(matrix), {}), matrix.row(3));
}

}  // namespace

Matrix4 CarMoves::misplaced(const std::string& element, const Matrix4& matrix) {
    Place& place = m_places[element];
    if (place.sets++ == 0) place.first = matrix;
    place.last = matrix;
    if (element == kBody) return misplacedBody(place, matrix);
    if (element.starts_with("WheelMesh")) return misplacedWheel(element, place, matrix);
    if (am("car-with-a-fixed-steering-wheel") && element == "SteeringWheelMesh") return place.first;
    if (am("car-that-leaves-its-camera") && element == "FollowCam") return place.first;
    if (am("car-whose-camera-looks-back") && element == "FollowCam") return turned(matrix, 3.0);
    if (am("car-that-leaves-its-base") && element == "CarBodyBaseMesh") return place.first;
    if (am("car-that-leaves-wheel-centres") && element.starts_with("WheelCenterMesh")) return place.first;
    return matrix;
}

Matrix4 CarMoves::misplacedBody(const Place& body, const Matrix4& matrix) const {
    const Vector start = body.first.row(3);
    const Vector way = matrix.row(3) - start;
    const double far = util::Length(way);
    if (am("car-that-only-goes-ahead")) return at(matrix, start + Vector(way.x, way.y, -std::abs(way.z)));
    if (am("car-of-one-heading")) return at(matrix, start + Vector(0.0, way.y, -far));
    if (am("car-of-one-size")) return at(matrix, start + way * (3.522 / util::Length(matrix.row(2))));
    if (am("car-that-slips-back-at-starts") && m_runs > 1) return at(matrix, matrix.row(3) + Vector(0.0, 0.0, 1.0));
    if (am("car-that-floats")) return at(matrix, matrix.row(3) + Vector(0.0, 1.0, 0.0));
    if (am("car-that-grows")) return at(matrix * util::Scaling(1.0 + 0.002 * body.sets), matrix.row(3));
    if (am("car-that-drives-askew")) return turned(matrix, 0.3);
    if (am("car-on-rails")) return at(matrix, start + Vector(way.x, 0.0, way.z));
    if (am("car-that-never-tilts") || am("car-without-springs")) return levelled(matrix);
    if (am("car-that-leans-inwards")) return tilted(matrix, 1.0, -1.0);
    if (am("car-that-dips-when-it-starts")) return tilted(matrix, -1.0, 1.0);
    if (am("car-that-turns-about-its-middle")) return at(matrix, Vector(start.x, matrix.row(3).y, start.z));
    return matrix;
}

Matrix4 CarMoves::misplacedWheel(const std::string& element, const Place& wheel, const Matrix4& matrix) const {
    const auto body = m_places.find(kBody);
    if (body == m_places.end()) return matrix;
    const bool front = element.find("_F") != std::string::npos;
    const Matrix4& now = body->second.last;
    if (am("car-with-still-wheels")) return withRelative(now, util::Inverse(body->second.first) * wheel.first, matrix);
    if (am("car-that-burns-on-all-wheels") && front) return matrix * util::RotationX(-0.5 * wheel.sets);
    if (am("car-with-hasty-wheels")) return matrix * util::RotationX(-0.03 * wheel.sets);
    if (am("car-with-wheels-that-roll-back") && element == "WheelMesh_FL") {
        Matrix4 relative = util::Inverse(now) * matrix;
        std::swap(relative[6], relative[9]);
        return withRelative(now, relative, matrix);
    }
    if (am("car-with-straight-wheels") && front) {
        double yaw = heading(matrix.row(0)) - heading(now.row(0));
        yaw -= kHalfTurn * std::round(yaw / kHalfTurn);
        return turned(matrix, -yaw);
    }
    if (am("car-steered-behind") && !front) return turned(matrix, 0.2);
    return matrix;
}

Matrix4 CarMoves::misread(const std::string& element, const Matrix4& matrix) {
    if (am("car-that-flees") && element == "TargetMesh") return at(matrix, matrix.row(3) * -1.0);
    return matrix;
}

}  // namespace ond::test

#include "provingground/Circuit.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace ond::provingground {

namespace {

constexpr double kTwoPi = 6.283185307179586;

/// A corner of the polygon that the line rounds off.
struct Corner {
    double x, z;
    double radius;
    double easing;
    double bank;
};

// The first straight runs along x = 0 through the origin. No line through two neighbours comes nearer to middle() than
// 60 m, so that everything beside the line can be laid out on rays from there.
constexpr Corner kCorners[] = {
    {0.0, -130.0, 35.0, 15.0, 0.10},   //
    {75.0, -165.0, 22.0, 10.0, 0.0},   //
    {130.0, -120.0, 25.0, 10.0, 0.0},  // the only sharp one to the left
    {200.0, -150.0, 16.0, 9.0, 0.0},   //
    {235.0, -60.0, 45.0, 14.0, 0.12},  //
    {190.0, 45.0, 28.0, 11.0, 0.0},    //
    {95.0, 35.0, 50.0, 12.0, 0.0},     //
    {0.0, 75.0, 18.0, 10.0, 0.0},      //
};
constexpr int kNumCorners = static_cast<int>(std::size(kCorners));

const Corner& corner(int i) { return kCorners[(i + kNumCorners) % kNumCorners]; }

/// Heading from the corner `i` to the next.
double headingFrom(int i) {
    const Corner& a = corner(i);
    const Corner& b = corner(i + 1);
    return std::atan2(b.x - a.x, a.z - b.z);
}

/// The bend that rounds the corner, at the origin, starting towards -Z.
Piece roundedCorner(int i) {
    Piece bend;
    bend.turn = std::remainder(headingFrom(i) - headingFrom(i - 1), kTwoPi);
    bend.radius = corner(i).radius;
    bend.easing = corner(i).easing;
    bend.bank = corner(i).bank;
    bend.to = bend.radius * std::abs(bend.turn) + bend.easing;
    return bend;
}

/// Distance from the corner at which its bend begins and ends; `bend` as roundedCorner() gives it.
double tangentLength(const Piece& bend) { return bend.at(bend.to).at.x / std::sin(bend.turn); }

Pose onTheWayFrom(int i, double distance) {
    Pose pose;
    pose.heading = headingFrom(i);
    pose.at = {corner(i).x + distance * std::sin(pose.heading), corner(i).z - distance * std::cos(pose.heading)};
    return pose;
}

}  // namespace

PlanPoint Pose::beside(double right) const {
    return {at.x + right * std::cos(heading), at.z + right * std::sin(heading)};
}

double Piece::curvedness(double station) const {
    if (isStraight()) return 0.0;
    return std::clamp(std::min(station - from, to - station) / easing, 0.0, 1.0);
}

Pose Piece::at(double station) const {
    const double way = station - from;
    Pose pose = start;
    if (isStraight()) {
        pose.at = {start.at.x + way * std::sin(start.heading), start.at.z - way * std::cos(start.heading)};
        return pose;
    }
    const double side = turn > 0.0 ? 1.0 : -1.0;
    const double length = to - from;
    const auto headingAt = [&](double w) {
        const double in = std::min(w, easing);
        const double out = std::max(0.0, w - (length - easing));
        const double full = std::max(0.0, std::min(w, length - easing) - easing);
        const double gained = in * in / (2.0 * easing) + full + out - out * out / (2.0 * easing);
        return start.heading + side * gained / radius;
    };
    // Simpson's rule over panels of half a metre or less.
    const int panels = std::max(1, static_cast<int>(std::ceil(way / 0.5)));
    const double h = way / panels;
    for (int k = 0; k < panels; ++k) {
        const double a = headingAt(k * h);
        const double m = headingAt((k + 0.5) * h);
        const double b = headingAt((k + 1) * h);
        pose.at.x += h / 6.0 * (std::sin(a) + 4.0 * std::sin(m) + std::sin(b));
        pose.at.z -= h / 6.0 * (std::cos(a) + 4.0 * std::cos(m) + std::cos(b));
    }
    pose.heading = headingAt(way);
    pose.curvature = side * curvedness(station) / radius;
    return pose;
}

Circuit::Circuit() {
    double station = 0.0;
    const auto add = [&](Piece piece, double length) {
        piece.from = station;
        station += length;
        piece.to = station;
        m_pieces.push_back(piece);
    };
    // From the origin to the first bend, then bends and straights in turn.
    Piece straight;
    double before = 0.0;
    double length = -corner(0).z - tangentLength(roundedCorner(0));
    for (int i = 0; i < kNumCorners; ++i) {
        add(straight, length);
        Piece bend = roundedCorner(i);
        const double tangent = tangentLength(bend);
        const double side = std::hypot(corner(i).x - corner(i - 1).x, corner(i).z - corner(i - 1).z);
        bend.start = onTheWayFrom(i - 1, side - tangent);
        add(bend, bend.to);
        before = tangent;
        straight = {};
        straight.start = onTheWayFrom(i, before);
        const double next = i + 1 < kNumCorners ? tangentLength(roundedCorner(i + 1)) : 0.0;
        length = std::hypot(corner(i + 1).x - corner(i).x, corner(i + 1).z - corner(i).z) - before - next;
    }
    // The last straight ends at the origin, not at the first bend.
    add(straight, corner(kNumCorners - 1).z - before);
}

const Piece& Circuit::pieceAt(double station) const {
    const auto behind = std::upper_bound(m_pieces.begin(), m_pieces.end(), station,
                                         [](double s, const Piece& piece) { return s < piece.from; });
    return *std::prev(behind);
}

const Piece& Circuit::straight(int corner) const { return m_pieces[static_cast<std::size_t>(2 * corner)]; }

const Piece& Circuit::bend(int corner) const { return m_pieces[static_cast<std::size_t>(2 * corner + 1)]; }

PlanPoint Circuit::middle() { return {110.0, -45.0}; }

}  // namespace ond::provingground

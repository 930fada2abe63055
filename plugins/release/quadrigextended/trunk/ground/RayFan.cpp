#include "ground/RayFan.h"

#include <algorithm>
#include <cmath>

namespace ond::ovs::addon {

namespace {

using Vector = RayFan::Vector;

double least(FourFloats v) { return std::min(std::min(v[0], v[1]), std::min(v[2], v[3])); }
double most(FourFloats v) { return std::max(std::max(v[0], v[1]), std::max(v[2], v[3])); }

/// Sets a lane and those behind it.
void fillFrom(FourFloats& v, std::size_t lane, double value) {
    for (; lane < 4; ++lane) v[lane] = static_cast<float>(value);
}

}  // namespace

void FanAngles::clear() {
    count = 0;
    groups.clear();
}

void FanAngles::add(double sine, double cosine) {
    const std::size_t lane = count++ % 4;
    if (lane == 0) groups.emplace_back();
    fillFrom(groups.back().alongStraight, lane, cosine * cosine - sine * sine);
    fillFrom(groups.back().alongAxle, lane, 2.0 * sine * sine);
    fillFrom(groups.back().aside, lane, 2.0 * sine * cosine);
}

void RayFan::clear() { m_count = 0; }

void RayFan::add(const Vector& direction) {
    const std::size_t lane = m_count % 4;
    const std::size_t group = m_count / 4;
    if (group == m_groups.size()) {
        m_groups.emplace_back();
        m_balls.emplace_back();
    }
    fillFrom(m_groups[group].x, lane, direction.x);
    fillFrom(m_groups[group].y, lane, direction.y);
    fillFrom(m_groups[group].z, lane, direction.z);
    surround(group);
    ++m_count;
}

void RayFan::surround(std::size_t group) {
    const Group& rays = m_groups[group];
    const auto middle = [](FourFloats v) { return 0.25F * ((v[0] + v[1]) + (v[2] + v[3])); };
    Ball& ball = m_balls[group];
    ball = {middle(rays.x), middle(rays.y), middle(rays.z), 0.0F};
    const FourFloats x = rays.x - ball.x;
    const FourFloats y = rays.y - ball.y;
    const FourFloats z = rays.z - ball.z;
    const FourFloats away = squareRoot(x * x + y * y + z * z);
    ball.radius = static_cast<float>(most(away) * 1.00001 + 3.0 * kInexact);
}

void RayFan::turn(const FanAngles& angles, const Vector& straight, const Vector& alongAxle, const Vector& aside) {
    m_count = angles.count;
    if (m_groups.size() < angles.groups.size()) {
        m_groups.resize(angles.groups.size());
        m_balls.resize(angles.groups.size());
    }
    const FourVectors u = allFour(straight);
    const FourVectors v = allFour(alongAxle);
    const FourVectors w = allFour(aside);
    for (std::size_t i = 0; i < angles.groups.size(); ++i) {
        const FanAngles::Group& by = angles.groups[i];
        m_groups[i].x = by.alongStraight * u.x + by.alongAxle * v.x + by.aside * w.x;
        m_groups[i].y = by.alongStraight * u.y + by.alongAxle * v.y + by.aside * w.y;
        m_groups[i].z = by.alongStraight * u.z + by.alongAxle * v.z + by.aside * w.z;
        surround(i);
    }
}

Vector RayFan::direction(std::size_t ray) const {
    const Group& group = m_groups[ray / 4];
    return {group.x[ray % 4], group.y[ray % 4], group.z[ray % 4]};
}

void RayFan::box(Vector& lowest, Vector& highest) const {
    Group low{};
    Group high{};
    for (std::size_t i = 0; i < numGroups(); ++i) {
        const Group& group = m_groups[i];
        low = {lesser(low.x, group.x), lesser(low.y, group.y), lesser(low.z, group.z)};
        high = {greater(high.x, group.x), greater(high.y, group.y), greater(high.z, group.z)};
    }
    const Vector margin(kInexact, kInexact, kInexact);
    lowest = Vector(least(low.x), least(low.y), least(low.z)) - margin;
    highest = Vector(most(high.x), most(high.y), most(high.z)) + margin;
}

void RayFan::range(const Vector& axis, double& from, double& to) const {
    const FourVectors a = allFour(axis);
    FourFloats low{};
    FourFloats high{};
    for (std::size_t i = 0; i < numGroups(); ++i) {
        const FourFloats along = a.x * m_groups[i].x + a.y * m_groups[i].y + a.z * m_groups[i].z;
        low = lesser(low, along);
        high = greater(high, along);
    }
    // The rounding of the sum counts as much again.
    from = least(low) - 3.0 * kInexact;
    to = most(high) + 3.0 * kInexact;
}

Vector RayFan::across() const {
    const Vector first = direction(0);
    Vector normal = Cross(first, direction(m_count - 1));
    const double smallest = std::min({std::abs(first.x), std::abs(first.y), std::abs(first.z)});
    if (!(Dot(normal, normal) > 1e-12))
        normal = Cross(first, std::abs(first.x) == smallest
                                  ? Vector(1, 0, 0)
                                  : (std::abs(first.y) == smallest ? Vector(0, 1, 0) : Vector(0, 0, 1)));
    return normal / Length(normal);
}

}  // namespace ond::ovs::addon

#include "provingground/CentreLine.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace ond::provingground {

namespace {

// What a driver in no hurry asks of a car, metres per second squared.
constexpr double kGain = 2.5;
constexpr double kLoss = 3.0;

/// Lowers speeds that cannot be reached from the point before, `order` giving the points one behind the other.
template <typename Order>
void limitChange(std::vector<LinePoint>& line, double step, double acceleration, const Order& order) {
    // Twice round, for the end of the line hands over to its start.
    for (std::size_t k = 1; k < 2 * line.size(); ++k) {
        const double before = line[order(k - 1)].speed;
        double& speed = line[order(k)].speed;
        speed = std::min(speed, std::sqrt(before * before + 2.0 * acceleration * step));
    }
}

// The bend whose kerb is cut, by its corner's number; how far from the middle, and the way to get there before the
// bend.
constexpr int kCutCorner = 2;
constexpr double kCut = 4.35;
constexpr double kCutBegins = 12.0;

/// How far to the right of the middle the driver wants to be.
double cutOffset(const Circuit& circuit, double station) {
    const Piece& bend = circuit.bend(kCutCorner);
    const double half = 0.5 * (bend.to - bend.from) + kCutBegins;
    const double away = std::min(std::abs(station - 0.5 * (bend.from + bend.to)) / half, 1.0);
    const double share = 1.0 - away * away;
    return std::copysign(kCut * share * share * share, bend.turn);
}

template <typename Offset>
std::vector<LinePoint> lineBeside(const Circuit& circuit, const Surface& surface, const Offset& offsetAt) {
    const auto count = static_cast<std::size_t>(std::ceil(circuit.length()));
    const double step = circuit.length() / static_cast<double>(count);
    std::vector<LinePoint> line;
    for (std::size_t i = 0; i < count; ++i) {
        const double station = step * static_cast<double>(i);
        const double offset = offsetAt(station);
        const PlanPoint at = circuit.pieceAt(station).at(station).beside(offset);
        line.push_back({at.x, surface.height(station, offset), at.z, station, surface.speedLimit(station)});
    }
    limitChange(line, step, kGain, [count](std::size_t k) { return k % count; });
    limitChange(line, step, kLoss, [count](std::size_t k) { return count - 1 - k % count; });
    return line;
}

}  // namespace

std::vector<LinePoint> centreLine(const Circuit& circuit, const Surface& surface) {
    return lineBeside(circuit, surface, [](double) { return 0.0; });
}

std::vector<LinePoint> drivenLine(const Circuit& circuit, const Surface& surface) {
    return lineBeside(circuit, surface, [&circuit](double station) { return cutOffset(circuit, station); });
}

std::string toCsv(const std::vector<LinePoint>& line) {
    std::string csv = "x_m,z_m,y_m,station_m,speed_mps\n";
    for (const LinePoint& point : line) {
        char row[160];
        std::snprintf(row, sizeof row, "%.4f,%.4f,%.4f,%.4f,%.4f\n", point.x, point.z, point.y, point.station,
                      point.speed);
        csv += row;
    }
    return csv;
}

}  // namespace ond::provingground

#include "provingground/Surface.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace ond::provingground {

namespace {

constexpr double kTwoPi = 6.283185307179586;

// Corners, by their number in the circuit, whose bends have kerbs on the inside.
constexpr std::array<int, 5> kKerbedCorners = {1, 2, 3, 5, 7};

// Around the start the road is level: from so far before it to so far behind it, and rolling fades in over this length.
constexpr double kLevelBefore = 40.0;
constexpr double kLevelBehind = 55.0;
constexpr double kLevelFade = 30.0;

constexpr double kStartLine = 0.6;

constexpr double kRampHeight = 1.6;
constexpr double kRampTable = 8.0;

// The jump: take-off, a drop behind its lip, a table, and the slope to land on.
constexpr double kLipHeight = 1.4;
constexpr double kTakeOff = 14.0;
constexpr double kDrop = 0.6;
constexpr double kTableHeight = 0.75;
constexpr double kTable = 5.4;
constexpr double kLanding = 11.0;

constexpr double kKerbFaceHeight = 0.05;
constexpr double kKerbBlock = 1.5;

constexpr double kBumpLength = 3.2;
constexpr double kLowestBump = 0.03;
constexpr double kHighestBump = 0.06;

constexpr double kGravelGrain = 0.8;
constexpr double kGravelHeight = 0.012;

/// 0 at 0 and below, 1 at 1 and above, level at both and its slope, too.
double smooth(double x) {
    const double u = std::clamp(x, 0.0, 1.0);
    return u * u * u * (10.0 + u * (6.0 * u - 15.0));
}

/// A number in [-1, 1] that belongs to a point of a grid.
double noiseAt(int i, int k) {
    auto bits = static_cast<std::uint32_t>(i) * 0x9E3779B1u ^ static_cast<std::uint32_t>(k) * 0x85EBCA77u;
    bits = (bits ^ (bits >> 15)) * 0x2C1B3C6Du;
    bits = (bits ^ (bits >> 12)) * 0x297A2D39u;
    bits ^= bits >> 15;
    return static_cast<double>(bits) / 2147483647.5 - 1.0;
}

/// noiseAt() of the four grid points around, blended.
double noise(double x, double z) {
    const double i = std::floor(x);
    const double k = std::floor(z);
    const auto at = [&](int right, int up) { return noiseAt(static_cast<int>(i) + right, static_cast<int>(k) + up); };
    const double u = smooth(x - i);
    const double near = std::lerp(at(0, 0), at(1, 0), u);
    const double far = std::lerp(at(0, 1), at(1, 1), u);
    return std::lerp(near, far, smooth(z - k));
}

/// What stands on the road runs out to the sides before the corridor ends.
double besideTheRoad(double offset) { return 1.0 - smooth((std::abs(offset) - kKerbEnd) / (10.0 - kKerbEnd)); }

/// Height of a kerb, `outside` metres from the line: up at once, gently further, and down again behind.
double kerbProfile(double outside) {
    if (outside < kKerbFace) return kKerbFaceHeight * (outside - kRoadEdge) / (kKerbFace - kRoadEdge);
    if (outside < kKerbTop)
        return std::lerp(kKerbFaceHeight, kKerbHeight, (outside - kKerbFace) / (kKerbTop - kKerbFace));
    return kKerbHeight * (kKerbEnd - outside) / (kKerbEnd - kKerbTop);
}

/// A section of `length` in the middle of a piece.
Section inTheMiddle(const Piece& piece, double length) {
    const double middle = 0.5 * (piece.from + piece.to);
    return {middle - 0.5 * length, middle + 0.5 * length};
}

}  // namespace

Surface::Surface(const Circuit& circuit)
    : ramp(inTheMiddle(circuit.straight(4), circuit.straight(4).to - circuit.straight(4).from - 2.0)),
      jump(inTheMiddle(circuit.straight(5), kTakeOff + kDrop + kTable + kLanding)),
      gravel{circuit.straight(6).from, circuit.straight(6).to},
      bumps(inTheMiddle(circuit.straight(7), 36.0)),
      m_circuit(circuit) {}

double Surface::lip() const { return jump.from + kTakeOff; }

double Surface::rolling(double station) const {
    const double behind = smooth((station - kLevelBehind) / kLevelFade);
    const double before = smooth((m_circuit.length() - kLevelBefore - station) / kLevelFade);
    const double wave = kTwoPi * station / m_circuit.length();
    return behind * before * (0.9 * std::sin(3.0 * wave + 0.6) + 0.5 * std::sin(5.0 * wave));
}

double Surface::bank(double station) const {
    const Piece& piece = m_circuit.pieceAt(station);
    // A bend to the right lowers the right side.
    return -std::copysign(piece.bank, piece.turn) * smooth(piece.curvedness(station));
}

double Surface::rampHeight(double station) const {
    const double slope = 0.5 * (ramp.length() - kRampTable);
    return kRampHeight * smooth((station - ramp.from) / slope) * smooth((ramp.to - station) / slope);
}

double Surface::jumpHeight(double station) const {
    double way = station - jump.from;
    if (way <= 0.0 || station >= jump.to) return 0.0;
    // Steeper and steeper up to the lip.
    if (way < kTakeOff) return kLipHeight * way * way / (kTakeOff * kTakeOff);
    way -= kTakeOff;
    if (way < kDrop) return std::lerp(kLipHeight, kTableHeight, way / kDrop);
    way -= kDrop + kTable;
    return kTableHeight * (1.0 - smooth(way / kLanding));
}

double Surface::bumpHeight(double station, double offset) const {
    if (!bumps.holds(station)) return 0.0;
    const double way = station - bumps.from;
    const double top = std::lerp(kLowestBump, kHighestBump, way / bumps.length());
    const double ends = smooth(way / kBumpLength) * smooth((bumps.to - station) / kBumpLength);
    const double left = 0.5 - 0.5 * std::cos(kTwoPi * way / kBumpLength);
    return top * ends * std::lerp(left, 1.0 - left, smooth((offset + 1.1) / 2.2));
}

double Surface::gravelHeight(double station, double offset) const {
    if (!gravel.holds(station)) return 0.0;
    const double ends = smooth((station - gravel.from) / 3.0) * smooth((gravel.to - station) / 3.0);
    return kGravelHeight * ends * noise((station - gravel.from) / kGravelGrain, offset / kGravelGrain);
}

double Surface::kerb(double station, double offset) const {
    const Piece& piece = m_circuit.pieceAt(station);
    const bool kerbed = std::any_of(kKerbedCorners.begin(), kKerbedCorners.end(),
                                    [&](int corner) { return &m_circuit.bend(corner) == &piece; });
    if (!kerbed || std::signbit(offset) == (piece.turn > 0.0)) return 0.0;
    return smooth((station - piece.from) / 3.0) * smooth((piece.to - station) / 3.0);
}

double Surface::height(double station, double offset) const {
    const double outside = std::abs(offset);
    double y = rolling(station) + bank(station) * std::clamp(offset, -6.2, 6.2);
    y += besideTheRoad(offset) *
         (rampHeight(station) + jumpHeight(station) + bumpHeight(station, offset) + gravelHeight(station, offset));
    if (outside > kRoadEdge && outside < kKerbEnd) y += kerb(station, offset) * kerbProfile(outside);
    return y;
}

double Surface::terrain(const PlanPoint& at) {
    const PlanPoint middle = Circuit::middle();
    const double away = std::hypot(at.x - middle.x, at.z - middle.z);
    // Low inside the circuit, hills round it.
    const double size = 0.8 + 4.5 * smooth((away - 130.0) / 90.0);
    return size * (0.6 * std::sin(kTwoPi * at.x / 95.0 + 0.4) * std::cos(kTwoPi * at.z / 110.0) +
                   0.5 * std::sin(kTwoPi * (at.x + at.z) / 150.0 + 1.0)) +
           3.0 * smooth((away - 160.0) / 70.0);
}

Kind Surface::kind(double station, double offset) const {
    const double outside = std::abs(offset);
    if (outside > kKerbEnd) return Kind::verge;
    if (outside > kRoadEdge) {
        if (kerb(station, offset) <= 0.0) return Kind::verge;
        const double blocks = (station - m_circuit.pieceAt(station).from) / kKerbBlock;
        return static_cast<int>(blocks) % 2 == 0 ? Kind::kerbRed : Kind::kerbWhite;
    }
    if (ramp.holds(station)) return Kind::ramp;
    if (jump.holds(station)) return Kind::jump;
    if (gravel.holds(station)) return Kind::gravel;
    if (bumps.holds(station)) return Kind::bumps;
    return station < kStartLine ? Kind::startLine : Kind::road;
}

double Surface::spacing(double station) const {
    if (jump.holds(station) || bumps.holds(station)) return 0.4;
    if (gravel.holds(station)) return 0.5;
    if (!m_circuit.pieceAt(station).isStraight() || ramp.holds(station)) return 0.75;
    return 1.3;
}

std::vector<double> Surface::breaks() const {
    std::vector<double> stations = {kStartLine, lip(), lip() + kDrop, lip() + kDrop + kTable};
    for (const Piece& piece : m_circuit.pieces()) stations.push_back(piece.from);
    for (const Section& section : {ramp, jump, gravel, bumps})
        stations.insert(stations.end(), {section.from, section.to});
    stations.push_back(m_circuit.length());
    std::sort(stations.begin(), stations.end());
    const auto same = [](double a, double b) { return b - a < 1e-6; };
    stations.erase(std::unique(stations.begin(), stations.end(), same), stations.end());
    return stations;
}

double Surface::speedLimit(double station) const {
    const double curvature = std::abs(m_circuit.pieceAt(station).at(station).curvature);
    double limit = 15.0;
    if (curvature > 0.0) limit = std::min(limit, std::sqrt(6.0 / curvature));
    const auto within = [&](const Section& section, double before, double speed) {
        if (station >= section.from - before && station < section.to) limit = std::min(limit, speed);
    };
    within(ramp, 0.0, 11.0);
    within(jump, 6.0, 13.5);
    within(gravel, 0.0, 11.0);
    within(bumps, 2.0, 9.0);
    return limit;
}

}  // namespace ond::provingground

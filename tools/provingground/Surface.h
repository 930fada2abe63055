// What lies where on the proving ground, and how high.
//
// Stations and offsets from the line in metres, offsets positive to the right; heights in metres, 0 at the start.
#pragma once

#include <array>
#include <vector>

#include "provingground/Circuit.h"

namespace ond::provingground {

/// What a piece of the ground is made of; each kind becomes a mesh of its own.
enum class Kind { road, verge, gravel, kerbRed, kerbWhite, ramp, bumps, jump, startLine, terrain };
constexpr int kNumKinds = 10;

/// From one station to another.
struct Section {
    double from = 0.0;
    double to = 0.0;
    [[nodiscard]] bool holds(double station) const { return station >= from && station < to; }
    [[nodiscard]] double length() const { return to - from; }
};

/// Half the width of the road.
constexpr double kRoadEdge = 4.5;
/// A kerb begins at the edge of the road, rises steeply up to here, gently up to its top, and falls to its end.
constexpr double kKerbFace = 4.7;
constexpr double kKerbTop = 5.2;
constexpr double kKerbEnd = 5.4;
/// Half the width of the corridor: the road and what goes with it.
constexpr double kCorridorEdge = 12.0;
/// The offsets at which the corridor has its vertices, on one side; the other side is the mirror image.
constexpr std::array<double, 12> kOffsets = {0.0,      1.1,      2.2, 3.35, kRoadEdge, kKerbFace,
                                             kKerbTop, kKerbEnd, 6.2, 8.0,  10.0,      kCorridorEdge};
/// Highest point of a kerb over the road's edge.
constexpr double kKerbHeight = 0.07;

class Surface {
  public:
    explicit Surface(const Circuit& circuit);

    /// Height in the corridor, |offset| <= kCorridorEdge.
    [[nodiscard]] double height(double station, double offset) const;
    /// Height of the land round the circuit, which takes over beside the corridor.
    [[nodiscard]] static double terrain(const PlanPoint& at);
    /// What the corridor is made of.
    [[nodiscard]] Kind kind(double station, double offset) const;
    /// Stations at which the ground changes: a row of vertices belongs to each. In order, from 0 to the line's length.
    [[nodiscard]] std::vector<double> breaks() const;
    /// How far rows of vertices may be from each other there.
    [[nodiscard]] double spacing(double station) const;
    /// Speed that suits the road there, whatever comes before and behind, metres per second.
    [[nodiscard]] double speedLimit(double station) const;

    // The sections that the circuit is for.
    Section ramp;    ///< up, along and down again
    Section jump;    ///< take-off, drop, table and landing slope
    Section gravel;  ///< loose ground
    Section bumps;   ///< left and right out of step

    /// Station of the jump's highest point, where cars take off.
    [[nodiscard]] double lip() const;

  private:
    [[nodiscard]] double rolling(double station) const;
    [[nodiscard]] double bank(double station) const;
    [[nodiscard]] double rampHeight(double station) const;
    [[nodiscard]] double jumpHeight(double station) const;
    [[nodiscard]] double bumpHeight(double station, double offset) const;
    [[nodiscard]] double gravelHeight(double station, double offset) const;
    /// Share of its height that a kerb on that side has, 0 to 1.
    [[nodiscard]] double kerb(double station, double offset) const;

    const Circuit& m_circuit;
};

}  // namespace ond::provingground

// The plan of the proving ground's circuit: straights and bends, seen from above.
//
// A closed line through (0, 0), driven clockwise. Stations count along it from there, in metres; headings are in
// radians, 0 towards -Z and positive to the right; curvature is positive in a bend to the right.
#pragma once

#include <vector>

namespace ond::provingground {

/// A point of the plan: +X east, +Z south, metres.
struct PlanPoint {
    double x = 0.0;
    double z = 0.0;
};

/// Where the line is at a station, and where it goes from there.
struct Pose {
    PlanPoint at;
    double heading = 0.0;
    double curvature = 0.0;  ///< 1 / radius, per metre

    /// The point `right` metres to the right of the line.
    [[nodiscard]] PlanPoint beside(double right) const;
};

/// A piece of the line, from one station to another.
struct Piece {
    double from = 0.0;
    double to = 0.0;
    Pose start;
    double turn = 0.0;    ///< heading gained over the piece, radians; 0 for a straight
    double radius = 0.0;  ///< of the arc; 0 for a straight
    double easing = 0.0;  ///< length over which the curvature grows, and falls again, linearly
    double bank = 0.0;    ///< cross slope of the arc towards its inside, rise over run

    [[nodiscard]] bool isStraight() const { return turn == 0.0; }
    [[nodiscard]] Pose at(double station) const;
    /// Share of the arc's curvature that the piece has there, 0 to 1.
    [[nodiscard]] double curvedness(double station) const;
};

class Circuit {
  public:
    Circuit();

    /// In order of driving; the first is the straight that starts at the origin, the last the one that ends there.
    [[nodiscard]] const std::vector<Piece>& pieces() const { return m_pieces; }
    [[nodiscard]] double length() const { return m_pieces.back().to; }
    /// The piece at a station in [0, length()].
    [[nodiscard]] const Piece& pieceAt(double station) const;
    /// The straight before the corner of that number, 0 being the one at the origin.
    [[nodiscard]] const Piece& straight(int corner) const;
    [[nodiscard]] const Piece& bend(int corner) const;

    /// A point that every part of the line circles clockwise, as seen from above.
    [[nodiscard]] static PlanPoint middle();

  private:
    std::vector<Piece> m_pieces;
};

}  // namespace ond::provingground

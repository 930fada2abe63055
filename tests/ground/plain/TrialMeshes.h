// Random meshes for comparing two forms of the ground tree: shapes of grounds, and what makes each of them harder.
#pragma once

#include <string>

#include "ond/util/CMesh.h"
#include "util/PinnedRandom.h"

namespace ond::test {

enum class Shape {
    terrain,      ///< heights on an exact grid, gentle
    flat,         ///< one plane; cell borders often coincide with mesh lines
    tiltedPlane,  ///< one plane that no axis is square to
    walls,        ///< levels with upright walls between them
    kerbs,        ///< flat strips, some a little higher
    overhangs,    ///< a ground that folds over itself
    layers,       ///< flat meshes above each other
    soup,
    lattice,  ///< corners on few points, so that many triangles share planes, sides and corners
    sphere,
    cube,  ///< surfaces in the faces of the root's box
    slivers,
    oneHuge,  ///< among many tiny ones
    fan,      ///< all triangles share a corner
    allTheSame,
    unequalParts,  ///< each a fraction of the size of the one before
    few,           ///< too few for a split, or just enough
    stacked,       ///< one ground many times, hardly apart, so that a line meets many of it
    bodies,        ///< closed ones, on a ground and through each other
    longAcross,    ///< among many small ones, some that lie across all of them
    alone,         ///< a few, often slivers, again and again, in a box that is wider than they are
    count
};

enum class Twist {
    shuffled,   ///< order of the faces, of their corners, and windings
    doubled,    ///< some faces twice
    collapsed,  ///< faces without an area among the others
    axesSwapped,
    turned,          ///< about any axis, often by next to nothing
    moved,           ///< far from the origin
    scaled,          ///< over the whole range of numbers
    scaledByAxis,    ///< each axis differently
    toTheEdge,       ///< to where determinants or their parts leave the range of numbers
    nudged,          ///< some vertices by a few units in the last place
    lostDigits,      ///< as single precision has them
    extremeNumbers,  ///< some coordinates huge, tiny, denormal or a negative zero
    faulty,          ///< vertices that are not finite, faces with wrong indices, vertices without a face
    count
};

struct TrialMesh {
    std::string name;  ///< what it was made of
    util::CMesh mesh;
};

/// @param triangles about how many; some shapes have fewer
[[nodiscard]] util::CMesh meshOfShape(PinnedRandom& random, Shape shape, int triangles);
void apply(PinnedRandom& random, Twist twist, util::CMesh& mesh);
/// The shape with up to three random twists.
[[nodiscard]] TrialMesh trialMesh(PinnedRandom& random, Shape shape, int triangles);

/// A power of ten between the two.
[[nodiscard]] double magnitude(PinnedRandom& random, double lowExponent, double highExponent);
/// Numbers of a kind that arithmetic is hard on: huge, tiny, denormal, zeros; never infinite or not a number.
[[nodiscard]] double extremeNumber(PinnedRandom& random);
/// Some units in the last place away.
[[nodiscard]] double nudge(PinnedRandom& random, double value);
[[nodiscard]] util::Vector3<double> nudge(PinnedRandom& random, const util::Vector3<double>& point);
/// 0 to `count` - 1.
[[nodiscard]] std::size_t pick(PinnedRandom& random, std::size_t count);

}  // namespace ond::test

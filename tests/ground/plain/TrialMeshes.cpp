#include "ground/plain/TrialMeshes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "ground/GroundMeshes.h"
#include "ond/util/Matrix4.h"

namespace ond::test {

namespace {

using V = util::Vector3<double>;

constexpr double kPi = 3.14159265358979323846;

double& component(V& v, std::size_t axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

/// Cells a side of a square grid of about `triangles`; often a power of two, so that its lines lie on borders of cells.
int gridCells(PinnedRandom& random, int triangles) {
    const int cells = std::max(1, static_cast<int>(std::sqrt(0.5 * triangles)));
    if (random.chance(0.5)) return cells;
    int power = 1;
    while (2 * power <= cells) power *= 2;
    return power;
}

double gridSpacing(PinnedRandom& random) {
    return random.chance(0.6) ? std::ldexp(1.0, static_cast<int>(pick(random, 7)) - 3) : random.in(0.05, 3.0);
}

util::CMesh terrain(PinnedRandom& random, int triangles) {
    const double spacing = gridSpacing(random);
    const double height = random.chance(0.3) ? 0.0625 * spacing : random.in(0.0, 2.0) * spacing;
    const double wave = random.in(0.05, 1.0);
    const bool exact = random.chance(0.5);
    return gridMesh(gridCells(random, triangles), spacing, [&](double x, double z) {
        const double y = height * std::sin(wave * x / spacing) * std::cos(0.7 * wave * z / spacing);
        return exact ? std::round(64.0 * y) / 64.0 : y;
    });
}

util::CMesh flat(PinnedRandom& random, int triangles) {
    const double level = random.chance(0.5) ? 0.0 : random.in(-5.0, 5.0);
    const double spacing = gridSpacing(random);
    return gridMesh(gridCells(random, triangles), spacing, [&](double, double) { return level; });
}

util::CMesh tiltedPlane(PinnedRandom& random, int triangles) {
    const bool exact = random.chance(0.5);
    const double a = exact ? 0.25 * static_cast<double>(pick(random, 5)) : random.in(-2.0, 2.0);
    const double b = exact ? -0.125 : random.in(-2.0, 2.0);
    const double spacing = gridSpacing(random);
    return gridMesh(gridCells(random, triangles), spacing, [&](double x, double z) { return a * x + b * z; });
}

void addQuad(util::CMesh& mesh, const V& a, const V& b, const V& c, const V& d) {
    const int first = mesh.getNumVertices();
    mesh.vertices.insert(mesh.vertices.end(), {a, b, c, d});
    mesh.faces.insert(mesh.faces.end(), {first, first + 1, first + 2, first, first + 2, first + 3});
    mesh.tFaces.resize(mesh.faces.size());
}

util::CMesh walls(PinnedRandom& random, int triangles) {
    const int cells = std::max(2, static_cast<int>(std::sqrt(triangles / 5.0)));
    const double spacing = gridSpacing(random);
    const double lean = random.chance(0.6) ? 0.0 : magnitude(random, -17.0, -2.0) * spacing;
    std::vector<double> level;
    for (int i = 0; i < cells * cells; ++i) level.push_back(static_cast<double>(pick(random, 3)) * spacing);
    util::CMesh mesh;
    for (int i = 0; i < cells; ++i)
        for (int j = 0; j < cells; ++j) {
            const double x = j * spacing;
            const double z = i * spacing;
            const double y = level[static_cast<std::size_t>(i * cells + j)];
            const double right = level[static_cast<std::size_t>(i * cells + (j + 1) % cells)];
            const double far = level[static_cast<std::size_t>((i + 1) % cells * cells + j)];
            addQuad(mesh, V(x, y, z), V(x, y, z + spacing), V(x + spacing, y, z + spacing), V(x + spacing, y, z));
            if (right != y)
                addQuad(mesh, V(x + spacing, y, z), V(x + spacing, y, z + spacing),
                        V(x + spacing + lean, right, z + spacing), V(x + spacing + lean, right, z));
            if (far != y)
                addQuad(mesh, V(x, y, z + spacing), V(x + spacing, y, z + spacing),
                        V(x + spacing, far, z + spacing + lean), V(x, far, z + spacing + lean));
        }
    return mesh;
}

util::CMesh kerbs(PinnedRandom& random, int triangles) {
    const double spacing = gridSpacing(random);
    const double bevel = random.chance(0.5) ? 0.0 : 0.01 * spacing;
    const int strips = std::max(2, triangles / 16);
    util::CMesh mesh;
    for (int strip = 0; strip < strips; ++strip) {
        const double x = strip * spacing;
        const double y = strip % 3 == 2 ? 0.125 * spacing : 0.0;
        const double nextY = (strip + 1) % 3 == 2 ? 0.125 * spacing : 0.0;
        for (int piece = 0; piece < 4; ++piece) {
            const double z = 4.0 * spacing * piece;
            const double end = z + 4.0 * spacing;
            addQuad(mesh, V(x + bevel, y, z), V(x + bevel, y, end), V(x + spacing, y, end), V(x + spacing, y, z));
            addQuad(mesh, V(x + spacing, y, z), V(x + spacing, y, end), V(x + spacing + bevel, nextY, end),
                    V(x + spacing + bevel, nextY, z));
        }
    }
    return mesh;
}

util::CMesh overhangs(PinnedRandom& random, int triangles) {
    util::CMesh mesh = terrain(random, triangles);
    const double bend = random.in(0.5, 3.0);
    for (V& v : mesh.vertices) {
        const double x = v.x;
        v.y += bend * std::sin(x);
        v.x += bend * std::sin(1.3 * v.y);
    }
    return mesh;
}

void appendMesh(util::CMesh& mesh, const util::CMesh& more) {
    const int first = mesh.getNumVertices();
    mesh.vertices.insert(mesh.vertices.end(), more.vertices.begin(), more.vertices.end());
    for (const int vertex : more.faces) mesh.faces.push_back(first + vertex);
    mesh.tFaces.resize(mesh.faces.size());
}

util::CMesh layers(PinnedRandom& random, int triangles) {
    const int count = 2 + static_cast<int>(pick(random, 4));
    const double spacing = gridSpacing(random);
    const int cells = gridCells(random, triangles / count);
    util::CMesh mesh;
    for (int layer = 0; layer < count; ++layer) {
        const double y = random.chance(0.5) ? layer * spacing : random.in(-1e-12, 1e-12);
        appendMesh(mesh, gridMesh(cells, spacing, [&](double, double) { return y; }));
    }
    return mesh;
}

util::CMesh soup(PinnedRandom& random, int triangles) {
    return triangleCloud(random, triangles, 10.0, magnitude(random, -2.0, 1.5));
}

util::CMesh lattice(PinnedRandom& random, int triangles) {
    const std::size_t points = 3 + pick(random, 14);
    const double spacing = random.chance(0.5) ? 1.0 : random.in(0.1, 1.0);
    const bool local = random.chance(0.7);
    std::vector<Triangle> list;
    for (int i = 0; i < triangles; ++i) {
        const auto at = [&](std::size_t range) { return spacing * static_cast<double>(pick(random, range)); };
        const V corner{at(points), at(points), at(points)};
        Triangle triangle;
        for (V& v : triangle) v = local ? corner + V{at(3), at(3), at(3)} : V{at(points), at(points), at(points)};
        list.push_back(triangle);
    }
    return meshOf(list);
}

util::CMesh sphere(PinnedRandom& random, int triangles) {
    const int rings = std::max(3, static_cast<int>(std::sqrt(triangles / 4.0)));
    const double radius = random.chance(0.5) ? 1.0 : random.in(0.1, 100.0);
    const auto at = [&](int ring, int step) {
        const double polar = kPi * ring / rings;
        const double around = kPi * step / rings;
        return radius * V(std::sin(polar) * std::cos(around), std::cos(polar), std::sin(polar) * std::sin(around));
    };
    util::CMesh mesh;
    for (int ring = 0; ring < rings; ++ring)
        for (int step = 0; step < 2 * rings; ++step)
            addQuad(mesh, at(ring, step), at(ring, step + 1), at(ring + 1, step + 1), at(ring + 1, step));
    return mesh;
}

util::CMesh cube(PinnedRandom& random, int triangles) {
    const double spacing = gridSpacing(random);
    const int cells = gridCells(random, triangles / 6);
    const double half = 0.5 * cells * spacing;
    util::CMesh mesh;
    for (std::size_t axis = 0; axis < 3; ++axis)
        for (const double side : {-half, half}) {
            util::CMesh face = gridMesh(cells, spacing, [&](double, double) { return side; });
            for (V& v : face.vertices) v = axis == 0 ? V(v.y, v.z, v.x) : axis == 1 ? v : V(v.x, v.z, v.y);
            appendMesh(mesh, face);
        }
    return mesh;
}

util::CMesh slivers(PinnedRandom& random, int triangles) {
    std::vector<Triangle> list;
    for (int i = 0; i < triangles; ++i) {
        const V a = random.vector(10.0);
        const V along = random.vector(magnitude(random, -3.0, 1.0));
        const V aside = random.vector(magnitude(random, -18.0, -2.0));
        const double at = random.chance(0.5) ? 0.5 : random.in(-1.0, 2.0);
        list.push_back({a, a + along, a + at * along + aside});
    }
    return meshOf(list);
}

util::CMesh oneHuge(PinnedRandom& random, int triangles) {
    util::CMesh mesh = random.chance(0.5) ? terrain(random, triangles) : soup(random, triangles);
    const double size = magnitude(random, 2.0, 12.0);
    appendMesh(mesh, meshOf({{random.vector(size), random.vector(size), random.vector(size)}}));
    if (random.chance(0.5)) appendMesh(mesh, meshOf({{V(-size, 0, -size), V(-size, 0, size), V(size, 0, 0)}}));
    return mesh;
}

util::CMesh fan(PinnedRandom& random, int triangles) {
    const V centre = random.chance(0.5) ? V() : random.vector(3.0);
    std::vector<Triangle> list;
    V last = random.vector(5.0);
    for (int i = 0; i < triangles; ++i) {
        const V next = random.vector(5.0);
        list.push_back({centre, last, next});
        last = next;
    }
    return meshOf(list);
}

util::CMesh allTheSame(PinnedRandom& random, int triangles) {
    const Triangle triangle{random.vector(1.0), random.vector(1.0), random.vector(1.0)};
    return meshOf(std::vector<Triangle>(static_cast<std::size_t>(triangles), triangle));
}

util::CMesh unequalParts(PinnedRandom& random, int triangles) {
    const double factor = random.chance(0.5) ? 0.5 : magnitude(random, -6.0, -0.1);
    std::vector<Triangle> list;
    double width = 1.0;
    // A level of the tree for every three triangles: deep trees take the plain form long.
    for (int i = 0; i < std::min(triangles, 180); i += 3, width *= factor)
        for (int j = 0; j < 3; ++j)
            list.push_back({width * V(0.6, 0, 0), width * V(0.7, 1, 0), width * V(0.8, 0.5, 1)});
    util::CMesh mesh = meshOf(list);
    mesh.vertices.insert(mesh.vertices.end(), {V(), V(1, 1, 1)});
    return mesh;
}

util::CMesh few(PinnedRandom& random) {
    const int triangles = static_cast<int>(pick(random, 14));
    return random.chance(0.5) ? lattice(random, triangles) : soup(random, triangles);
}

util::CMesh stacked(PinnedRandom& random, int triangles) {
    const int count = 2 + static_cast<int>(pick(random, random.chance(0.3) ? 80 : 8));
    const double apart = random.chance(0.3) ? 0.0 : magnitude(random, -17.0, -3.0);
    util::CMesh ground = terrain(random, std::max(4, triangles / count));
    util::CMesh mesh;
    for (int layer = 0; layer < count; ++layer) {
        appendMesh(mesh, ground);
        for (V& v : ground.vertices) v += V(0, apart, 0);
    }
    return mesh;
}

void addBody(util::CMesh& mesh, const V& low, const V& high) {
    const auto corner = [&](unsigned i) {
        return V((i & 4U) != 0 ? high.x : low.x, (i & 2U) != 0 ? high.y : low.y, (i & 1U) != 0 ? high.z : low.z);
    };
    constexpr std::array<std::array<unsigned, 4>, 6> kSides{
        {{0, 1, 3, 2}, {4, 6, 7, 5}, {0, 4, 5, 1}, {2, 3, 7, 6}, {0, 2, 6, 4}, {1, 5, 7, 3}}};
    for (const auto& side : kSides) addQuad(mesh, corner(side[0]), corner(side[1]), corner(side[2]), corner(side[3]));
}

util::CMesh bodies(PinnedRandom& random, int triangles) {
    util::CMesh mesh = random.chance(0.5) ? terrain(random, triangles / 2) : util::CMesh();
    const bool exact = random.chance(0.5);
    const auto number = [&](double most) {
        return exact ? 0.5 * static_cast<double>(1 + pick(random, static_cast<std::size_t>(2.0 * most)))
                     : random.in(0.1, most);
    };
    for (int i = std::max(1, triangles / 24); i > 0; --i) {
        const V low = V{number(8), number(3), number(8)} - V(4, 2, 4);
        addBody(mesh, low, low + V{number(4), number(2), number(4)});
    }
    return mesh;
}

util::CMesh longAcross(PinnedRandom& random, int triangles) {
    const double spacing = gridSpacing(random);
    const int cells = gridCells(random, triangles);
    const double half = 0.5 * cells * spacing;
    const util::CMesh ground = random.chance(0.5)
                                   ? gridMesh(cells, spacing, [](double, double) { return 0.0; })
                                   : gridMesh(cells, spacing, [&](double x, double z) { return 0.1 * x + 0.2 * z; });
    std::vector<Triangle> list;
    for (std::size_t left = 1 + pick(random, 12); left > 0; --left) {
        const double slope = random.chance(0.3) ? 0.0 : 0.3;
        const auto height = [&] { return random.in(-slope, slope) * half; };
        const double thickness = random.chance(0.3) ? magnitude(random, -9.0, -1.0) : 1.0;
        const V a{-half, height(), random.in(-half, half)};
        const V b{half, height(), random.in(-half, half)};
        list.push_back({a, b, a + 0.5 * (b - a) + thickness * V{random.in(-half, half), height(), half}});
    }
    util::CMesh mesh = meshOf(list);
    if (random.chance(0.5)) {
        appendMesh(mesh, ground);
        return mesh;
    }
    util::CMesh groundFirst = ground;
    appendMesh(groundFirst, mesh);
    return groundFirst;
}

util::CMesh alone(PinnedRandom& random, int triangles) {
    const std::size_t kinds = 1 + pick(random, 3);
    const std::size_t copies = 1 + pick(random, static_cast<std::size_t>(std::max(1, std::min(triangles, 200) / 3)));
    std::vector<Triangle> list;
    for (std::size_t kind = 0; kind < kinds; ++kind) {
        const double size = magnitude(random, -6.0, 0.5);
        const V a = random.vector(3.0);
        const V along = size * util::Normalized(random.vector(1.0));
        const double width = size * magnitude(random, -12.0, 0.0);
        const V aside = width * util::Normalized(random.vector(1.0));
        const Triangle triangle{a, a + along, a + random.in(-0.2, 1.2) * along + aside};
        const double apart = random.chance(0.5) ? 0.0 : size * magnitude(random, -16.0, -7.0);
        for (std::size_t copy = 0; copy < copies; ++copy) {
            list.push_back(triangle);
            for (V& v : list.back()) v += random.vector(apart);
        }
    }
    util::CMesh mesh = meshOf(list);
    mesh.vertices.insert(mesh.vertices.end(), {V(-5, -5, -5), V(5, 5, 5)});
    return mesh;
}

using Face = std::array<int, 3>;

std::vector<Face> facesOf(const util::CMesh& mesh) {
    std::vector<Face> faces;
    for (int i = 0; i < mesh.getNumFaces(); ++i)
        faces.push_back({mesh.getFaceVertex(i, 0), mesh.getFaceVertex(i, 1), mesh.getFaceVertex(i, 2)});
    return faces;
}

void setFaces(util::CMesh& mesh, const std::vector<Face>& faces) {
    mesh.faces.clear();
    for (const Face& face : faces) mesh.faces.insert(mesh.faces.end(), face.begin(), face.end());
    mesh.tFaces.assign(mesh.faces.size(), 0);
}

void shuffle(PinnedRandom& random, util::CMesh& mesh) {
    std::vector<Face> faces = facesOf(mesh);
    for (std::size_t i = faces.size(); i > 1; --i) std::swap(faces[i - 1], faces[pick(random, i)]);
    for (Face& face : faces) {
        std::rotate(face.begin(), face.begin() + static_cast<std::ptrdiff_t>(pick(random, 3)), face.end());
        if (random.chance(0.3)) std::swap(face[0], face[1]);
    }
    setFaces(mesh, faces);
}

void doubleFaces(PinnedRandom& random, util::CMesh& mesh) {
    std::vector<Face> faces = facesOf(mesh);
    const std::size_t count = faces.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (random.chance(0.7)) continue;
        const Face face = faces[i];
        faces.insert(random.chance(0.5) ? faces.end() : faces.begin() + static_cast<std::ptrdiff_t>(i), face);
        if (random.chance(0.5)) std::swap(faces.back()[0], faces.back()[1]);
    }
    setFaces(mesh, faces);
}

void collapse(PinnedRandom& random, util::CMesh& mesh) {
    std::vector<Face> faces = facesOf(mesh);
    for (Face& face : faces)
        if (random.chance(0.15)) face[pick(random, 3)] = face[pick(random, 3)];
    setFaces(mesh, faces);
}

void swapAxes(PinnedRandom& random, util::CMesh& mesh) {
    const bool once = random.chance(0.5);
    for (V& v : mesh.vertices) v = once ? V(v.y, v.z, v.x) : V(v.z, v.x, v.y);
}

void turn(PinnedRandom& random, util::CMesh& mesh) {
    const double angle = random.chance(0.5) ? random.in(-3.0, 3.0) : magnitude(random, -17.0, -1.0);
    const std::size_t axis = pick(random, 3);
    util::Matrix4 m = axis == 0 ? util::RotationX(angle) : axis == 1 ? util::RotationY(angle) : util::RotationZ(angle);
    if (random.chance(0.5)) m = m * util::RotationX(random.in(-3.0, 3.0));
    if (random.chance(0.5)) m = m * util::RotationZ(random.in(-3.0, 3.0));
    for (V& v : mesh.vertices) v = util::Transform(m, v);
}

void move(PinnedRandom& random, util::CMesh& mesh) {
    V offset;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (random.chance(0.4)) continue;
        component(offset, axis) = magnitude(random, 3.0, 12.0);
        if (random.chance(0.5)) offset = -offset;
    }
    for (V& v : mesh.vertices) v += offset;
}

void scale(util::CMesh& mesh, const V& factors) {
    for (V& v : mesh.vertices) v = V(v.x * factors.x, v.y * factors.y, v.z * factors.z);
}

void scaleToTheEdge(PinnedRandom& random, util::CMesh& mesh) {
    // Cubes, squares and the numbers themselves at the ends of the range of double precision.
    constexpr std::array kExponents{102.7, -107.9, -102.5, 154.1, -161.9, -154.0, 307.5, -307.6, -323.0};
    const double exponent = kExponents[pick(random, kExponents.size())];
    const double factor = magnitude(random, exponent - 2.0, std::min(308.0, exponent + 1.0));
    scale(mesh, V(factor, factor, factor));
}

void nudgeVertices(PinnedRandom& random, util::CMesh& mesh) {
    for (V& v : mesh.vertices)
        if (random.chance(0.2)) v = nudge(random, v);
}

void loseDigits(util::CMesh& mesh) {
    const auto single = [](double value) {
        return std::fabs(value) > std::numeric_limits<float>::max() ? value
                                                                    : static_cast<double>(static_cast<float>(value));
    };
    for (V& v : mesh.vertices) v = V(single(v.x), single(v.y), single(v.z));
}

void setExtremeNumbers(PinnedRandom& random, util::CMesh& mesh) {
    const std::size_t one = pick(random, 3);
    const bool oneAxis = random.chance(0.5);
    const double probability = random.chance(0.5) ? 0.01 : 0.2;
    for (V& v : mesh.vertices)
        if (random.chance(probability)) component(v, oneAxis ? one : pick(random, 3)) = extremeNumber(random);
}

void spoil(PinnedRandom& random, util::CMesh& mesh) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr std::array kBad{std::numeric_limits<double>::quiet_NaN(), kInfinity, -kInfinity};
    for (V& v : mesh.vertices)
        if (random.chance(0.03)) component(v, pick(random, 3)) = kBad[pick(random, kBad.size())];
    for (int& index : mesh.faces) {
        if (!random.chance(0.01)) continue;
        const std::array wrong{-1, mesh.getNumVertices(), std::numeric_limits<int>::max(),
                               std::numeric_limits<int>::min()};
        index = wrong[pick(random, wrong.size())];
    }
    if (random.chance(0.5)) mesh.vertices.push_back(random.vector(30.0));
    if (random.chance(0.5)) mesh.faces.push_back(0);
}

void applyOnce(PinnedRandom& random, Twist twist, util::CMesh& mesh) {
    switch (twist) {
        case Twist::shuffled: return shuffle(random, mesh);
        case Twist::doubled: return doubleFaces(random, mesh);
        case Twist::collapsed: return collapse(random, mesh);
        case Twist::axesSwapped: return swapAxes(random, mesh);
        case Twist::turned: return turn(random, mesh);
        case Twist::moved: return move(random, mesh);
        case Twist::scaled: {
            const double factor = magnitude(random, -160.0, 150.0);
            return scale(mesh, V(factor, factor, factor));
        }
        case Twist::scaledByAxis: {
            const double x = magnitude(random, -100.0, 100.0);
            const double y = magnitude(random, -100.0, 100.0);
            return scale(mesh, V(x, y, magnitude(random, -100.0, 100.0)));
        }
        case Twist::toTheEdge: return scaleToTheEdge(random, mesh);
        case Twist::nudged: return nudgeVertices(random, mesh);
        case Twist::lostDigits: return loseDigits(mesh);
        case Twist::extremeNumbers: return setExtremeNumbers(random, mesh);
        case Twist::faulty: return spoil(random, mesh);
        case Twist::count: return;
    }
}

constexpr std::array kShapeNames{"terrain",  "flat",        "tilted plane", "walls",         "kerbs", "overhangs",
                                 "layers",   "soup",        "lattice",      "sphere",        "cube",  "slivers",
                                 "one huge", "fan",         "all the same", "unequal parts", "few",   "stacked",
                                 "bodies",   "long across", "alone"};
static_assert(kShapeNames.size() == static_cast<std::size_t>(Shape::count));

constexpr std::array kTwistNames{"shuffled",    "doubled",         "collapsed",      "axes swapped", "turned",
                                 "moved",       "scaled",          "scaled by axis", "to the edge",  "nudged",
                                 "lost digits", "extreme numbers", "faulty"};
static_assert(kTwistNames.size() == static_cast<std::size_t>(Twist::count));

}  // namespace

util::CMesh meshOfShape(PinnedRandom& random, Shape shape, int triangles) {
    switch (shape) {
        case Shape::terrain: return terrain(random, triangles);
        case Shape::flat: return flat(random, triangles);
        case Shape::tiltedPlane: return tiltedPlane(random, triangles);
        case Shape::walls: return walls(random, triangles);
        case Shape::kerbs: return kerbs(random, triangles);
        case Shape::overhangs: return overhangs(random, triangles);
        case Shape::layers: return layers(random, triangles);
        case Shape::soup: return soup(random, triangles);
        case Shape::lattice: return lattice(random, triangles);
        case Shape::sphere: return sphere(random, triangles);
        case Shape::cube: return cube(random, triangles);
        case Shape::slivers: return slivers(random, triangles);
        case Shape::oneHuge: return oneHuge(random, triangles);
        case Shape::fan: return fan(random, triangles);
        case Shape::allTheSame: return allTheSame(random, triangles);
        case Shape::unequalParts: return unequalParts(random, triangles);
        case Shape::few: return few(random);
        case Shape::stacked: return stacked(random, triangles);
        case Shape::bodies: return bodies(random, triangles);
        case Shape::longAcross: return longAcross(random, triangles);
        case Shape::alone: return alone(random, triangles);
        case Shape::count: break;
    }
    return {};
}

// The vertices are finite but for Twist::faulty.
void apply(PinnedRandom& random, Twist twist, util::CMesh& mesh) {
    applyOnce(random, twist, mesh);
    if (twist == Twist::faulty) return;
    constexpr double kMax = std::numeric_limits<double>::max();
    for (V& v : mesh.vertices)
        for (std::size_t axis = 0; axis < 3; ++axis) component(v, axis) = std::clamp(component(v, axis), -kMax, kMax);
}

TrialMesh trialMesh(PinnedRandom& random, Shape shape, int triangles) {
    TrialMesh trial{kShapeNames[static_cast<std::size_t>(shape)], meshOfShape(random, shape, triangles)};
    for (std::size_t left = pick(random, 4); left > 0; --left) {
        const std::size_t twist = pick(random, static_cast<std::size_t>(Twist::count));
        apply(random, static_cast<Twist>(twist), trial.mesh);
        trial.name += std::string(", ") + kTwistNames[twist];
    }
    return trial;
}

double magnitude(PinnedRandom& random, double lowExponent, double highExponent) {
    return std::pow(10.0, random.in(lowExponent, highExponent));
}

double extremeNumber(PinnedRandom& random) {
    const double sign = random.chance(0.5) ? -1.0 : 1.0;
    switch (pick(random, 6)) {
        case 0: return sign * 0.0;
        case 1: return sign * std::numeric_limits<double>::denorm_min() * static_cast<double>(1 + pick(random, 5));
        case 2: return sign * magnitude(random, -323.0, -290.0);
        case 3: return sign * magnitude(random, 290.0, 308.0);
        case 4: return sign * std::numeric_limits<double>::max();
        default: return sign * magnitude(random, -300.0, 300.0);
    }
}

double nudge(PinnedRandom& random, double value) {
    const double end = (random.chance(0.5) ? -1.0 : 1.0) * std::numeric_limits<double>::max();
    for (std::size_t left = pick(random, 4); left > 0; --left) value = std::nextafter(value, end);
    return value;
}

V nudge(PinnedRandom& random, const V& point) {
    const double x = nudge(random, point.x);
    const double y = nudge(random, point.y);
    return {x, y, nudge(random, point.z)};
}

std::size_t pick(PinnedRandom& random, std::size_t count) { return random.bits() % count; }

}  // namespace ond::test

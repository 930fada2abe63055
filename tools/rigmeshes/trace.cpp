// A small path tracer for the pictures of the rig: triangles with vertex normals over a ground plane, lit by a sun with
// soft edges and by the sky, with a thin clear coat. render.py builds it, feeds it a scene on stdin and takes the
// pixels from its stdout.
//
// Input, all numbers separated by blanks:
//   width height samplesPerPixel
//   eye xyz, point looked at xyz, vertical field of view in degrees
//   direction to the sun xyz, colour of the sun rgb
//   height of the ground, colour of the ground rgb
//   1 to paint faces seen from behind in red (a check of the winding), else 0
//   number of triangles; per triangle 3 positions, 3 normals, colour rgb, gloss (reflectance of the coat at right
//   angle)
// Output: width * height bytes R, G, B, rows from the top.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <limits>
#include <numeric>
#include <thread>
#include <vector>

namespace {

struct Vec {
    double x = 0, y = 0, z = 0;
    double operator[](int axis) const { return axis == 0 ? x : axis == 1 ? y : z; }
};
Vec operator+(Vec a, Vec b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
Vec operator-(Vec a, Vec b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vec operator*(Vec a, double s) { return {a.x * s, a.y * s, a.z * s}; }
Vec operator*(Vec a, Vec b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
double dot(Vec a, Vec b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vec cross(Vec a, Vec b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
Vec normalised(Vec a) { return a * (1.0 / std::sqrt(dot(a, a))); }
Vec mix(Vec a, Vec b, double t) { return a * (1 - t) + b * t; }
std::istream& operator>>(std::istream& in, Vec& v) { return in >> v.x >> v.y >> v.z; }

struct Triangle {
    std::array<Vec, 3> corner;
    std::array<Vec, 3> normal;
    Vec colour;
    double gloss = 0;
};

struct Box {
    Vec low{1e30, 1e30, 1e30};
    Vec high{-1e30, -1e30, -1e30};
    void add(Vec p) {
        low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
};

struct Ray {
    Vec origin;
    Vec direction;
};

struct Hit {
    double distance = std::numeric_limits<double>::infinity();
    int triangle = -1;  // -1: nothing, -2: the ground
    double u = 0, v = 0;
};

struct Scene {
    Vec eye, target, sunDirection, sunColour, groundColour;
    double fieldOfView = 0, groundHeight = 0;
    int width = 0, height = 0, samples = 0, paintBack = 0;
    std::vector<Triangle> triangles;
};

// Bounding boxes in a binary tree, split at the median of the longer axis. Leaves hold up to four triangles.
class Tree {
  public:
    explicit Tree(const std::vector<Triangle>& triangles) : triangles_(triangles), order_(triangles.size()) {
        std::iota(order_.begin(), order_.end(), 0);
        nodes_.reserve(triangles.size() + 1);
        build(0, static_cast<int>(triangles.size()));
    }

    void cast(const Ray& ray, Hit& hit) const {
        const Vec inverse{1 / ray.direction.x, 1 / ray.direction.y, 1 / ray.direction.z};
        std::array<int, 64> stack{};
        int depth = 1;
        while (depth > 0) {
            const int index = stack[static_cast<size_t>(--depth)];
            const Node& node = nodes_[static_cast<size_t>(index)];
            if (!touches(node.box, ray, inverse, hit.distance)) continue;
            if (node.right == 0) {
                for (int i = node.begin; i < node.end; ++i) intersect(ray, order_[static_cast<size_t>(i)], hit);
            } else {
                stack[static_cast<size_t>(depth++)] = node.right;
                stack[static_cast<size_t>(depth++)] = index + 1;
            }
        }
    }

  private:
    struct Node {
        Box box;
        int begin = 0, end = 0, right = 0;
    };

    void build(int begin, int end) {
        const size_t index = nodes_.size();
        nodes_.emplace_back();
        Box box;
        for (int i = begin; i < end; ++i)
            for (const Vec& p : triangle(i).corner) box.add(p);
        nodes_[index] = {box, begin, end, 0};
        if (end - begin <= 4) return;
        const Vec size = box.high - box.low;
        const int axis = size.x > size.y && size.x > size.z ? 0 : size.y > size.z ? 1 : 2;
        const int middle = (begin + end) / 2;
        std::nth_element(order_.begin() + begin, order_.begin() + middle, order_.begin() + end,
                         [&](int a, int b) { return centre(a, axis) < centre(b, axis); });
        build(begin, middle);
        nodes_[index].right = static_cast<int>(nodes_.size());
        build(middle, end);
    }

    const Triangle& triangle(int i) const { return triangles_[static_cast<size_t>(order_[static_cast<size_t>(i)])]; }
    double centre(int t, int axis) const {
        const auto& c = triangles_[static_cast<size_t>(t)].corner;
        return c[0][axis] + c[1][axis] + c[2][axis];
    }

    static bool touches(const Box& box, const Ray& ray, Vec inverse, double limit) {
        double near = 0, far = limit;
        for (int axis = 0; axis < 3; ++axis) {
            const double a = (box.low[axis] - ray.origin[axis]) * inverse[axis];
            const double b = (box.high[axis] - ray.origin[axis]) * inverse[axis];
            near = std::max(near, std::min(a, b));
            far = std::min(far, std::max(a, b));
        }
        return near <= far;
    }

    void intersect(const Ray& ray, int index, Hit& hit) const {
        const auto& c = triangles_[static_cast<size_t>(index)].corner;
        const Vec e1 = c[1] - c[0], e2 = c[2] - c[0], p = cross(ray.direction, e2);
        const double determinant = dot(e1, p);
        if (std::abs(determinant) < 1e-14) return;
        const Vec s = ray.origin - c[0], q = cross(s, e1);
        const double u = dot(s, p) / determinant, v = dot(ray.direction, q) / determinant;
        const double t = dot(e2, q) / determinant;
        if (u < 0 || v < 0 || u + v > 1 || t < 1e-6 || t >= hit.distance) return;
        hit = {t, index, u, v};
    }

    const std::vector<Triangle>& triangles_;
    std::vector<int> order_;
    std::vector<Node> nodes_;
};

class Random {
  public:
    explicit Random(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15U + 1) {}
    double next() {
        state_ ^= state_ << 13U;
        state_ ^= state_ >> 7U;
        state_ ^= state_ << 17U;
        return static_cast<double>(state_ >> 11U) * 0x1.0p-53;
    }

  private:
    uint64_t state_;
};

Vec sky(Vec direction) {
    const double up = std::max(0.0, direction.y);
    const Vec horizon{0.50, 0.54, 0.60}, zenith{0.26, 0.34, 0.48};
    // A long bright panel overhead gives the coat something to mirror.
    const double panel = std::exp(-std::pow((up - 0.80) / 0.12, 2));
    return mix(horizon, zenith, std::pow(up, 0.6)) + Vec{1.2, 1.2, 1.2} * panel;
}

// A direction about `axis`, cosine-weighted over the half sphere for spread 1, in a narrow cone for a small one.
Vec around(Vec axis, double spread, Random& random) {
    const Vec side = normalised(cross(std::abs(axis.x) > 0.9 ? Vec{0, 1, 0} : Vec{1, 0, 0}, axis));
    const Vec other = cross(axis, side);
    const double angle = 2 * M_PI * random.next(), r = spread * std::sqrt(random.next());
    return side * (r * std::cos(angle)) + other * (r * std::sin(angle)) + axis * std::sqrt(1 - r * r);
}

struct Surface {
    Vec point, normal, colour;
    double gloss = 0;
    bool back = false;
};

class Tracer {
  public:
    explicit Tracer(const Scene& scene) : scene_(scene), tree_(scene.triangles) {}

    Vec radiance(Ray ray, Random& random) const {
        Vec sum, weight{1, 1, 1};
        for (int bounce = 0; bounce < 4; ++bounce) {
            const Hit hit = cast(ray);
            if (hit.triangle == -1) return sum + weight * sky(ray.direction);
            const Surface surface = surfaceAt(ray, hit);
            if (bounce == 0 && surface.back && scene_.paintBack != 0) return {1, 0, 0};
            const double cosine = std::max(0.0, -dot(ray.direction, surface.normal));
            const double coat = surface.gloss > 0 ? surface.gloss + (0.6 - surface.gloss) * std::pow(1 - cosine, 5) : 0;
            const Vec origin = surface.point + surface.normal * 1e-5;
            if (random.next() < coat) {
                const Vec mirrored = ray.direction + surface.normal * (2 * cosine);
                ray = {origin, around(normalised(mirrored), 0.04, random)};
                if (dot(ray.direction, surface.normal) <= 0) return sum;
                continue;
            }
            weight = weight * surface.colour;
            const Ray toSun{origin, around(scene_.sunDirection, 0.035, random)};
            const double lit = dot(toSun.direction, surface.normal);
            if (lit > 0 && cast(toSun).triangle == -1) sum = sum + weight * scene_.sunColour * lit;
            ray = {origin, around(surface.normal, 1, random)};
        }
        return sum;
    }

  private:
    Hit cast(const Ray& ray) const {
        Hit hit;
        tree_.cast(ray, hit);
        if (ray.direction.y < 0) {
            const double t = (scene_.groundHeight - ray.origin.y) / ray.direction.y;
            if (t > 1e-6 && t < hit.distance) hit = {t, -2, 0, 0};
        }
        return hit;
    }

    Surface surfaceAt(const Ray& ray, const Hit& hit) const {
        const Vec point = ray.origin + ray.direction * hit.distance;
        if (hit.triangle == -2) {
            // The ground fades into the horizon, so that it has no edge.
            const double far = std::sqrt(point.x * point.x + point.z * point.z);
            const Vec colour = mix(scene_.groundColour, {0.24, 0.26, 0.29}, std::clamp((far - 4) / 12, 0.0, 1.0));
            return {point, {0, 1, 0}, colour, 0, false};
        }
        const Triangle& t = scene_.triangles[static_cast<size_t>(hit.triangle)];
        Vec flat = normalised(cross(t.corner[1] - t.corner[0], t.corner[2] - t.corner[0]));
        Vec normal = normalised(t.normal[0] * (1 - hit.u - hit.v) + t.normal[1] * hit.u + t.normal[2] * hit.v);
        const bool back = dot(flat, ray.direction) > 0;
        if (back) {
            flat = flat * -1;
            normal = normal * -1;
        }
        if (dot(normal, ray.direction) > -0.02) normal = flat;
        return {point, normal, t.colour, t.gloss, back};
    }

    const Scene& scene_;
    Tree tree_;
};

bool read(std::istream& in, Scene& scene) {
    size_t count = 0;
    in >> scene.width >> scene.height >> scene.samples >> scene.eye >> scene.target >> scene.fieldOfView;
    in >> scene.sunDirection >> scene.sunColour >> scene.groundHeight >> scene.groundColour >> scene.paintBack >> count;
    if (!in || scene.width <= 0 || scene.height <= 0 || scene.samples <= 0) return false;
    scene.sunDirection = normalised(scene.sunDirection);
    scene.triangles.resize(count);
    for (Triangle& t : scene.triangles) {
        for (Vec& p : t.corner) in >> p;
        for (Vec& n : t.normal) in >> n;
        in >> t.colour >> t.gloss;
    }
    return static_cast<bool>(in);
}

uint8_t developed(double light) {
    const double exposed = light * 0.43;
    const double toned = exposed * (2.51 * exposed + 0.03) / (exposed * (2.43 * exposed + 0.59) + 0.14);
    return static_cast<uint8_t>(255 * std::pow(std::clamp(toned, 0.0, 1.0), 1 / 2.2) + 0.5);
}

void renderRow(const Scene& scene, const Tracer& tracer, int row, uint8_t* out) {
    const Vec forward = normalised(scene.target - scene.eye);
    const Vec right = normalised(cross(forward, {0, 1, 0}));
    const Vec up = cross(right, forward);
    const double half = std::tan(scene.fieldOfView * M_PI / 360);
    for (int column = 0; column < scene.width; ++column) {
        Random random(static_cast<uint64_t>(row) * static_cast<uint64_t>(scene.width) + static_cast<uint64_t>(column) +
                      1);
        for (int i = 0; i < 8; ++i) random.next();
        Vec sum;
        for (int sample = 0; sample < scene.samples; ++sample) {
            const double x = (2 * (column + random.next()) - scene.width) / scene.height * half;
            const double y = (scene.height - 2 * (row + random.next())) / scene.height * half;
            const Vec light = tracer.radiance({scene.eye, normalised(forward + right * x + up * y)}, random);
            sum = sum + Vec{std::min(light.x, 4.0), std::min(light.y, 4.0), std::min(light.z, 4.0)};
        }
        sum = sum * (1.0 / scene.samples);
        *out++ = developed(sum.x);
        *out++ = developed(sum.y);
        *out++ = developed(sum.z);
    }
}

}  // namespace

int main() {
    std::ios::sync_with_stdio(false);
    Scene scene;
    if (!read(std::cin, scene)) {
        std::fputs("trace: the scene on stdin is incomplete\n", stderr);
        return 2;
    }
    const Tracer tracer(scene);
    std::vector<uint8_t> pixels(static_cast<size_t>(scene.width) * static_cast<size_t>(scene.height) * 3);
    const int workers = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    std::vector<std::thread> threads;
    for (int worker = 0; worker < workers; ++worker)
        threads.emplace_back([&, worker] {
            for (int row = worker; row < scene.height; row += workers)
                renderRow(scene, tracer, row, &pixels[static_cast<size_t>(row) * static_cast<size_t>(scene.width) * 3]);
        });
    for (std::thread& thread : threads) thread.join();
    return std::fwrite(pixels.data(), 1, pixels.size(), stdout) == pixels.size() ? 0 : 1;
}

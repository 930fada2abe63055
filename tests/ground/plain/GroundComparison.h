// The ground tree of the module against its plain form, to the bit. Differences are told in words; an empty text says
// that there is none.
#pragma once

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "ground/GroundMeshTree.h"
#include "ground/plain/PlainGroundTree.h"
#include "ground/plain/TrialRays.h"

namespace ond::test {

/// The same sixty-four bits; of numbers that are none, which one it is says nothing.
inline bool sameBits(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

inline bool sameBits(const util::Vector3<double>& a, const util::Vector3<double>& b) {
    return sameBits(a.x, b.x) && sameBits(a.y, b.y) && sameBits(a.z, b.z);
}

inline std::string inWords(const util::Vector3<double>& v) {
    char text[128];
    std::snprintf(text, sizeof text, "(%a, %a, %a)", v.x, v.y, v.z);
    return text;
}

inline std::string nodeDifference(const ovs::addon::GroundMeshTreeNode& node, const plain::PlainGroundTree& expected) {
    if (!sameBits(node.vMin, expected.vMin) || !sameBits(node.vMax, expected.vMax))
        return "the box is " + inWords(node.vMin) + " to " + inWords(node.vMax) + ", not " + inWords(expected.vMin) +
               " to " + inWords(expected.vMax);
    if (node.aTriangleVertices.size() != expected.aTriangleVertices.size())
        return std::to_string(node.aTriangleVertices.size()) + " entries, not " +
               std::to_string(expected.aTriangleVertices.size());
    for (std::size_t i = 0; i < expected.aTriangleVertices.size(); ++i)
        if (!sameBits(node.aTriangleVertices[i], expected.aTriangleVertices[i]))
            return "entry " + std::to_string(i) + " is " + inWords(node.aTriangleVertices[i]) + ", not " +
                   inWords(expected.aTriangleVertices[i]);
    if (node.aChildren.size() != expected.aChildren.size())
        return std::to_string(node.aChildren.size()) + " children, not " + std::to_string(expected.aChildren.size());
    return {};
}

/// @return the first difference of the two trees, depth first
inline std::string treeDifference(const ovs::addon::GroundMeshTreeNode& tree, const plain::PlainGroundTree& expected) {
    struct Pair {
        const ovs::addon::GroundMeshTreeNode* node;
        const plain::PlainGroundTree* expected;
    };
    std::vector<Pair> pending{{&tree, &expected}};
    for (std::size_t visited = 0; !pending.empty(); ++visited) {
        const Pair pair = pending.back();
        pending.pop_back();
        std::string difference = nodeDifference(*pair.node, *pair.expected);
        if (!difference.empty()) return "node " + std::to_string(visited) + ": " + difference;
        for (std::size_t i = pair.expected->aChildren.size(); i > 0; --i)
            pending.push_back({&pair.node->aChildren[i - 1], &pair.expected->aChildren[i - 1]});
    }
    return {};
}

struct Answer {
    bool hit = false;
    double t = 0.0;                ///< means nothing without a hit
    util::Vector3<double> normal;  ///< means nothing without a hit
};

template <typename Tree>
Answer answerOf(const Tree& tree, const TrialRay& ray) {
    Answer answer;
    answer.hit = tree.rayQuery(ray.origin, ray.direction, answer.t, &answer.normal);
    return answer;
}

inline std::string inWords(const Answer& answer) {
    if (!answer.hit) return "no hit";
    char text[64];
    std::snprintf(text, sizeof text, "t %a, normal ", answer.t);
    return text + inWords(answer.normal);
}

inline std::string answerDifference(const Answer& answer, const Answer& expected, const TrialRay& ray) {
    const bool same = answer.hit == expected.hit &&
                      (!expected.hit || (sameBits(answer.t, expected.t) && sameBits(answer.normal, expected.normal)));
    if (same) return {};
    return "from " + inWords(ray.origin) + " along " + inWords(ray.direction) + ": " + inWords(answer) + "; expected " +
           inWords(expected);
}

}  // namespace ond::test

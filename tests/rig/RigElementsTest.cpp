// The list of the rig's elements, and that what is built goes by it.
#include "rig/RigElements.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "rig/RigBuilder.h"
#include "state/FakeHost.h"

namespace {

using namespace ond;
using namespace ond::test;
using namespace ond::ovs::addon;
using rig::ElementId;
using rig::kRigElements;
using rig::RigElement;

constexpr const char* kSuffixes[] = {"_FL", "_FR", "_BL", "_BR"};

std::string nameOf(const RigElement& element) { return std::string(element.name); }

/// Names of an element in the scene: its own, or one per corner.
std::vector<std::string> sceneNames(const RigElement& element) {
    if (!element.atCorners) return {nameOf(element)};
    std::vector<std::string> names;
    for (const char* suffix : kSuffixes) names.push_back(nameOf(element) + suffix);
    return names;
}

TEST(RigElements, HaveTwentySevenDifferentNamesInTheScene) {
    std::set<std::string> names;
    for (const RigElement& element : kRigElements)
        for (const std::string& name : sceneNames(element)) EXPECT_TRUE(names.insert(name).second) << name;
    EXPECT_EQ(names.size(), 27u);
    EXPECT_EQ(names.count(""), 0u);
}

TEST(RigElements, GiveEachNodeItsNameAndItsVehicle) {
    Car car;
    rig::resizeWheels(*car, 4);
    std::set<const rig::SceneNode*> nodes;
    for (const RigElement& element : kRigElements)
        for (std::uint32_t corner = 0; corner < (element.atCorners ? 4u : 1u); ++corner) {
            const rig::SceneNode* node = element.node(*car, corner);
            ASSERT_NE(node, nullptr) << element.name;
            EXPECT_TRUE(nodes.insert(node).second) << element.name << ": another element has this node";
            EXPECT_EQ(node->sName, element.name);
            EXPECT_EQ(node->parent, car.object);
        }
    EXPECT_EQ(nodes.size(), 27u);
    // One that each is known by, lest two rows be swapped.
    EXPECT_EQ(rig::rigElement(ElementId::turnBase).node(*car, 0), &car->cRelativeTurnBaseNode);
    EXPECT_EQ(rig::rigElement(ElementId::followCam).node(*car, 0), &car->cFollowCamNode);
    EXPECT_EQ(rig::rigElement(ElementId::wheelCenter).node(*car, 2), &car->aWheelCenterNodes[2]);
}

TEST(RigElements, HaveNoNodeAtACornerThatTheRigLacks) {
    Car car;
    rig::resizeWheels(*car, 3);
    for (const RigElement& element : kRigElements) {
        if (!element.atCorners) continue;
        EXPECT_NE(element.node(*car, 2), nullptr) << element.name;
        EXPECT_EQ(element.node(*car, 3), nullptr) << element.name;
    }
}

TEST(RigElements, HaveTheirParentsBeforeThem) {
    std::map<std::string, std::string> parents;
    for (std::size_t i = 0; i < kRigElements.size(); ++i) {
        if (kRigElements[i].parent == ElementId::none) continue;
        EXPECT_LT(static_cast<std::size_t>(kRigElements[i].parent), i) << kRigElements[i].name;
        parents[nameOf(kRigElements[i])] = rig::elementName(kRigElements[i].parent);
    }
    const std::map<std::string, std::string> expected = {
        {"ChassisRelocatorMesh", "CarBodyMesh"},   {"WheelRelocatorMesh", "ChassisRelocatorMesh"},
        {"WheelMesh", "WheelRelocatorMesh"},       {"WheelCenterSuspensionMesh", "WheelRelocatorMesh"},
        {"WheelCenterMesh", "WheelRelocatorMesh"}, {"TurnBaseMesh", "CarBodyMesh"},
        {"SteeringWheelMesh", "CarBodyMesh"},      {"CarBodyBaseMesh", "CarBodyMesh"},
        {"ExternalForceMesh", "CarBodyMesh"},      {"TopViewCam", "CarBodyMesh"},
        {"DriverCam", "ChassisRelocatorMesh"},     {"FollowCam", "ChassisRelocatorMesh"},
    };
    EXPECT_EQ(parents, expected);
}

TEST(RigElements, AreShownAndHiddenInTheirTurn) {
    std::vector<std::string> turns;
    for (const RigElement* helper : rig::kHelpers) {
        ASSERT_NE(helper, nullptr) << "no helper has turn " << turns.size() + 1;
        turns.push_back(nameOf(*helper));
    }
    const std::vector<std::string> expected = {
        "TurnBaseMesh",
        "SteeringWheelMesh",
        "GravityDirectionMesh",
        "CarBodyBaseMesh",
        "CarBodyMesh",
        "ChassisRelocatorMesh",
        "TargetMesh",
        "ExternalForceMesh",
        "WheelMesh",
        "WheelCenterMesh",
        "WheelCenterSuspensionMesh",
        "WheelRelocatorMesh",
    };
    EXPECT_EQ(turns, expected);
    for (std::size_t i = 0; i < rig::kHelpers.size(); ++i) EXPECT_EQ(rig::kHelpers[i]->atCorners, i >= 8);
}

TEST(RigElements, AreCamerasOrHelpersThatHaveAMesh) {
    std::vector<std::string> cameras;
    for (const RigElement& element : kRigElements) {
        EXPECT_EQ(element.mesh != nullptr, element.helper > 0) << element.name;
        EXPECT_NE(element.place, nullptr) << element.name;
        if (element.mesh == nullptr) cameras.push_back(nameOf(element));
    }
    EXPECT_EQ(cameras, (std::vector<std::string>{"TopViewCam", "DriverCam", "FollowCam"}));
}

TEST(RigElements, HaveColoursFromBytesInSinglePrecision) {
    const std::map<std::string, std::array<int, 3>> expected = {
        {"CarBodyMesh", {200, 210, 150}},       {"ChassisRelocatorMesh", {224, 143, 87}},
        {"TargetMesh", {86, 224, 86}},          {"WheelRelocatorMesh", {224, 143, 87}},
        {"WheelMesh", {140, 147, 105}},         {"WheelCenterSuspensionMesh", {240, 252, 180}},
        {"WheelCenterMesh", {240, 252, 180}},   {"TurnBaseMesh", {140, 147, 105}},
        {"SteeringWheelMesh", {180, 189, 135}}, {"GravityDirectionMesh", {224, 86, 86}},
        {"CarBodyBaseMesh", {224, 224, 86}},    {"ExternalForceMesh", {224, 224, 86}},
    };
    std::size_t meshes = 0;
    for (const RigElement& element : kRigElements) {
        if (element.mesh == nullptr) continue;
        ++meshes;
        const std::array<int, 3>& bytes = expected.at(nameOf(element));
        EXPECT_EQ(element.colour.red, static_cast<float>(bytes[0]) / 255.0f) << element.name;
        EXPECT_EQ(element.colour.green, static_cast<float>(bytes[1]) / 255.0f) << element.name;
        EXPECT_EQ(element.colour.blue, static_cast<float>(bytes[2]) / 255.0f) << element.name;
    }
    EXPECT_EQ(meshes, expected.size());
}

TEST(RigElements, AreToldWhatTheyAre) {
    using Sent = std::array<std::uint32_t, 3>;  // by create(), by the builder, by a load
    const std::map<std::string, Sent> expected = {
        {"ChassisRelocatorMesh", {0, 17, 57}},
        {"TargetMesh", {17, 0, 17}},
        {"WheelRelocatorMesh", {57, 0, 57}},
        {"GravityDirectionMesh", {0, 17, 17}},
        {"ExternalForceMesh", {17, 0, 17}},
        {"TopViewCam", {0, 17, 17}},
        {"DriverCam", {0, 17, 17}},
    };
    for (const RigElement& element : kRigElements) {
        const Sent sent{element.whenMade, element.whenBuilt, element.whenBound};
        const auto found = expected.find(nameOf(element));
        EXPECT_EQ(sent, (found == expected.end() ? Sent{} : found->second)) << element.name;
    }
}

/// A vehicle whose rig has just been built.
struct BuiltCar : Car {
    explicit BuiltCar(bool wireframe = false) {
        object->bWireframeMode = wireframe;
        rig::buildRig(*object);
    }
};

TEST(RigElements, AreMadeInTheirOrderCornerByCorner) {
    BuiltCar car;
    std::vector<std::string> made;
    for (const std::string& line : car.host.log)
        for (const std::string kind : {"mesh ", "camera "})
            if (line.starts_with(kind)) made.push_back(line.substr(kind.size()));

    std::vector<std::string> expected;
    for (std::size_t i = 0; i < kRigElements.size(); ++i) {
        if (!kRigElements[i].atCorners) {
            expected.push_back(nameOf(kRigElements[i]));
            continue;
        }
        const std::size_t first = i;
        while (kRigElements[i + 1].atCorners) ++i;
        for (const char* suffix : kSuffixes)
            for (std::size_t k = first; k <= i; ++k) expected.push_back(nameOf(kRigElements[k]) + suffix);
    }
    EXPECT_EQ(made, expected);
    EXPECT_EQ(made.size(), 27u);
    EXPECT_EQ(made[3], "WheelRelocatorMesh_FL");
    EXPECT_EQ(made.back(), "FollowCam");
}

TEST(RigElements, AreMadeAsTheirRowsSay) {
    for (const bool wireframe : {false, true}) {
        BuiltCar car(wireframe);
        for (const RigElement& element : kRigElements)
            for (std::uint32_t corner = 0; corner < (element.atCorners ? 4u : 1u); ++corner) {
                const std::string name = sceneNames(element)[corner];
                SCOPED_TRACE(name);
                const FakeElement& made = *car.host.elements.at(name);
                EXPECT_EQ(element.node(*car, corner)->pMesh, &made);
                const ovs::MeshHandle* parent = nullptr;
                if (element.parent != ElementId::none)
                    parent = rig::rigElement(element.parent).node(*car, corner)->pMesh;
                EXPECT_EQ(made.parent, parent);
                EXPECT_EQ(car.host.count("extension 17 " + name) + car.host.count("extension 57 " + name),
                          (element.whenMade != 0) + (element.whenBuilt != 0));
                if (element.mesh == nullptr) {
                    EXPECT_TRUE(made.colour.empty());
                    continue;
                }
                EXPECT_EQ(made.colour,
                          (std::vector<float>{element.colour.red, element.colour.green, element.colour.blue}));
                EXPECT_EQ(made.wireframe, wireframe && name != "TargetMesh");
                EXPECT_EQ(made.mesh.getNumVertices(), element.mesh(*car, corner).getNumVertices());
                EXPECT_EQ(car.host.count("own colour " + name + " on"), 1);
                EXPECT_EQ(made.shown, name != "CarBodyBaseMesh");
            }
        EXPECT_EQ(car.host.elements.size(), 27u);
        EXPECT_EQ(car.host.taken, 0);
    }
}

}  // namespace

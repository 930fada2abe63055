// What the tests of take files share: a folder of their own, driven stages, and comparisons to the bit.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "stage/Stage.h"
#include "stage/TakeContents.h"
#include "stage/TakeFile.h"
#include "stage/WholeFile.h"
#include "whole/Grounds.h"

namespace ond::test {

using Bytes = std::vector<unsigned char>;

inline const stage::Module& takeModule() {
    static const stage::Module module(VEHICLE_MODULE_PATH);
    return module;
}

/// A folder that is gone with the test.
class OwnFolder {
  public:
    OwnFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "quadrig-take-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) std::abort();
        m_path = pattern;
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;
    ~OwnFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    [[nodiscard]] std::string file(const std::string& name) const { return m_path + "/" + name; }
    [[nodiscard]] std::size_t count() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(m_path), {}));
    }

  private:
    std::string m_path;
};

inline Bytes readFile(const std::string& path) { return stage::readWhole(path, std::size_t{1} << 30U); }

/// Axes that change all the time, as functions of the time alone.
inline void script(stage::Vehicle& vehicle, double gas = 0.8) {
    vehicle.axis("Gas Pedal").script = [gas](double time) { return gas * std::cos(0.3 * time); };
    vehicle.axis("Steering").script = [](double time) { return 0.5 * std::sin(1.7 * time); };
}

inline void scriptAll(stage::Stage& stage, double gas = 0.8) {
    for (const auto& vehicle : stage.vehicles) script(*vehicle, gas);
}

/// A stage with one car on waves, or on the plane, that keeps its journal; nothing is driven yet.
inline std::unique_ptr<stage::Stage> carOn(bool ground, stage::FrameRate rate = {25, 1}) {
    auto host = std::make_unique<stage::Stage>(takeModule(), rate);
    host->keepsJournal = true;
    stage::Vehicle& car = host->addVehicle("car");
    if (ground) {
        stage::Element& waves = host->scene.addMesh("waves", wavyGround());
        host->scene.reparent(car.element("GravityDirectionMesh"), &waves);
    } else {
        car.put("Use Fast Ray Cast", 0.0);
    }
    script(car);
    return host;
}

inline bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

inline bool sameBits(const util::Matrix4& a, const util::Matrix4& b) {
    return std::memcmp(a.m.data(), b.m.data(), sizeof a.m) == 0;
}

inline bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](double x, double y) { return sameBits(x, y); });
}

inline void expectSame(const stage::Track& a, const stage::Track& b, const std::string& name) {
    EXPECT_TRUE(sameBits(a.pose, b.pose)) << name;
    ASSERT_EQ(a.keys.size(), b.keys.size()) << name;
    for (std::size_t i = 0; i < a.keys.size(); ++i) {
        ASSERT_TRUE(sameBits(a.keys[i].time, b.keys[i].time)) << name << " key " << i;
        ASSERT_TRUE(sameBits(a.keys[i].local, b.keys[i].local)) << name << " key " << i;
    }
}

inline std::size_t placeOf(const stage::Element* element) {
    return element == nullptr ? std::size_t(-1) : element->index;
}

inline void expectSame(const stage::Element& a, const stage::Element& b) {
    SCOPED_TRACE(a.name);
    EXPECT_EQ(a.name, b.name);
    EXPECT_EQ(a.identifier, b.identifier);
    EXPECT_EQ(a.vehicle, b.vehicle);
    EXPECT_EQ(placeOf(a.parent), placeOf(b.parent));
    ASSERT_EQ(a.children.size(), b.children.size());
    for (std::size_t i = 0; i < a.children.size(); ++i) EXPECT_EQ(a.children[i]->index, b.children[i]->index);
    expectSame(a.track, b.track, a.name);
    EXPECT_EQ(a.deleted, b.deleted);
    EXPECT_EQ(a.shown, b.shown);
    EXPECT_EQ(a.ownColour, b.ownColour);
    EXPECT_EQ(a.wireframe, b.wireframe);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(a.colour[i], b.colour[i]);
    EXPECT_EQ(a.isCamera, b.isCamera);
    EXPECT_EQ(a.fieldOfView, b.fieldOfView);
    EXPECT_EQ(a.surface, b.surface);
    EXPECT_EQ(a.shape.vertices, b.shape.vertices);
    EXPECT_EQ(a.shape.faces, b.shape.faces);
    EXPECT_EQ(a.shape.texCoords, b.shape.texCoords);
    EXPECT_EQ(a.shape.tFaces, b.shape.tFaces);
    EXPECT_EQ(a.placedByUser, b.placedByUser);
    EXPECT_EQ(a.selected, b.selected);
}

inline void expectSame(const stage::Snapshot& a, const stage::Snapshot& b) {
    EXPECT_EQ(stage::fingerprint(a), stage::fingerprint(b));
    EXPECT_EQ(a.now, b.now);
    ASSERT_EQ(a.elements.size(), b.elements.size());
    for (std::size_t i = 0; i < a.elements.size(); ++i) {
        expectSame(a.elements[i].track, b.elements[i].track, "element " + std::to_string(i) + " of a snapshot");
        EXPECT_EQ(a.elements[i].parent, b.elements[i].parent);
        EXPECT_EQ(a.elements[i].children, b.elements[i].children);
        EXPECT_EQ(a.elements[i].deleted, b.elements[i].deleted);
        EXPECT_EQ(a.elements[i].shown, b.elements[i].shown);
    }
    ASSERT_EQ(a.vehicles.size(), b.vehicles.size());
    for (std::size_t i = 0; i < a.vehicles.size(); ++i) {
        EXPECT_EQ(a.vehicles[i].name, b.vehicles[i].name);
        EXPECT_EQ(a.vehicles[i].armed, b.vehicles[i].armed);
        EXPECT_EQ(a.vehicles[i].block, b.vehicles[i].block);
        EXPECT_EQ(a.vehicles[i].rows, b.vehicles[i].rows);
        EXPECT_EQ(a.vehicles[i].channels, b.vehicles[i].channels);
    }
}

inline void expectSame(const stage::RunRecord& a, const stage::RunRecord& b) {
    EXPECT_EQ(a.from, b.from);
    EXPECT_EQ(a.to, b.to);
    EXPECT_EQ(a.left, b.left);
    ASSERT_EQ(a.before == nullptr, b.before == nullptr);
    if (a.before != nullptr) expectSame(*a.before, *b.before);
    ASSERT_EQ(a.inputs.size(), b.inputs.size());
    for (std::size_t i = 0; i < a.inputs.size(); ++i) {
        EXPECT_EQ(a.inputs[i].armed, b.inputs[i].armed);
        EXPECT_EQ(a.inputs[i].channels, b.inputs[i].channels);
        EXPECT_TRUE(sameBits(a.inputs[i].axes, b.inputs[i].axes));
    }
}

/// Everything of the stages that a user or a run can tell apart.
inline void expectSame(stage::Stage& a, stage::Stage& b) {
    EXPECT_EQ(a.scene.clock.rate, b.scene.clock.rate);
    ASSERT_EQ(a.scene.elements.size(), b.scene.elements.size());
    for (std::size_t i = 0; i < a.scene.elements.size(); ++i) expectSame(*a.scene.elements[i], *b.scene.elements[i]);
    expectSame(a.snapshot(), b.snapshot());
    ASSERT_EQ(a.journal.size(), b.journal.size());
    for (std::size_t i = 0; i < a.journal.size(); ++i) expectSame(a.journal[i], b.journal[i]);
    ASSERT_EQ(a.curves.size(), b.curves.size());
    for (std::size_t i = 0; i < a.curves.size(); ++i) {
        EXPECT_EQ(a.curves[i].first, b.curves[i].first);
        EXPECT_EQ(a.curves[i].columns, b.curves[i].columns);
        EXPECT_TRUE(sameBits(a.curves[i].values, b.curves[i].values));
    }
    ASSERT_EQ(a.messages.size(), b.messages.size());
    for (std::size_t i = 0; i < a.messages.size(); ++i) {
        EXPECT_EQ(a.messages[i].frame, b.messages[i].frame);
        EXPECT_EQ(a.messages[i].vehicle, b.messages[i].vehicle);
        EXPECT_EQ(a.messages[i].caption, b.messages[i].caption);
        EXPECT_EQ(a.messages[i].text, b.messages[i].text);
        EXPECT_EQ(a.messages[i].count, b.messages[i].count);
    }
}

/// What `action` throws, or a text that says that it did not.
template <typename Action>
std::string errorOf(Action action) {
    try {
        action();
    } catch (const std::exception& error) {
        return error.what();
    }
    return "no error";
}

}  // namespace ond::test

// Files that tests of the ground importer write, and what they look at in the result.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ond/util/LittleEndian.h"
#include "stage/GroundFile.h"

namespace ond::test {

/// A folder of the running test that goes away with it.
class GroundFolder {
  public:
    GroundFolder() {
        const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
        m_folder = std::filesystem::path(::testing::TempDir()) /
                   (std::string("ground-") + test->test_suite_name() + "-" + test->name());
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
    }
    ~GroundFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    GroundFolder(const GroundFolder&) = delete;
    GroundFolder& operator=(const GroundFolder&) = delete;

    [[nodiscard]] std::string path(const std::string& name) const { return (m_folder / name).string(); }

    /// Writes a file and returns its path.
    [[nodiscard]] std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }

    /// Writes a file and reads it as a ground.
    [[nodiscard]] stage::GroundScene read(const std::string& name, const std::string& bytes) const {
        return stage::readGround(write(name, bytes));
    }

    /// What reading such a file fails with; empty if it does not. Each sentence names the file, and is one.
    [[nodiscard]] std::string errorOf(const std::string& name, const std::string& bytes) const {
        return errorOfPath(write(name, bytes));
    }

    [[nodiscard]] static std::string errorOfPath(const std::string& path) {
        try {
            (void)stage::readGround(path);
            return {};
        } catch (const stage::GroundError& error) {
            const std::string text = error.what();
            EXPECT_EQ(text.rfind("The ground file \"" + path + "\" cannot be used: ", 0), 0U) << text;
            EXPECT_EQ(text.back(), '.') << text;
            EXPECT_NE(text.find("; "), std::string::npos) << "says what to do: " << text;
            EXPECT_EQ(text.find('\n'), std::string::npos) << text;
            return text;
        }
    }

  private:
    std::filesystem::path m_folder;
};

template <typename T>
void append(std::string& bytes, T value) {
    unsigned char raw[sizeof(T)];
    util::storeLittleEndian(raw, value);
    bytes.append(reinterpret_cast<const char*>(raw), sizeof(T));
}

template <typename T>
std::string packed(const std::vector<T>& values) {
    std::string bytes;
    for (const T value : values) append(bytes, value);
    return bytes;
}

/// A .glb file from the text of its JSON and the bytes of its buffer.
inline std::string glbOf(std::string json, std::string binary) {
    while (json.size() % 4 != 0) json += ' ';
    while (binary.size() % 4 != 0) binary += '\0';
    std::string bytes = "glTF";
    append(bytes, std::uint32_t{2});
    append(bytes, static_cast<std::uint32_t>(12 + 8 + json.size() + 8 + binary.size()));
    append(bytes, static_cast<std::uint32_t>(json.size()));
    bytes += "JSON" + json;
    append(bytes, static_cast<std::uint32_t>(binary.size()));
    bytes += std::string("BIN\0", 4) + binary;
    return bytes;
}

/// Collects the buffer of a glTF file with its views and accessors.
class GltfMaker {
  public:
    nlohmann::json json = {{"asset", {{"version", "2.0"}}},
                           {"buffers", nlohmann::json::array()},
                           {"bufferViews", nlohmann::json::array()},
                           {"accessors", nlohmann::json::array()}};
    std::string binary;

    /// Index of the new view.
    int addView(const std::string& bytes) {
        while (binary.size() % 4 != 0) binary += '\0';
        json["bufferViews"].push_back({{"buffer", 0}, {"byteOffset", binary.size()}, {"byteLength", bytes.size()}});
        binary += bytes;
        json["buffers"] = {{{"byteLength", binary.size()}}};
        return static_cast<int>(json["bufferViews"].size()) - 1;
    }

    /// Index of the new accessor.
    template <typename T>
    int add(const std::string& shape, const std::vector<T>& values) {
        const std::size_t width = shape == "SCALAR" ? 1 : shape == "VEC3" ? 3 : 4;
        const int view = addView(packed(values));
        json["accessors"].push_back(
            {{"bufferView", view}, {"componentType", codeOf(T())}, {"count", values.size() / width}, {"type", shape}});
        return static_cast<int>(json["accessors"].size()) - 1;
    }

    [[nodiscard]] std::string glb() const { return glbOf(json.dump(), binary); }

  private:
    static int codeOf(std::int8_t) { return 5120; }
    static int codeOf(std::uint8_t) { return 5121; }
    static int codeOf(std::int16_t) { return 5122; }
    static int codeOf(std::uint16_t) { return 5123; }
    static int codeOf(std::uint32_t) { return 5125; }
    static int codeOf(float) { return 5126; }
};

/// A node "carrier" at (1, 2, 3), moved by an animation, and below it "plate", a unit square of two triangles.
inline GltfMaker plateOnCarrier() {
    GltfMaker file;
    const int positions = file.add<float>("VEC3", {0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 1});
    const int indices = file.add<std::uint16_t>("SCALAR", {0, 2, 1, 0, 3, 2});
    const int times = file.add<float>("SCALAR", {0.0F, 0.5F});
    const int moves = file.add<float>("VEC3", {1, 2, 3, 5, 2, 3});
    file.json["meshes"] = {{{"primitives", {{{"attributes", {{"POSITION", positions}}}, {"indices", indices}}}}}};
    file.json["nodes"] = {{{"name", "carrier"}, {"translation", {1, 2, 3}}, {"children", {1}}},
                          {{"name", "plate"}, {"mesh", 0}}};
    file.json["scenes"] = {{{"nodes", {0}}}};
    file.json["scene"] = 0;
    file.json["animations"] = {{{"samplers", {{{"input", times}, {"output", moves}}}},
                                {"channels", {{{"sampler", 0}, {"target", {{"node", 0}, {"path", "translation"}}}}}}}};
    return file;
}

/// The corners of all triangles of a node, three of each.
inline std::vector<util::Vector3<double>> cornersOf(const stage::GroundNode& node) {
    std::vector<util::Vector3<double>> corners;
    for (const int index : node.mesh->faces) corners.push_back(node.mesh->vertices.at(static_cast<std::size_t>(index)));
    return corners;
}

/// Checks what readGround() promises of every scene.
inline void expectSound(const stage::GroundScene& scene) {
    std::int64_t triangles = 0;
    const auto expectFinite = [](const util::Matrix4& m) {
        for (const double number : m.m) EXPECT_TRUE(std::isfinite(number));
    };
    for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
        const stage::GroundNode& node = scene.nodes[i];
        EXPECT_GE(node.parent, -1);
        EXPECT_LT(node.parent, static_cast<int>(i));
        expectFinite(node.local);
        for (const stage::GroundKey& key : node.keys) {
            EXPECT_TRUE(std::isfinite(key.time));
            expectFinite(key.local);
        }
        if (!node.mesh) continue;
        triangles += node.mesh->getNumFaces();
        for (const auto& v : node.mesh->vertices) {
            EXPECT_TRUE(std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z));
        }
        for (const int index : node.mesh->faces) {
            EXPECT_GE(index, 0);
            EXPECT_LT(index, node.mesh->getNumVertices());
        }
    }
    EXPECT_EQ(scene.triangles, triangles);
    EXPECT_GT(triangles, 0);
}

}  // namespace ond::test

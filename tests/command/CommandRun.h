// Running commands in process, in a folder of their own.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "command/Command.h"
#include "command/Numbers.h"
#include "ond/util/CMesh.h"

namespace ond::test {

/// What a command answered.
struct Answer {
    int code = 0;
    std::string out;
    std::string err;
};

/// What a test of commands stands on: an empty folder, which is gone behind the test.
class CommandRun : public ::testing::Test {
  protected:
    void SetUp() override {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string(test->test_suite_name()) + "." + test->name() + "." + std::to_string(getpid());
        for (char& c : name)
            if (c == '/') c = '-';
        m_folder = std::filesystem::temp_directory_path() / name;
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
        setenv("QUADRIG_MODULE", VEHICLE_MODULE_PATH, 1);
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    /// A path in the folder.
    [[nodiscard]] std::string path(const std::string& name) const { return (m_folder / name).string(); }
    /// Writes a file into the folder.
    /// @return its path
    std::string put(const std::string& name, const std::string& text) const {
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }
    [[nodiscard]] static std::string read(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    [[nodiscard]] static bool exists(const std::string& path) { return std::filesystem::exists(path); }
    /// Names in the folder, sorted.
    [[nodiscard]] std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

    static Answer run(const std::vector<std::string>& arguments) {
        std::ostringstream out;
        std::ostringstream err;
        const int code = command::runCommand(arguments, {out, err, false, false});
        return {code, out.str(), err.str()};
    }
    /// The same, where it must succeed.
    static Answer done(const std::vector<std::string>& arguments) {
        Answer answer = run(arguments);
        EXPECT_EQ(answer.code, 0) << answer.err;
        return answer;
    }

    /// Every line of a trace of the take.
    static std::vector<nlohmann::json> trace(const std::string& take) {
        std::vector<nlohmann::json> lines;
        std::istringstream text(done({"trace", take}).out);
        for (std::string line; std::getline(text, line);) lines.push_back(nlohmann::json::parse(line));
        return lines;
    }

    /// A mesh as a Wavefront file in the folder.
    std::string putMesh(const std::string& name, const util::CMesh& mesh) const {
        std::string text = "o " + std::filesystem::path(name).stem().string() + "\n";
        for (const auto& v : mesh.vertices)
            text +=
                "v " + command::exactText(v.x) + " " + command::exactText(v.y) + " " + command::exactText(v.z) + "\n";
        for (int i = 0; i < mesh.getNumFaces(); ++i) {
            text += "f";
            for (int k = 0; k < 3; ++k) text += " " + std::to_string(mesh.getFaceVertex(i, k) + 1);
            text += "\n";
        }
        return put(name, text);
    }

  private:
    std::filesystem::path m_folder;
};

/// The position in a world matrix of a trace.
inline util::Vector3<double> placeIn(const nlohmann::json& line, const std::string& element) {
    const auto& m = line.at("elements").at(element);
    return {m[12].get<double>(), m[13].get<double>(), m[14].get<double>()};
}

}  // namespace ond::test

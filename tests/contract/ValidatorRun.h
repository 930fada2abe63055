// Runs of the validator, `quadrig validate`, as a process of its own, on modules that are told to misbehave.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <string_view>

namespace ond::test {

/// What the validator answered.
struct Verdict {
    int code = 0;  ///< -1 if it did not end by itself
    std::string out;
    std::string err;

    [[nodiscard]] nlohmann::json json() const { return nlohmann::json::parse(out); }
};

/// Stands on an empty folder, which is gone behind the test.
class ValidatorRun : public ::testing::Test {
  protected:
    void SetUp() override {
        m_folder = std::filesystem::temp_directory_path() / ("quadrig-validate-" + std::to_string(getpid()));
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    [[nodiscard]] std::string path(std::string_view name) const { return (m_folder / name).string(); }
    static std::string read(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    /// The module that misbehaves in the way of that name, or well under any other.
    [[nodiscard]] std::string module(std::string_view name) const {
        const std::filesystem::path modules = CONTRACT_MODULES;
        const std::filesystem::path built = modules / (std::string(name) + ".so");
        if (std::filesystem::exists(built)) return built.string();
        const std::string link = path(std::string(name) + ".so");
        const char* behind = name.starts_with("car-") ? "nearly-the-car.so" : "good.so";
        if (!std::filesystem::exists(link)) std::filesystem::create_symlink(modules / behind, link);
        return link;
    }

    /// `quadrig validate` through a shell; the words must need no quoting.
    Verdict validate(const std::string& words) const {
        const std::string line =
            std::string(QUADRIG_PROGRAM_PATH) + " validate " + words + " >" + path("out") + " 2>" + path("err");
        const int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read(path("out")), read(path("err"))};
    }

  private:
    std::filesystem::path m_folder;
};

}  // namespace ond::test

// The committed page of parameters is what the catalogue makes.
#include "../../tools/ParametersPage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

TEST(ParametersPage, IsCurrent) {
    std::ifstream in(std::filesystem::path(__FILE__).parent_path() / "../../docs/parameters.md", std::ios::binary);
    const std::string committed((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(committed, quadrig::tools::parametersPage()) << "make it anew: print_catalogue > docs/parameters.md";
    EXPECT_GT(committed.size(), 10000u);
}

TEST(ParametersPage, ShowsDefaultsRangesAndLineFeeds) {
    const std::string page = quadrig::tools::parametersPage();
    for (const char* line : {"| Multiplier | &#128276; | number | 3.6 | 0.001 to 1e+07 | 0.001 |",
                             "| Use Reverse As ABS Brake |  | check box | on | |  |",
                             "| Ray Multiplier | &#128276; | whole number | 10 | 1 to 100 | 1 |",
                             "| Steering Wheel (Right/Left) Maximum | &#128276; | number | 0.7 | 0 to 1.57 | 0.001 |",
                             "TargetMesh.<br>Constrain the TargetMesh"})
        EXPECT_NE(page.find(line), std::string::npos) << line;
}

}  // namespace

// One frozen block per version of the format, and a few with odd names: each is loaded, and the vehicle is compared
// field by field and key by key with what stands beside the block. tests/reference/write_blocks.py made both.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "state/FakeHost.h"
#include "state/LoadState.h"
#include "state/VehicleFields.h"

namespace {

using namespace ond;
using namespace ond::test;

std::filesystem::path folder() { return std::filesystem::path(__FILE__).parent_path() / "../golden/blocks"; }

std::vector<std::string> blockNames() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder()))
        if (entry.path().extension() == ".bin") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

Bytes bytesOf(const std::string& name) {
    std::ifstream in(folder() / (name + ".bin"), std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

double nextNumber(std::istream& in) {
    std::string word;
    in >> word;
    return std::strtod(word.c_str(), nullptr);
}

void compare(std::istream& in, double found) { EXPECT_EQ(found, nextNumber(in)); }
void compare(std::istream& in, bool found) { EXPECT_EQ(found ? 1.0 : 0.0, nextNumber(in)); }
void compare(std::istream& in, int found) { EXPECT_EQ(found, nextNumber(in)); }
void compare(std::istream& in, const util::Vector3<double>& found) {
    for (const double n : {found.x, found.y, found.z}) compare(in, n);
}
void compare(std::istream& in, const util::Quat<double>& found) {
    for (const double n : {found.x, found.y, found.z, found.w}) compare(in, n);
}
void compare(std::istream& in, const util::QTransform<double>& found) {
    compare(in, found.position);
    compare(in, found.rotation);
}

/// The rest of a line "keys NAME KIND N (T V..)*N".
template <class T>
void compareHistory(std::istream& in, const util::AVar<T>& variable) {
    std::string kind;
    std::size_t count = 0;
    in >> kind >> count;
    ASSERT_EQ(variable.keys.size(), count);
    for (const util::AVarKey<T>& key : variable.keys) {
        EXPECT_EQ(key.time, nextNumber(in));
        compare(in, key.value);
    }
}

RigAge rigAge(const std::string& word) {
    return word == "numbered" ? RigAge::numbered : word == "middle" ? RigAge::middle : RigAge::current;
}

std::size_t countOf(const ovs::addon::CCarCamObject& v, const std::string& nodes) {
    if (nodes == "relocators") return v.aWheelRelocatorNodes.size();
    if (nodes == "wheels") return v.aWheelNodes.size();
    if (nodes == "centers") return v.aWheelCenterNodes.size();
    return v.aWheelCenterSuspensionNodes.size();
}

/// Compares the vehicle with one line of an expectation. The first two lines have been dealt with before.
void compareLine(const std::string& line, ovs::addon::CCarCamObject& v) {
    SCOPED_TRACE(line);
    std::istringstream in(line);
    std::string word;
    std::string name;
    in >> word >> name;
    if (word == "count") {
        compare(in, static_cast<double>(countOf(v, name)));
    } else if (word == "double") {
        compare(in, *numberFields(v).at(name));
    } else if (word == "bool") {
        compare(in, *flagFields(v).at(name));
    } else if (word == "int") {
        compare(in, static_cast<double>(*wholeFields(v).at(name)));
    } else if (word == "matrix") {
        for (const double element : matrixFields(v).at(name)->m) compare(in, element);
    } else if (word == "keys") {
        bool known = false;
        forEachHistory(v, [&](const std::string& key, const auto& variable) {
            if (key != name) return;
            known = true;
            compareHistory(in, variable);
        });
        EXPECT_TRUE(known);
    } else if (word == "mesh") {
        EXPECT_EQ(v.cMesh_storedGroundMesh.getNumVertices(), std::atoi(name.c_str()));
        compare(in, static_cast<double>(v.cMesh_storedGroundMesh.getNumFaces()));
    } else {
        ADD_FAILURE() << "no such line";
    }
}

class GoldenBlock : public testing::TestWithParam<std::string> {
  protected:
    void SetUp() override {
        std::ifstream in(folder() / (GetParam() + ".txt"));
        std::string word;
        std::string age;
        std::getline(in, age);
        std::getline(in, word);
        ASSERT_EQ(word, "result 0");
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        ASSERT_GT(lines.size(), 150u);
        putRig(car.host, rigAge(age.substr(age.find(' ') + 1)));
        car->declareParameters();
        car.host.block = bytesOf(GetParam());
        car.host.hasBlock = true;
    }
    void compareAll() {
        for (const std::string& line : lines) compareLine(line, *car);
    }
    Car car;
    std::vector<std::string> lines;
};

TEST_P(GoldenBlock, LoadsAsExpected) {
    ASSERT_EQ(car->loadState(), 0u);
    compareAll();
    EXPECT_EQ(car.host.taken, 0) << "everything taken from the host was given back";
}

TEST_P(GoldenBlock, LoadsTheSameWhenItsSizeIsKnown) {
    const Bytes& block = car.host.block;
    ASSERT_EQ(ovs::addon::loadStateFrom(*car, block.data(), block.size()), 0u);
    compareAll();
}

TEST_P(GoldenBlock, SavesAndLoadsAgainWithTheSameBytes) {
    ASSERT_EQ(car->loadState(), 0u);
    car->saveState();
    const Bytes first = car.host.block;

    Car second;
    putRig(second.host);
    second.host.block = first;
    second.host.hasBlock = true;
    ASSERT_EQ(second->loadState(), 0u);
    second->saveState();
    EXPECT_EQ(second.host.block, first);
    EXPECT_GT(first.size(), 3000u);
}

INSTANTIATE_TEST_SUITE_P(Versions, GoldenBlock, testing::ValuesIn(blockNames()),
                         [](const auto& param) { return "V" + param.param; });

TEST(GoldenBlocks, AreAllThere) {
    // Every number that a version step compares with, and names that fall between or beside the steps.
    const std::vector<std::string> wanted = {
        "100",  "104",  "106",  "107",  "108",  "109",  "110",  "112",  "113",  "115",  "116",  "119",  "122",
        "123",  "124",  "125",  "126",  "127",  "128",  "129",  "130",  "131",  "132",  "134",  "137",  "139",
        "140",  "8107", "8108", "8114", "8115", "8118", "8119", "8120", "8121", "8124", "8125", "8126", "8129",
        "8130", "8133", "8135", "8136", "8137", "8138", "8139", "8140", "8143", "8145", "8148", "9201", "90",
        "99",   "1000", "114",  "117",  "118",  "8113", "8117", "8134", "8147"};
    const std::vector<std::string> found = blockNames();
    for (const std::string& name : wanted) EXPECT_NE(std::find(found.begin(), found.end(), name), found.end()) << name;
    EXPECT_EQ(found.size(), wanted.size());
}

}  // namespace

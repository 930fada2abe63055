#include "determinism/GoldenHash.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "util/PinnedRandom.h"

namespace ond::test {

namespace {

std::string hex(std::uint64_t value) {
    std::ostringstream text;
    text << std::hex << std::setw(16) << std::setfill('0') << value;
    return text.str();
}

}  // namespace

std::uint64_t mathLibraryFingerprint() {
    BitHash hash;
    PinnedRandom random(20);
    for (int i = 0; i < 20000; ++i) {
        // volatile: the compiler must not fold the calls with a library of its own.
        volatile double x = random.in(-7.0, 7.0);
        volatile double unit = random.in(-1.0, 1.0);
        volatile double positive = random.in(0.0, 4.0);
        hash.add(std::sin(x));
        hash.add(std::cos(x));
        hash.add(std::tan(x));
        hash.add(std::atan2(x, unit));
        hash.add(std::acos(unit));
        hash.add(std::pow(positive, 1.3));
        hash.add(std::fmod(x * 100.0, 6.283185307179586));
        hash.add(std::sqrt(positive));
    }
    return hash.value();
}

void expectGoldenHash(const std::string& name, std::uint64_t hash, const std::string& advice) {
    const std::string platform = hex(mathLibraryFingerprint());
    const std::string line = platform + " " + hex(hash);
    std::filesystem::create_directories(QUADRIG_HASH_OUT);
    std::ofstream(std::filesystem::path(QUADRIG_HASH_OUT) / (name + ".txt")) << line << "\n";

    std::ifstream recorded(std::filesystem::path(QUADRIG_HASH_RECORDED) / (name + ".txt"));
    std::string recordedPlatform;
    std::string recordedHash;
    while (recorded >> recordedPlatform >> recordedHash)
        if (recordedPlatform == platform) {
            EXPECT_EQ(recordedHash, hex(hash)) << "the bits of '" << name << "' have changed\n" << advice;
            return;
        }
    const std::string toRecord = "to record it, add\n" + line + "\nto tests/determinism/recorded/" + name + ".txt";
    ASSERT_FALSE(recordedPlatform.empty()) << "no hash of '" << name << "' is recorded; " << toRecord;
    GTEST_SKIP() << "no hash of '" << name << "' is recorded for this C library and processor; " << toRecord;
}

}  // namespace ond::test

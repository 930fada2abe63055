// A long recording runs, is saved, opened and resumed, and its size grows with its frames alone. Three minutes as a
// rule; an hour where QUADRIG_REPEAT is 20 or more.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "command/TraceLines.h"
#include "stage/Stage.h"
#include "stage/TakeFile.h"
#include "stage/WholeFile.h"

namespace ond::test {
namespace {

using stage::Stage;
using stage::Vehicle;

constexpr int kHour = 90000;
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
constexpr bool kSanitized = __has_feature(address_sanitizer);
#else
constexpr bool kSanitized = false;
#endif

int framesToDrive() {
    const char* repeat = std::getenv("QUADRIG_REPEAT");
    const int times = repeat != nullptr ? std::clamp(std::atoi(repeat), 1, 20) : 1;
    return kSanitized ? 1500 : kHour / 20 * times;
}

/// The most memory that the process has had so far, bytes.
double peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

class LongTake : public ::testing::Test {
  protected:
    const stage::Module m_module{VEHICLE_MODULE_PATH};
    const int m_frames = framesToDrive();
    const std::string m_take =
        (std::filesystem::temp_directory_path() / ("LongTake." + std::to_string(getpid()) + ".glb")).string();

    void TearDown() override { std::filesystem::remove(m_take); }

    std::unique_ptr<Stage> parked() const {
        auto host = std::make_unique<Stage>(m_module);
        host->keepsJournal = true;
        host->logsCalls = false;
        host->addVehicle("Car").put("Gravel Shake Offset Value", 0.0);
        return host;
    }

    /// In bends that never come back to the same place, at speeds that never settle.
    static void drive(Stage& host, int from, int to) {
        Vehicle& car = *host.vehicles.front();
        car.axis("Gas Pedal").script = [](double time) { return 0.5 + 0.3 * std::sin(0.31 * time); };
        car.axis("Steering").script = [](double time) { return 0.5 + 0.4 * std::sin(0.17 * time); };
        EXPECT_TRUE(host.run(from, to)) << host.breakdown()->sentence();
        EXPECT_EQ(host.recorded(), std::make_pair(0, to));
    }

    static void expectSameLines(const Stage& left, const Stage& right, const std::vector<int>& frames) {
        const command::TraceWriter a(left);
        const command::TraceWriter b(right);
        for (const int frame : frames) ASSERT_EQ(a.line(frame), b.line(frame)) << "frame " << frame;
    }
};

TEST_F(LongTake, RunsIsSavedOpenedAndResumed) {
    const std::unique_ptr<Stage> host = parked();
    const double before = peakMemory();
    drive(*host, 0, m_frames);
    saveTake(*host, m_take);
    const double perFrame = (peakMemory() - before) / m_frames;
    // What a frame needs was measured as 3.9 kB in the file, and as 16 kB in memory while it is written.
    EXPECT_LT(static_cast<double>(std::filesystem::file_size(m_take)), 4200.0 * m_frames + 2e6);
    if (!kSanitized && m_frames == kHour) {
        EXPECT_LT(perFrame, 18e3);
    }

    const std::unique_ptr<Stage> opened = stage::openTake(m_take, m_module);
    opened->logsCalls = false;
    const int middle = m_frames / 2;
    expectSameLines(*host, *opened, {0, 1, middle, m_frames - 1, m_frames});
    const std::vector<unsigned char> bytes = stage::readWhole(m_take, 0xFFFFFFFF);
    EXPECT_TRUE(stage::takeBytes(*opened) == bytes) << "saved again it is another file";

    // First behind the end, then in the middle, which cuts the recording.
    for (const int at : {m_frames, middle}) {
        for (Stage* one : {host.get(), opened.get()}) drive(*one, at, at + 50);
        expectSameLines(*host, *opened, {at - 1, at, at + 1, at + 25, at + 50});
    }
}

}  // namespace
}  // namespace ond::test

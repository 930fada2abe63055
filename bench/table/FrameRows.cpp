// Whole frames beside their bare rays, on small and large grounds, and in stored mode.
//
// Vehicles drive side by side, some frames each in turn. Those that must do the same are compared to the bit.
#include <cstdio>
#include <memory>

#include "rig/plain/PlainWheelUpdate.h"
#include "table/BulletGround.h"
#include "table/Car.h"
#include "table/Report.h"
#include "table/Rows.h"
#include "table/Settings.h"
#include "table/SteppedFrame.h"
#include "table/Timing.h"

namespace ond::bench::table {

namespace {

constexpr int kFramesOfPass = 25;
constexpr int kPasses = 80;

/// A car on its way, in a wide curve from the middle of the terrain.
struct Drive {
    Drive(Casting how, const Terrain& terrain, const Settings& settings) : car(how, &terrain, terrain.place(0.5, 0.5)) {
        car.reserveKeys(static_cast<std::size_t>((settings.passes(kPasses) + 2) * kFramesOfPass));
        car.start();
    }

    /// Some frames as the vehicle drives them; seconds.
    double pass() {
        const double seconds = secondsOf([this] { car.drive(kFramesOfPass); });
        count();
        return seconds;
    }

    /// The same with every ray of every wheel cast in full; seconds.
    double plainPass() {
        const double seconds = secondsOf([this] {
            for (int i = 0; i < kFramesOfPass; ++i) {
                car.nextFrame();
                frameInSteps(*car.vehicle, car.host.recording.now, test::plainWheelUpdate, [](Step) {});
            }
        });
        count();
        return seconds;
    }

    /// Faults that make its figures worthless.
    void check(Report& report, int row) const {
        car.check(report, row);
        if (10 * m_touching < 9 * 4 * m_passes)
            report.fault(row, "the car is in the air too often: give a wider ground");
    }

    Car car;

  private:
    void count() {
        ++m_passes;
        m_touching += car.wheelsOnGround();
    }

    long m_passes = 0;
    long m_touching = 0;  ///< wheels on the ground at the ends of passes
};

constexpr double kMicrosecondsOfFrame = 1e6 / kFramesOfPass;

}  // namespace

void measureBulletFrame(const Settings& settings, Report& report) {
    const Terrain terrain(groundOf(settings, kMiddle));
    BulletWorld world(terrain.mesh());
    Drive drive(Casting::bullet, terrain, settings);
    // Drives the same in the plain way and tells which rays that takes.
    Drive witness(Casting::bullet, terrain, settings);
    auto recorder = std::make_unique<RecordingCaster>(witness.car.vehicle->cPhysicsWorld.pWorld.get());
    RecordingCaster& log = *recorder;
    witness.car.vehicle->m_vehicleRaycaster = std::move(recorder);

    Passes passes;
    std::size_t rays = 0;
    for (int i = -1; i < settings.passes(kPasses); ++i) {
        log.rays.clear();
        log.hits = 0;
        witness.plainPass();
        double frames = i % 2 == 0 ? drive.pass() : 0.0;
        std::size_t hits = 0;
        const double bare = secondsOf([&] { hits = world.cast(log.rays); });
        if (i % 2 != 0) frames = drive.pass();
        if (hits != log.hits) report.fault(1, "the bare rays do not hit what the rays of the vehicle hit");
        if (!(drive.car.body() == witness.car.body())) report.fault(1, "the frame does not do what the plain one does");
        if (!report.row(1).faults.empty()) break;
        if (i < 0) continue;
        passes.add(frames, bare);
        rays += log.rays.size();
    }
    drive.check(report, 1);
    if (passes.over.empty()) return;
    report.add(1, passes.ratio(terrain.name(), "frame", "bare casts", kMicrosecondsOfFrame, "us"));
    char note[64];
    std::snprintf(note, sizeof note, "%.1f rays in a frame",
                  static_cast<double>(rays) / static_cast<double>(passes.over.size() * kFramesOfPass));
    report.note(1, note);
}

void measureFrameOnSizes(const Settings& settings, Report& report) {
    if (settings.ground != nullptr) {
        report.note(2, "not measured on a ground of your own");
        return;
    }
    if (settings.quick) return;
    const Terrain large(groundOf(settings, kLarge));
    const Terrain small(groundOf(settings, kSmall));
    Drive onLarge(Casting::bullet, large, settings);
    Drive onSmall(Casting::bullet, small, settings);
    const Passes passes = alternate(
        settings.passes(kPasses), [&] { return onLarge.pass(); }, [&] { return onSmall.pass(); });
    onLarge.check(report, 2);
    onSmall.check(report, 2);
    report.add(2, passes.ratio("", "on " + large.name(), "on " + small.name(), kMicrosecondsOfFrame, "us"));
}

void measureStoredFrame(const Settings& settings, Report& report) {
    const Terrain terrain(groundOf(settings, kMiddle));
    Drive stored(Casting::stored, terrain, settings);
    Drive plain(Casting::bullet, terrain, settings);
    const Passes passes = alternate(
        settings.passes(kPasses), [&] { return stored.pass(); }, [&] { return plain.plainPass(); });
    stored.check(report, 6);
    plain.check(report, 6);
    report.add(6, passes.ratio(terrain.name(), "stored", "plain Bullet", kMicrosecondsOfFrame, "us"));
}

}  // namespace ond::bench::table

// Three vehicles drive the same side by side: one as it is, one step by step with a look at the clock behind each, and
// one in a host that times its own work. They must end at the same place, to the bit.
#include "table/Breakdown.h"

#include <algorithm>
#include <numeric>

#include "table/Car.h"
#include "table/Settings.h"
#include "table/Timing.h"

namespace ond::bench::table {

namespace {

constexpr int kPasses = 60;
constexpr int kFramesOfPass = 25;

/// Notes how long each step of a frame takes, without what the clock takes.
class StepClock {
  public:
    explicit StepClock(double asking) : m_asking(asking) {}

    void begin() {
        m_frame.fill(0.0);
        m_last = nowNanoseconds();
    }
    void done(Step step) {
        const double now = nowNanoseconds();
        m_frame[static_cast<std::size_t>(step)] += now - m_last - m_asking;
        m_last = now;
    }
    void end() {
        for (std::size_t i = 0; i < kSteps; ++i) m_steps[i].push_back(m_frame[i]);
    }
    /// Microseconds.
    [[nodiscard]] double medianOf(std::size_t step) const { return 1e-3 * median(m_steps[step]); }

  private:
    double m_asking;
    double m_last = 0.0;
    std::array<double, kSteps> m_frame{};
    std::array<std::vector<double>, kSteps> m_steps;
};

void driveStepByStep(Car& car, StepClock& clock, int frames) {
    for (int i = 0; i < frames; ++i) {
        car.nextFrame();
        clock.begin();
        frameInSteps(
            *car.vehicle, car.host.recording.now, [](auto& wheel, double time) { wheel.update(time); },
            [&clock](Step step) { clock.done(step); });
        clock.end();
    }
}

/// Nanoseconds that a call of a host that does nothing counts with.
double emptyCall() {
    HostMeter meter;
    meter.isOn = true;
    for (int i = 0; i < 1000; ++i) const HostCall call(meter, HostMeter::lookups);
    return meter.nanoseconds / 1000.0;
}

/// Microseconds of the next frame that the host takes.
/// @param empty nanoseconds of a call that does nothing
double hostShare(Car& car, double empty) {
    const HostMeter& meter = car.host.recording.meter;
    const double before = meter.nanoseconds;
    const long callsBefore = std::accumulate(meter.calls.begin(), meter.calls.end(), 0L);
    car.drive(1);
    const long calls = std::accumulate(meter.calls.begin(), meter.calls.end(), 0L) - callsBefore;
    return 1e-3 * (meter.nanoseconds - before - empty * static_cast<double>(calls));
}

FrameParts takeApart(const Settings& settings, Casting how, const std::string& name, const Terrain* terrain) {
    const Vector place = terrain != nullptr ? terrain->place(0.5, 0.5) : Vector();
    const double asking = costOfAsking();
    const int passes = settings.passes(kPasses);
    Car whole(how, terrain, place);
    Car stepped(how, terrain, place);
    Car metered(how, terrain, place);
    for (Car* car : {&whole, &stepped, &metered}) {
        car->reserveKeys(static_cast<std::size_t>((passes + 1) * kFramesOfPass));
        car->start();
        car->drive(kFramesOfPass);
    }
    StepClock clock(asking);
    std::vector<double> wholes;
    std::vector<double> hosts;
    metered.host.recording.meter.isOn = true;
    for (int pass = 0; pass < passes; ++pass) {
        wholes.push_back(secondsOf([&] { whole.drive(kFramesOfPass); }) * 1e6 / kFramesOfPass);
        driveStepByStep(stepped, clock, kFramesOfPass);
        const double empty = std::min({emptyCall(), emptyCall(), emptyCall()});
        for (int i = 0; i < kFramesOfPass; ++i) hosts.push_back(hostShare(metered, empty));
    }

    FrameParts parts;
    parts.name = name;
    parts.whole = median(wholes);
    for (std::size_t i = 0; i < kSteps; ++i) parts.steps[i] = clock.medianOf(i);
    parts.host = median(hosts);
    for (std::size_t i = 0; i < parts.hostCalls.size(); ++i)
        parts.hostCalls[i] = static_cast<double>(metered.host.recording.meter.calls[i]) / (passes * kFramesOfPass);
    if (!(whole.body() == stepped.body()) || !(whole.body() == metered.body()))
        parts.faults.emplace_back("the frame in steps does not do what the vehicle's own frame does");
    if (!whole.host.complaints.empty()) parts.faults.push_back("the vehicle complained: " + whole.host.complaints[0]);
    return parts;
}

}  // namespace

double FrameParts::sum() const { return std::accumulate(steps.begin(), steps.end(), 0.0); }

std::vector<FrameParts> takeFramesApart(const Settings& settings) {
    const Terrain terrain(groundOf(settings, kMiddle));
    std::vector<FrameParts> all;
    all.push_back(takeApart(settings, Casting::bullet, "Bullet mode", &terrain));
    all.push_back(takeApart(settings, Casting::stored, "stored mode", &terrain));
    all.push_back(takeApart(settings, Casting::surface, "surface mode", &terrain));
    all.push_back(takeApart(settings, Casting::plane, "no ground", nullptr));
    return all;
}

}  // namespace ond::bench::table

// The first car of a drive file in a host of its own, with its axes in the hands of a driver.
#pragma once

#include <string>
#include <vector>

#include "command/DriveSetup.h"
#include "provingground/Driver.h"

namespace ond::provingground {

/// A row of a recorded input: axes as a device gives them, -1 to 1 and 0 to 1.
struct InputRow {
    double time = 0.0;  ///< seconds
    double steer = 0.0;
    double gas = 0.0;
    double brake = 0.0;
    double gravel = 0.0;
};

class PracticeCar {
  public:
    /// Sets the scene up as the drive file says, but for the car's inputs.
    /// @param ground file to drive on instead of the drive file's; empty for none
    /// @throws std::exception with a sentence for the user
    PracticeCar(const stage::Module& module, const std::string& driveFile, const std::string& ground);

    void start(const InputRow& row);
    /// Drives the next frame with the axes where the row has them.
    /// @throws std::exception when the car has no finite place any more
    void advance(const InputRow& row);
    void stop();

    [[nodiscard]] int lastFrame() const { return m_setup.last; }
    /// The frame that was driven last.
    [[nodiscard]] int frame() const { return m_frame; }
    /// Seconds since the drive began.
    [[nodiscard]] double time(int frame) const;
    [[nodiscard]] CarView view() const;
    [[nodiscard]] CarFeel feel() const;
    /// How many wheels are off the ground.
    [[nodiscard]] int wheelsInAir() const;
    /// Where the wheel of that corner meets the ground, or is lowest.
    [[nodiscard]] PlanPoint wheel(const char* corner) const;
    /// World matrices of all elements, for comparing.
    [[nodiscard]] std::vector<util::Matrix4> matrices() const;
    /// The position of an axis that the channel turns into `value`, -1 to 1: its dead zone and bend undone.
    [[nodiscard]] double axisFor(const char* channel, double value) const;
    /// What the vehicle said, and what it did against the contract.
    [[nodiscard]] std::vector<std::string> complaints() const;

  private:
    [[nodiscard]] stage::Vehicle& car() const { return *m_setup.stage->vehicles.front(); }
    void place(const InputRow& row);

    command::DriveSetup m_setup;
    int m_frame = 0;
};

}  // namespace ond::provingground

// The axes that feed the input channels of a vehicle.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "ond/unidevice/Property.h"
#include "stage/CallLog.h"
#include "stage/ModuleBoundary.h"

namespace ond::stage {

class Vehicle;

/// An axis that stands where it is put, or follows a script over time: a recorded input, a key track, a live device.
/// A script is asked once for each frame of a run, so that its value is steady while vehicles look at it.
class InputAxis final : public unidevice::ControlSource {
  public:
    /// @param owner the vehicle that has it among its axes; null for an axis outside of the scene
    InputAxis(std::string name, CallLog& log, const Vehicle* owner = nullptr)
        : m_name(std::move(name)), m_log(log), m_owner(owner) {}

    [[nodiscard]] const std::string& name() const { return m_name; }
    [[nodiscard]] const Vehicle* owner() const { return m_owner; }

    /// Where the axis stands while there is no script: -1 to 1, or 0 to 1.
    double position = 0.0;
    /// Position as a function of the timeline's time in seconds; empty for none.
    std::function<double(double)> script;
    int reads = 0;  ///< how often a vehicle asked

    /// Takes the value for the time in seconds, which holds until the next call.
    void show(double time) {
        m_value = script ? script(time) : position;
        m_hasShown = true;
    }
    /// That value. An axis that was never shown gives what it answers to a vehicle.
    [[nodiscard]] double shown() const { return m_hasShown || script ? m_value : position; }

    [[nodiscard]] double currentValue() override {
        const ModuleBoundary::Pause pause;
        ++reads;
        m_log.add("axis " + m_name);
        return script ? m_value : position;
    }

  private:
    std::string m_name;
    CallLog& m_log;
    const Vehicle* m_owner;
    double m_value = 0.0;
    bool m_hasShown = false;
};

}  // namespace ond::stage

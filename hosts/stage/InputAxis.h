// The axes that feed the input channels of a vehicle.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "ond/unidevice/Property.h"
#include "stage/CallLog.h"
#include "stage/ModuleBoundary.h"

namespace ond::stage {

/// An axis that stands where it is put, or follows a script over time: a recorded input, a key track, a live device.
/// A script is asked once for each frame of a run, so that its value is steady while vehicles look at it.
class InputAxis final : public unidevice::ControlSource {
  public:
    InputAxis(std::string name, CallLog& log) : m_name(std::move(name)), m_log(log) {}

    /// Where the axis stands while there is no script: -1 to 1, or 0 to 1.
    double position = 0.0;
    /// Position as a function of the timeline's time in seconds; empty for none.
    std::function<double(double)> script;
    int reads = 0;  ///< how often a vehicle asked

    /// Takes the value for the time in seconds, which holds until the next call.
    void show(double time) { m_value = script ? script(time) : position; }
    [[nodiscard]] double shown() const { return m_value; }

    [[nodiscard]] double currentValue() override {
        const ModuleBoundary::Pause pause;
        ++reads;
        m_log.add("axis " + m_name);
        return script ? m_value : position;
    }

  private:
    std::string m_name;
    CallLog& m_log;
    double m_value = 0.0;
};

}  // namespace ond::stage

// Input devices whose axes a test moves.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "host/CallLog.h"
#include "host/ModuleScope.h"
#include "ond/unidevice/Property.h"

namespace ond::test {

/// An axis that stands where it is put, or follows a script over time.
class ScriptedAxis final : public unidevice::ControlSource {
  public:
    ScriptedAxis(std::string name, CallLog& log) : m_name(std::move(name)), m_log(log) {}

    /// Where the axis stands while there is no script.
    double position = 0.0;
    /// Position as a function of the timeline's time in seconds; empty for none.
    std::function<double(double)> script;
    /// The time that the script is asked for, seconds.
    double now = 0.0;
    int reads = 0;

    [[nodiscard]] double currentValue() override {
        const ModuleScope::Pause pause;
        ++reads;
        m_log.add("axis " + m_name);
        return script ? script(now) : position;
    }

  private:
    std::string m_name;
    CallLog& m_log;
};

}  // namespace ond::test

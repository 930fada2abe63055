// Angles of a sub-step that are mostly those of the sub-step before: speed and steering change once a frame, so that
// all its sub-steps run along the same arc unless a burnout or a skid turns the car.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "car/CarState.h"

namespace ond::ovs::addon {

/// Keeps the last answer of a function of doubles without side effects, and works it out anew for other arguments
/// only. They are compared bit by bit: 0 and -0 may have different answers.
template <typename Answer, std::size_t kArguments>
class LastAnswer {
  public:
    template <typename Function, typename... Arguments>
    Answer of(Function function, Arguments... arguments) {
        static_assert(sizeof...(arguments) == kArguments);
        const Bits asked{std::bit_cast<std::uint64_t>(arguments)...};
        if (!m_isKnown || asked != m_asked) {
            m_answer = function(arguments...);
            m_asked = asked;
            m_isKnown = true;
        }
        return m_answer;
    }

  private:
    using Bits = std::array<std::uint64_t, kArguments>;
    bool m_isKnown = false;
    Bits m_asked{};
    Answer m_answer{};
};

/// The answers that the sub-steps of a frame have in common.
struct StepAngles {
    LastAnswer<double, 1> steeringTangent;
    LastAnswer<double, 1> halfChordTangent;
    LastAnswer<double, 1> yawTangent;
    LastAnswer<Quat<double>, 1> yawTurn;
    std::array<LastAnswer<double, 2>, kNumWheels> wheelYaw;
};

}  // namespace ond::ovs::addon

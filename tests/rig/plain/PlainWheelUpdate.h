// The probing of a wheel in its plain form: every ray of it is a whole cast. What the module does in less time must
// come to the same.
#pragma once

#include "rig/WheelNodes.h"

namespace ond::test {

/// Does what the node's update() does, to the bit.
void plainWheelUpdate(ovs::addon::rig::CWheelNode& node, double time);

}  // namespace ond::test

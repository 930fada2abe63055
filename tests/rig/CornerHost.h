// A host of wheels alone: every element stands at one corner.
#pragma once

#include "run/GroundHost.h"

namespace ond::test {

/// All elements stand at `corner`: the relocators of the wheels are the only ones that are asked for.
class CornerHost : public GroundHost {
  public:
    ovs::TransformObject* getTransformObject(ovs::MeshHandle*, double) override {
        auto* transform = new Transform;
        transform->world = corner;
        ++openTransforms;
        return transform;
    }
    util::Matrix4 corner;
};

}  // namespace ond::test

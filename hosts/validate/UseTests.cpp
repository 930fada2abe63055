// How an object uses what the host offers: the findings come from the watching host itself.
#include "validate/Scenarios.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

void usesTheHost(Check& check) { wholeLife(check); }

void messages(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    world.run(host, 0, 5);
    // A rig that a user has bent out of shape, and grounds that are none.
    for (stage::Element* own : host.ownElements()) {
        const util::Matrix4 pose = world.scene.local(*own, 0.0);
        world.scene.setLocal(*own, 0.0, pose * util::Scaling({1.5, 0.75, 1.25}));
    }
    host.expectsFinite = false;
    if (const Item* afresh = host.item("Re-Initialize Car Attributes")) host.tell(*afresh, afresh->label);
    world.run(host, 0, 2);
    Lacks& lacks = host.lacks;
    for (bool Lacks::*lack : {&Lacks::surfaces, &Lacks::triangles, &Lacks::hits}) {
        lacks.*lack = true;
        changeEach(host, false, [&] { world.run(host, 1, 1); });
        lacks.*lack = false;
    }
    for (stage::Element* own : host.ownElements()) world.scene.reparent(*own, nullptr);
    changeEach(host, false, [&] { world.run(host, 1, 1); });
}

}  // namespace ond::validate::tests

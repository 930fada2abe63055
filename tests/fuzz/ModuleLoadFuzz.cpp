// A block that may be damaged, through the module as a host loads it: by a bare address, with zeros behind the block.
//
// Properties:
// - loadState() answers 0 or 1, and no byte behind the zeros is read (the host keeps them in memory of exactly that
//   size, so that a memory checker sees it);
// - after 1 the vehicle can be released;
// - after 0 it drives: the start of a run, three frames and its end;
// - what was taken from the host is given back.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/FuzzProperty.h"
#include "stage/Stage.h"

namespace {

using namespace ond;

const stage::Module& module() {
    static const stage::Module loaded(VEHICLE_MODULE_PATH);
    return loaded;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    module();  // ahead of the first input, so that its code counts from there on
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    stage::Stage host(module());
    host.logsCalls = false;
    stage::Vehicle& rigged = host.addVehicle("Car");
    rigged.chunk.assign(bytes, bytes + size);
    stage::Vehicle& vehicle = host.replace(rigged);
    const std::uint64_t answer = vehicle.load();
    test::require(answer <= 1, "the answer is 0 or 1");
    if (answer == 0) {
        host.startRun(0);
        for (int frame = 1; frame <= 3; ++frame) {
            host.scene.beginFrame(frame);
            vehicle.updateFrame(frame);
        }
        host.stopRun();
    }
    for (const std::string& object : vehicle.open()) std::fprintf(stderr, "not given back: %s\n", object.c_str());
    test::require(vehicle.open().empty(), "what was taken is given back");
    vehicle.release();
    return 0;
}

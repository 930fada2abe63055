// Loading a block that may be damaged into a vehicle whose rig is in the scene.
//
// The first byte chooses the rig's age; the rest is the block, whose size is told. The form without a size reads the
// same code with less knowledge; the unit tests hold it against fences.
//
// Properties:
// - the answer is 0 or 1, and everything taken from the host was given back;
// - a vehicle that was loaded saves a block that loads again and is then saved as the same bytes;
// - a vehicle that was not can be released.
#include <cstddef>
#include <cstdint>

#include "fuzz/FuzzProperty.h"
#include "state/FakeHost.h"
#include "state/LoadState.h"

namespace {

using namespace ond::test;
using ond::ovs::addon::loadStateFrom;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size == 0) return 0;
    const RigAge age = bytes[0] % 3 == 0 ? RigAge::current : bytes[0] % 3 == 1 ? RigAge::middle : RigAge::numbered;
    Car car;
    putRig(car.host, age);
    const std::uint64_t result = loadStateFrom(*car, bytes + 1, size - 1);
    require(result == 0 || result == 1, "the answer is 0 or 1");
    require(car.host.taken == 0, "what was taken is given back");
    if (result != 0) return 0;

    car->saveState();
    const Bytes first = car.host.block;
    Car second;
    putRig(second.host);
    require(loadStateFrom(*second, first.data(), first.size()) == 0, "what was saved loads");
    second->saveState();
    require(second.host.block == first, "and is saved as the same bytes");

    // Without a size the same block gives the same vehicle.
    Car third;
    putRig(third.host);
    third.host.block = first;
    third.host.hasBlock = true;
    require(third->loadState() == 0, "what was saved loads without a size");
    third->saveState();
    require(third.host.block == first, "and is the same");
    return 0;
}

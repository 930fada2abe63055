// Reading a saved variable that may be damaged, and working on whatever keys came out of it.
//
// Input: one byte choosing the type, one byte giving the length of the block, the block, then operations of nine bytes:
// what to do, and the time to do it at.
// Properties:
// - the outcome is the told one: nothing changed, default keys, or keys whose bytes are those of the block;
// - what is written reads back to the same bytes;
// - setting a key gives the same as a search for its time followed by an insertion, in whatever order the keys are.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "fuzz/FuzzProperty.h"
#include "ond/util/AVar.h"

namespace {

using namespace ond::util;
using ond::test::require;
using Bytes = std::vector<unsigned char>;

template <typename Variable>
Bytes written(const Variable& variable) {
    Bytes block(static_cast<std::size_t>(variable.getSerialSize()));
    variable.write(block.data(), variable.getSerialSize());
    return block;
}

std::uint32_t fieldAt(const Bytes& block, std::size_t at) {
    return block[at] + 256u * block[at + 1] + 65536u * block[at + 2] + 16777216u * block[at + 3];
}

template <typename Variable>
void checkReading(Variable& variable, const Bytes& block) {
    const Bytes before = written(variable);
    variable.read(block.data(), block.size());
    const Bytes after = written(variable);

    constexpr std::size_t keySize = Variable::kKeySize;
    if (block.size() < 16 || fieldAt(block, 0) != 16 || fieldAt(block, 8) != 100) {
        require(after == before, "a block that is none changes nothing");
        return;
    }
    const std::size_t count = fieldAt(block, 12);
    const bool fits = 16 + count * keySize <= block.size();
    if (!fits && count > 65536) {
        require(after == before, "keys that cannot be there are not allocated");
        return;
    }
    require(static_cast<std::size_t>(variable.getNumKeys()) == count, "as many keys as announced");
    if (!fits || fieldAt(block, 4) != count * keySize) {
        for (const auto& key : variable.keys) require(key.time == -1.0, "default keys");
    } else if (std::is_same_v<Variable, AVar_Nearest<bool>>) {
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t at = 16 + i * keySize;
            require(std::memcmp(&after[at], &block[at], 8) == 0, "times keep their bits");
            require(after[at + 8] == (block[at + 8] != 0 ? 1 : 0), "any byte but 0 is true");
        }
    } else {
        require(std::equal(after.begin(), after.end(), block.begin()), "keys keep their bits");
    }
    Variable back;
    back.read(after.data(), after.size());
    require(written(back) == after, "what is written reads back");
}

template <typename Variable>
void checkOperation(Variable& variable, unsigned char what, double t) {
    using Value = decltype(variable.fallback);
    if (what % 4 == 0) {
        variable.eraseFrom(t);
        return;
    }
    if (what % 4 == 1 && variable.getNumKeys() > 0) t = variable.keys.back().time + 0.5;
    const Value value = variable.valueAt(t);

    Variable told = variable;
    const int match = told.exactKeyIndex(t);
    if (match >= 0) {
        told.keys[static_cast<std::size_t>(match)].value = value;
    } else {
        told.insertKey(t, value);
    }
    Bytes stored(Variable::kKeySize);
    Bytes wanted(Variable::kKeySize);
    detail::AVarValueBytes<Value>::store(stored.data(), variable.setKey(t, value));
    detail::AVarValueBytes<Value>::store(wanted.data(), value);
    require(stored == wanted, "setKey returns the stored value");
    require(written(variable) == written(told), "setKey is a search and an insertion");
}

template <typename Variable>
void checkAll(const Bytes& block, const uint8_t* rest, std::size_t restSize) {
    Variable variable;
    variable.setKey(1.0, {});
    checkReading(variable, block);
    for (int steps = 0; restSize >= 9 && steps < 64; ++steps, rest += 9, restSize -= 9)
        checkOperation(variable, rest[0], loadLittleEndian<double>(rest + 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size < 2) return 0;
    const std::size_t length = std::min<std::size_t>(bytes[1], size - 2);
    const Bytes block(bytes + 2, bytes + 2 + length);
    const uint8_t* rest = bytes + 2 + length;
    const std::size_t restSize = size - 2 - length;
    switch (bytes[0] % 6) {
        case 0: checkAll<AVar_Linear<double>>(block, rest, restSize); break;
        case 1: checkAll<AVar_Nearest<QTransform<double>>>(block, rest, restSize); break;
        case 2: checkAll<AVar_Nearest<Vector3<double>>>(block, rest, restSize); break;
        case 3: checkAll<AVar_Nearest<Quat<double>>>(block, rest, restSize); break;
        case 4: checkAll<AVar_Nearest<bool>>(block, rest, restSize); break;
        default: checkAll<AVar_Latest<int>>(block, rest, restSize); break;
    }
    return 0;
}

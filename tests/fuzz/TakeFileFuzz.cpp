// Reading a take from bytes that may be damaged.
//
// Properties:
// - what cannot be read is refused with a StageError of one line that names the file;
// - what was read is written as bytes that read again and are then written as the same bytes, or is refused because it
//   has numbers that single precision does not hold.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/FuzzProperty.h"
#include "stage/StageError.h"
#include "stage/TakeContents.h"

namespace {

using namespace ond::stage;
using ond::test::require;

using Bytes = std::vector<unsigned char>;

std::optional<TakeContents> read(const Bytes& bytes) {
    try {
        return readTake(bytes, "take");
    } catch (const StageError& error) {
        const std::string text = error.what();
        require(text.rfind("'take' ", 0) == 0 && text.find('\n') == std::string::npos, "one line names the file");
        return std::nullopt;
    }
}

std::optional<Bytes> write(const TakeContents& contents) {
    try {
        return takeBytes(contents);
    } catch (const StageError&) {
        return std::nullopt;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const std::optional<TakeContents> contents = read(Bytes(bytes, bytes + size));
    if (!contents) return 0;
    const std::optional<Bytes> first = write(*contents);
    if (!first) return 0;
    const std::optional<TakeContents> again = read(*first);
    require(again.has_value(), "what was written reads");
    const std::optional<Bytes> second = write(*again);
    require(second == first, "and is written as the same bytes");
    return 0;
}

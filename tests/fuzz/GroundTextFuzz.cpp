// A .obj or a .ply file as a ground: a first byte "p" says that the rest is a .ply file, any other that it is the text
// of a .obj file. Files next to it are not looked for, but the text is read as one with the colours of materials, too.
//
// The result is an error in one sentence, or a scene with finite numbers whose faces point into their meshes; reading
// it again gives the same scene.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "fuzz/SoundGround.h"
#include "stage/GroundObj.h"
#include "stage/GroundObjColours.h"
#include "stage/GroundPly.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using ond::test::require;
    if (size == 0) return 0;
    const std::string bytes(data + 1, data + size);
    if (data[0] == 'p') {
        ond::test::requireSoundGround([&] { return ond::stage::readPlyGround(bytes, "ground"); });
        return 0;
    }
    ond::test::requireSoundGround([&] { return ond::stage::readObjGround(bytes, "ground", std::nullopt); });
    ond::stage::obj::Colours colours;
    ond::stage::obj::addColours(bytes, colours);
    for (const auto& [name, colour] : colours) {
        for (const float part : colour) require(part >= 0.0F && part <= 1.0F, "colours are from 0 to 1");
    }
    return 0;
}

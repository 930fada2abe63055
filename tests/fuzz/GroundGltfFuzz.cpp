// A glTF file as a ground. An even first byte says that the rest is a .glb file, an odd one that it is the text of a
// .gltf file. Files next to it are not looked for.
//
// The result is an error in one sentence, or a scene whose parents stand before their children, whose numbers are
// finite and whose faces point into their meshes; reading it again gives the same scene.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "fuzz/SoundGround.h"
#include "stage/GroundGltf.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using ond::stage::GltfKind;
    if (size == 0) return 0;
    const GltfKind kind = data[0] % 2 == 0 ? GltfKind::binary : GltfKind::text;
    const std::string bytes(data + 1, data + size);
    ond::test::requireSoundGround([&] { return ond::stage::readGltf(bytes, kind, std::nullopt); });
    return 0;
}

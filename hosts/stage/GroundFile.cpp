#include "stage/GroundFile.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <new>

#include "stage/GroundBytes.h"
#include "stage/GroundCheck.h"
#include "stage/GroundGltf.h"
#include "stage/GroundImport.h"
#include "stage/GroundObj.h"
#include "stage/GroundPly.h"

namespace ond::stage {

namespace {

/// The ending of the name in lower case, with its dot.
std::string endingOf(const std::filesystem::path& path) {
    std::string ending = path.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return ending;
}

GroundScene readByEnding(const std::filesystem::path& path) {
    checkGroundFile(path);
    const std::string ending = endingOf(path);
    if (ending == ".glb" || ending == ".gltf") {
        const GltfKind kind = ending == ".glb" ? GltfKind::binary : GltfKind::text;
        return readGltf(readGroundBytes(path), kind, path.parent_path());
    }
    if (ending == ".ply") return readPlyGround(readGroundBytes(path), path.stem().string());
    if (ending == ".obj") return readObjGround(readGroundBytes(path), path.stem().string(), path.parent_path());
    if (ending == ".fbx") return importGround(path, ImportKind::fbx);
    if (ending == ".stl") return importGround(path, ImportKind::stl);
    throw GroundError("its name ends in none of .glb, .gltf, .obj, .ply, .fbx and .stl; export the ground as .glb");
}

}  // namespace

GroundScene readGround(const std::string& path) {
    const std::string start = "The ground file \"" + path + "\" cannot be used: ";
    try {
        GroundScene scene = readByEnding(path);
        checkGround(scene);
        return scene;
    } catch (const GroundError& error) {
        throw GroundError(start + error.what() + ".");
    } catch (const std::bad_alloc&) {
        throw GroundError(start + "it needs more memory than there is; export fewer triangles.");
    } catch (const std::exception& error) {
        throw GroundError(start + "reading failed (" + error.what() + "); export the file again.");
    }
}

}  // namespace ond::stage

#include "stage/GroundBytes.h"

#include <fstream>
#include <system_error>

#include "stage/GroundFile.h"

namespace ond::stage {

namespace {

/// Size in bytes of what checkGroundFile() lets through.
std::uint64_t checkedSize(const std::filesystem::path& path) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) throw GroundError("there is no such file; check the path");
    if (error) throw GroundError("it cannot be looked at (" + error.message() + "); check the path and its rights");
    if (fs::is_directory(status)) throw GroundError("it is a folder; name a file in it");
    if (!fs::is_regular_file(status)) throw GroundError("it is not a plain file; name a mesh file");
    const std::uint64_t size = fs::file_size(path, error);
    if (error) throw GroundError("its size is not to be had (" + error.message() + "); check its rights");
    if (size == 0) throw GroundError("it is empty; export it again");
    if (size > kMostGroundBytes) {
        throw GroundError("it has " + std::to_string(size) + " bytes, more than the " +
                          std::to_string(kMostGroundBytes) + " that are read; export fewer triangles");
    }
    if (!std::ifstream(path, std::ios::binary)) throw GroundError("it cannot be opened; check its rights");
    return size;
}

}  // namespace

void checkGroundFile(const std::filesystem::path& path) { checkedSize(path); }

std::string readGroundBytes(const std::filesystem::path& path) {
    std::string bytes(checkedSize(path), '\0');
    std::ifstream in(path, std::ios::binary);
    in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!in) throw GroundError("reading stopped before its end; check the disk and try again");
    return bytes;
}

}  // namespace ond::stage

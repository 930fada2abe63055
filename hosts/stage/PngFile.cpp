#include "stage/PngFile.h"

#include <cstdlib>

#include "stage/StageError.h"

namespace {

/// For the library, which takes memory of no size for rows without pixels; what that is, differs between systems.
void* takeSome(std::size_t size) { return std::malloc(size == 0 ? 1 : size); }

}  // namespace

#define STBIW_MALLOC(size) takeSome(size)
#define STBIW_REALLOC(memory, size) std::realloc(memory, size)
#define STBIW_FREE(memory) std::free(memory)

// The library is one header, whose code is not held to this project's warnings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wuseless-cast"
#endif
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace ond::stage {

std::vector<unsigned char> pngOf(const std::vector<unsigned char>& pixels, int width, int height) {
    if (width < 1 || height < 1) throw StageError("a picture without a pixel cannot be packed");
    std::vector<unsigned char> file;
    const auto append = [](void* to, void* data, int size) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        static_cast<std::vector<unsigned char>*>(to)->insert(static_cast<std::vector<unsigned char>*>(to)->end(), bytes,
                                                             bytes + size);
    };
    if (stbi_write_png_to_func(append, &file, width, height, 3, pixels.data(), 3 * width) == 0)
        throw StageError("the picture cannot be packed");
    return file;
}

}  // namespace ond::stage

#include "stage/TakeBlobs.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace ond::stage {

namespace {

constexpr std::size_t kExpansion = 2;

}  // namespace

TakeBlobs::TakeBlobs(const JsonPlace& document, const GlbChunks& chunks) : m_left(kExpansion * chunks.binarySize) {
    if (!document.has("bufferViews")) return;
    const std::vector<JsonPlace> buffers = document.at("buffers").each();
    if (buffers.size() != 1 || buffers[0].has("uri")) document.fail("does not have its one buffer inside the file");
    const auto size = static_cast<std::int64_t>(chunks.binarySize);
    const std::int64_t length = buffers[0].at("byteLength").integer(1, size);
    for (const JsonPlace& described : document.at("bufferViews").each()) {
        (void)described.at("buffer").whole(0, 0);
        const std::int64_t offset =
            described.has("byteOffset") ? described.at("byteOffset").integer(0, length) : std::int64_t{0};
        const std::int64_t bytes = described.at("byteLength").integer(1, length - offset);
        m_views.push_back({chunks.binary + offset, static_cast<std::size_t>(bytes)});
    }
}

TakeBlobs::View TakeBlobs::view(const JsonPlace& reference, std::size_t unit) {
    if (reference.isNull()) return {};
    const auto last = static_cast<std::int64_t>(m_views.size()) - 1;
    const View view = m_views[static_cast<std::size_t>(reference.integer(0, last))];
    if (view.size % unit != 0) reference.fail("does not have a multiple of " + std::to_string(unit) + " bytes");
    if (view.size > m_left) reference.fail("and others before it use the same bytes more often than any take does");
    m_left -= view.size;
    return view;
}

std::vector<unsigned char> TakeBlobs::bytes(const JsonPlace& reference) {
    const View from = view(reference, 1);
    return {from.data, from.data + from.size};
}

std::vector<double> TakeBlobs::doubles(const JsonPlace& reference, std::size_t group) {
    const View from = view(reference, group * sizeof(double));
    std::vector<double> numbers(from.size / sizeof(double));
    if (from.size > 0) std::memcpy(numbers.data(), from.data, from.size);
    for (const double number : numbers)
        if (!std::isfinite(number)) reference.fail("holds a number that is not finite");
    return numbers;
}

std::vector<int> TakeBlobs::integers(const JsonPlace& reference) {
    static_assert(sizeof(int) == sizeof(std::int32_t));
    const View from = view(reference, sizeof(int));
    std::vector<int> numbers(from.size / sizeof(int));
    if (from.size > 0) std::memcpy(numbers.data(), from.data, from.size);
    return numbers;
}

std::vector<util::Matrix4> TakeBlobs::matrices(const JsonPlace& reference, std::size_t count) {
    const std::vector<double> numbers = doubles(reference, 16);
    if (numbers.size() / 16 != count) reference.fail("does not hold " + std::to_string(count) + " matrices");
    std::vector<util::Matrix4> matrices(count);
    for (std::size_t i = 0; i < count; ++i) std::memcpy(matrices[i].m.data(), &numbers[16 * i], sizeof matrices[i].m);
    return matrices;
}

}  // namespace ond::stage

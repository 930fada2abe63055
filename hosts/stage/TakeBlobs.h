// The blobs of a take that may be damaged: bytes of buffer views.
#pragma once

#include <cstddef>
#include <vector>

#include "ond/util/Matrix4.h"
#include "stage/Glb.h"
#include "stage/TakeJson.h"

namespace ond::stage {

/// All functions throw FileDamage. Together they give no more than twice the bytes that the file has: blobs other than
/// the times of keys are not shared, so a file that needs more is made up.
class TakeBlobs {
  public:
    /// Checks the buffer views of the document. The chunks must outlive this.
    TakeBlobs(const JsonPlace& document, const GlbChunks& chunks);

    // `reference` is the index of a buffer view, or null for no bytes.

    [[nodiscard]] std::vector<unsigned char> bytes(const JsonPlace& reference);
    /// Finite numbers, `group` of them at a time.
    [[nodiscard]] std::vector<double> doubles(const JsonPlace& reference, std::size_t group);
    [[nodiscard]] std::vector<int> integers(const JsonPlace& reference);
    /// Sixteen finite numbers each.
    [[nodiscard]] std::vector<util::Matrix4> matrices(const JsonPlace& reference, std::size_t count);

  private:
    struct View {
        const unsigned char* data = nullptr;
        std::size_t size = 0;
    };
    [[nodiscard]] View view(const JsonPlace& reference, std::size_t unit);

    std::vector<View> m_views;
    std::size_t m_left;
};

}  // namespace ond::stage

// The container of a glTF 2.0 file, its buffers and the numbers in them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "stage/GroundGltf.h"
#include "stage/GroundGltfJson.h"

namespace ond::stage::gltf {

/// Reads accessors on demand, so that only buffers with geometry or motion are looked at.
///
/// Memory is bounded by the size of the file and kMostNumbers. Every function throws GroundError, without the name of
/// the file, where the file is damaged.
class Data {
  public:
    /// Most numbers that all read accessors together may have; the same accessor counts each time.
    static constexpr std::size_t kMostNumbers = 400'000'000;

    /// Reads the container and its JSON. `bytes` must outlive this.
    Data(const std::string& bytes, GltfKind kind, std::optional<std::filesystem::path> folder);
    ~Data();
    Data(const Data&) = delete;
    Data& operator=(const Data&) = delete;

    [[nodiscard]] const Json& json() const { return *m_json; }

    /// Entries of accessor `accessor`, an index into "accessors".
    [[nodiscard]] std::size_t count(std::size_t accessor) const;
    /// All numbers of an accessor whose entries must have `width` each (1, 3 or 4). Integers come as they are, or as
    /// 0 to 1 or -1 to 1 if the accessor says so.
    [[nodiscard]] std::vector<double> numbers(std::size_t accessor, std::size_t width);
    /// All numbers of an accessor of single unsigned integers.
    [[nodiscard]] std::vector<std::uint32_t> indices(std::size_t accessor);

  private:
    /// Where the entries of something are; `first` is null for entries that are all zero.
    struct Entries {
        const unsigned char* first = nullptr;
        std::size_t stride = 0;
        std::size_t count = 0;
        /// Code of the number's type in the format: 5120 to 5126.
        std::size_t type = 0;
        bool normalised = false;
    };

    void readBinary(std::string_view bytes);
    void readText(std::string_view bytes);
    void parse(std::string_view text);
    std::string_view buffer(std::size_t index);
    std::string_view readBuffer(std::size_t index);
    std::string_view keep(std::string bytes);
    std::string_view view(std::size_t index);
    Entries placed(std::size_t view, std::size_t offset, Entries entries, std::size_t width, bool strided);
    Entries entriesOf(std::size_t accessor, std::size_t width);
    /// Puts the entries that a sparse accessor replaces into `numbers`, through `decode(entries, i, component)`.
    template <typename T, typename Decode>
    void readAll(std::size_t accessor, std::size_t width, std::vector<T>& numbers, Decode decode);

    std::unique_ptr<Json> m_json;
    std::optional<std::filesystem::path> m_folder;
    std::optional<std::string_view> m_chunk;
    std::size_t m_fileSize = 0;
    std::size_t m_numbersRead = 0;
    std::size_t m_bytesKept = 0;
    /// Per buffer, once it was asked for.
    std::vector<std::optional<std::string_view>> m_buffers;
    std::vector<std::unique_ptr<std::string>> m_kept;
};

}  // namespace ond::stage::gltf

#include "state/SaveState.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "CCarCamObject.h"
#include "ond/ovs/CCameraPlugin.h"
#include "ond/util/LittleEndian.h"
#include "ond/util/RawBytes.h"
#include "state/SavedKeys.h"
#include "state/SavedRecordFields.h"

namespace ond::ovs::addon {

namespace {

using util::storeLittleEndian;

/// What the size field of a chunk can tell.
constexpr std::size_t kLargestPayload = std::numeric_limits<std::int32_t>::max();

/// Writes the flat form of util::DataChunk chunk by chunk, parents first. Without a place to write to it counts bytes.
/// Histories go from the vehicle into the block directly: no copy of a recording exists beside it.
class BlockWriter {
  public:
    explicit BlockWriter(unsigned char* to) : m_to(to) {}

    /// Writes the head of a chunk; its `children` must follow. Returns where its payload is to be put, null when
    /// counting.
    unsigned char* chunk(std::string_view name, std::size_t payload, std::size_t children = 0) {
        const std::size_t head = kHeaderSize + name.size();
        m_size += head + payload;
        if (m_to == nullptr) return nullptr;
        storeLittleEndian(m_to, static_cast<std::int32_t>(payload));
        storeLittleEndian(m_to + 4, static_cast<std::int32_t>(children));
        storeLittleEndian(m_to + 8, static_cast<std::int32_t>(name.size()));
        std::memcpy(m_to + kHeaderSize, name.data(), name.size());
        unsigned char* place = m_to + head;
        m_to = place + payload;
        return place;
    }

    [[nodiscard]] std::size_t size() const { return m_size; }

  private:
    static constexpr std::size_t kHeaderSize = 12;
    unsigned char* m_to;
    std::size_t m_size = 0;
};

template <class T>
void writeHistory(BlockWriter& out, std::string_view key, const util::AVar<T>& variable) {
    std::size_t size = variable.keys.size() * util::AVar<T>::kKeySize + util::AVar<T>::kHeaderSize;
    // Too large for a leaf: its header alone, which reads back as no keys.
    if (size > kLargestPayload) size = util::AVar<T>::kHeaderSize;
    if (unsigned char* to = out.chunk(key, size)) variable.write(to, static_cast<int>(size));
}

/// Writes the leaf of one row.
struct LeafWriter {
    CCarCamObject& vehicle;
    BlockWriter& out;
    std::string_view key;
    const std::string& groundText;

    void operator()(RecordLeaf /*record*/) const {
        if (unsigned char* to = out.chunk(key, kRecordSize)) storeRecord(vehicle.sDataChunkSaveStruct, to);
    }
    void operator()(HistoryLeaf /*history*/) const {
        visitHistory(vehicle, key, [&](const auto& variable) { writeHistory(out, key, variable); });
    }
    void operator()(WheelStoreLeaf /*store*/) const {
        out.chunk(key, 0, kNumWheels * kWheelStoreKeys.size());
        for (int corner = 0; corner < kNumWheels; ++corner)
            for (std::size_t i = 0; i < kWheelStoreKeys.size(); ++i)
                writeHistory(out, kWheelStoreKeys[i], wheelStoreVariable(vehicle, corner, i));
    }
    void operator()(GroundTextLeaf /*text*/) const {
        const std::size_t withNul = groundText.size() + 1;
        if (unsigned char* to = out.chunk(key, withNul)) std::memcpy(to, groundText.c_str(), withNul);
    }
    void operator()(SavedNumber field) const {
        if (unsigned char* to = out.chunk(key, sizeof(double))) storeLittleEndian(to, field(vehicle));
    }
    void operator()(SavedFlag field) const {
        if (unsigned char* to = out.chunk(key, 1)) *to = field(vehicle) ? 1 : 0;
    }
    void operator()(SavedWhole field) const {
        if (unsigned char* to = out.chunk(key, sizeof(std::int32_t))) storeLittleEndian(to, field(vehicle));
    }
    void operator()(SavedMatrix field) const {
        unsigned char* to = out.chunk(key, 16 * sizeof(double));
        if (to == nullptr) return;
        for (const double element : field(vehicle).m) {
            storeLittleEndian(to, element);
            to += sizeof(double);
        }
    }
};

/// The root's name carries the number of the contract's edition.
std::string rootName(const CInterface& host) {
    const bool known = host.link != nullptr && host.link->descriptor != nullptr;
    return "CarCamDataChunk" + std::to_string(known ? host.link->descriptor->getInterfaceStamp() : 0);
}

/// What the leaf of the stored mesh says; empty where no mesh is stored.
std::string takeGroundText(CCarCamObject& v) {
    if (!v.bStoreGroundMeshData) return {};
    if (v.cMesh_storedGroundMesh.getNumFaces() < 1) {
        v.bStoreGroundMeshData = false;
        v.mBulletGroundMesh = {};
        return {};
    }
    std::string text = v.cMesh_storedGroundMesh.toXml(false).toString("\n", "\t", "");
    return text.size() < kLargestPayload ? text : std::string();
}

void writeBlock(CCarCamObject& v, const std::string& name, const std::string& groundText, BlockWriter& out) {
    const auto isWritten = [&](const SavedRow& row) { return !row.onlyWithGround || !groundText.empty(); };
    out.chunk(name, 0, static_cast<std::size_t>(std::count_if(kSavedRows.begin(), kSavedRows.end(), isWritten)));
    for (const SavedRow& row : kSavedRows)
        if (isWritten(row)) std::visit(LeafWriter{v, out, row.key, groundText}, row.binding);
}

}  // namespace

std::uint64_t saveState(CCarCamObject& vehicle) {
    refreshRecord(vehicle);
    const std::string name = rootName(*vehicle.hostInterface);
    const std::string groundText = takeGroundText(vehicle);

    BlockWriter counter(nullptr);
    writeBlock(vehicle, name, groundText, counter);
    util::RawBytes block(counter.size());
    BlockWriter writer(block.data());
    writeBlock(vehicle, name, groundText, writer);
    vehicle.hostInterface->storeChunk(block.data(), block.size());
    return 0;
}

}  // namespace ond::ovs::addon

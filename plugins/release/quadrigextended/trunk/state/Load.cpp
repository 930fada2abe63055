#include "state/Load.h"

#include <cstring>

#include "CCarCamObject.h"
#include "ond/util/LittleEndian.h"
#include "state/SavedRecordFields.h"

namespace ond::ovs::addon {

namespace {

using util::loadLittleEndian;

bool holds(const SavedChunk* chunk, std::size_t size) { return chunk != nullptr && chunk->size >= size; }

/// Reads a leaf into what its row names.
struct LeafReader {
    CCarCamObject& vehicle;
    const SavedChunk* chunk;
    std::string_view key;

    bool operator()(RecordLeaf /*record*/) const {
        // The one leaf whose size must be exact: its fields have no names of their own.
        if (chunk == nullptr || chunk->size != kRecordSize) return false;
        vehicle.sDataChunkSaveStruct = loadRecord(chunk->data);
        return true;
    }
    bool operator()(HistoryLeaf /*history*/) const {
        bool done = false;
        visitHistory(vehicle, key, [&](auto& variable) { done = readHistory(chunk, variable, placeOfHistory(key)); });
        return done;
    }
    // These two have steps of their own.
    bool operator()(WheelStoreLeaf /*store*/) const { return false; }
    bool operator()(GroundTextLeaf /*text*/) const { return false; }
    template <class Value>
    bool operator()(Value& (*field)(CCarCamObject&)) const {
        return readValue(chunk, field(vehicle));
    }
};

}  // namespace

bool isAtLeast(const std::string& rootName, int version) {
    const std::string from = "CarCamDataChunk" + std::to_string(version);
    return std::strcmp(rootName.c_str(), from.c_str()) >= 0;
}

bool Load::read(std::string_view key) const {
    const SavedRow* row = findSavedRow(key);
    return row != nullptr && std::visit(LeafReader{vehicle, tree.find(key), key}, row->binding);
}

bool readValue(const SavedChunk* chunk, double& to) {
    if (!holds(chunk, sizeof(double))) return false;
    to = loadLittleEndian<double>(chunk->data);
    return true;
}

bool readValue(const SavedChunk* chunk, bool& to) {
    if (!holds(chunk, 1)) return false;
    to = *chunk->data != 0;
    return true;
}

bool readValue(const SavedChunk* chunk, std::int32_t& to) {
    if (!holds(chunk, sizeof(std::int32_t))) return false;
    to = loadLittleEndian<std::int32_t>(chunk->data);
    return true;
}

bool readValue(const SavedChunk* chunk, util::Matrix4& to) {
    if (!holds(chunk, to.m.size() * sizeof(double))) return false;
    const unsigned char* from = chunk->data;
    for (double& element : to.m) {
        element = loadLittleEndian<double>(from);
        from += sizeof(double);
    }
    return true;
}

const SavedChunk* childAt(const SavedChunk* store, int index) {
    if (store == nullptr || index < 0 || static_cast<std::size_t>(index) >= store->children.size()) return nullptr;
    return &store->children[static_cast<std::size_t>(index)];
}

}  // namespace ond::ovs::addon

#include "command/BlockInfo.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>

#include "command/Numbers.h"
#include "ond/util/DataChunk.h"

namespace ond::command {

using nlohmann::ordered_json;
using util::DataChunk;

namespace {

constexpr const char* kRoot = "CarCamDataChunk";
constexpr std::size_t kBlockHeader = 12;
constexpr std::uint32_t kHistoryHeader = 16;
constexpr std::uint32_t kHistoryMark = 100;

template <typename Value>
Value valueAt(const DataChunk& chunk, std::size_t offset) {
    Value value{};
    std::memcpy(&value, static_cast<const unsigned char*>(chunk.getData()) + offset, sizeof value);
    return value;
}

/// A payload that tells of itself that it is a history: its sizes agree.
bool isHistory(const DataChunk& chunk) {
    if (chunk.getSize() < static_cast<int>(kHistoryHeader)) return false;
    return valueAt<std::uint32_t>(chunk, 0) == kHistoryHeader && valueAt<std::uint32_t>(chunk, 8) == kHistoryMark &&
           valueAt<std::uint32_t>(chunk, 4) + kHistoryHeader == static_cast<std::uint32_t>(chunk.getSize());
}

void describeHistory(const DataChunk& chunk, ordered_json& key) {
    const auto bytes = valueAt<std::uint32_t>(chunk, 4);
    const auto count = valueAt<std::uint32_t>(chunk, 12);
    key["kind"] = "history";
    key["keys"] = count;
    if (count == 0 || bytes % count != 0 || bytes / count < sizeof(double)) return;
    const std::size_t stride = bytes / count;
    const auto first = valueAt<double>(chunk, kHistoryHeader);
    const auto last = valueAt<double>(chunk, kHistoryHeader + (count - 1) * stride);
    if (std::isfinite(first) && std::isfinite(last)) key["span"] = {first, last};
}

/// A key that a damaged block announces and does not hold.
bool isLost(const DataChunk& chunk) {
    return chunk.getName().empty() && chunk.getSize() == 0 && chunk.getNumChildren() == 0;
}

ordered_json describeLeaf(const DataChunk& chunk) {
    ordered_json key{{"name", chunk.getName()}, {"bytes", chunk.getSize()}};
    if (chunk.getNumChildren() > 0) {
        key["kind"] = "group";
        key["children"] = ordered_json::array();
        // Only one more level: blocks have no deeper ones, and damaged ones must not decide how deep this goes.
        for (int i = 0; i < chunk.getNumChildren(); ++i) {
            const DataChunk& child = chunk.getChild(i);
            if (isLost(child)) continue;
            ordered_json inner{{"name", child.getName()}, {"bytes", child.getSize()}};
            if (isHistory(child)) describeHistory(child, inner);
            key["children"].push_back(std::move(inner));
        }
    } else if (isHistory(chunk)) {
        describeHistory(chunk, key);
    } else if (chunk.getSize() == 1) {
        key["kind"] = "flag";
        key["value"] = valueAt<unsigned char>(chunk, 0) != 0;
    } else if (chunk.getSize() == 4) {
        key["kind"] = "whole number";
        key["value"] = valueAt<std::int32_t>(chunk, 0);
    } else if (chunk.getSize() == 8) {
        key["kind"] = "number";
        const auto value = valueAt<double>(chunk, 0);
        if (std::isfinite(value))
            key["value"] = value;
        else
            key["value"] = std::isnan(value) ? "not a number" : "infinite";
    } else {
        key["kind"] = "bytes";
    }
    return key;
}

}  // namespace

bool isSavedBlock(const std::string& bytes) {
    return bytes.size() > kBlockHeader && bytes.compare(kBlockHeader, std::strlen(kRoot), kRoot) == 0;
}

ordered_json describeBlock(const std::string& bytes) {
    DataChunk root;
    const void* end = root.deserialize(bytes.data(), bytes.size());
    ordered_json block{{"name", root.getName()},
                       {"version", root.getName().substr(std::min(root.getName().size(), std::strlen(kRoot)))},
                       {"bytes", bytes.size()},
                       {"damaged", end != bytes.data() + bytes.size()},
                       {"keys", ordered_json::array()}};
    int lost = 0;
    for (int i = 0; i < root.getNumChildren(); ++i) {
        if (isLost(root.getChild(i)))
            ++lost;
        else
            block["keys"].push_back(describeLeaf(root.getChild(i)));
    }
    if (block["damaged"].get<bool>()) block["lost"] = lost;
    return block;
}

std::string damageOf(const ordered_json& block) {
    if (!block["damaged"].get<bool>()) return {};
    const std::size_t known = block["keys"].size();
    const auto lost = block["lost"].get<std::size_t>();
    if (lost == 0 && known == 0) return "its first sizes do not fit it";
    if (lost == 0) return "its sizes do not add up to its length";
    return std::to_string(lost) + " of its " + std::to_string(known + lost) + " keys are missing";
}

std::string blockLine(const ordered_json& block) {
    int histories = 0;
    std::uint64_t keys = 0;
    const auto count = [&](const ordered_json& list) {
        for (const ordered_json& key : list) {
            if (key.value("kind", "") != "history") continue;
            ++histories;
            keys += key["keys"].get<std::uint32_t>();
        }
    };
    count(block["keys"]);
    for (const ordered_json& key : block["keys"])
        if (key.contains("children")) count(key["children"]);
    return "saved block, version " + block["version"].get<std::string>() + ", " +
           std::to_string(block["bytes"].get<std::size_t>()) + " bytes, " + std::to_string(block["keys"].size()) +
           " keys, " + std::to_string(histories) + " histories with " + std::to_string(keys) + " keys" +
           (block["damaged"].get<bool>() ? ", damaged" : "") + "\n";
}

std::string blockText(const ordered_json& block) {
    const std::string indent = "  ";
    std::string text = blockLine(block);
    for (const ordered_json& key : block["keys"]) {
        text += indent + key["name"].get<std::string>() + ": " + key["kind"].get<std::string>();
        if (key.contains("value"))
            text += " " + (key["value"].is_string() ? key["value"].get<std::string>() : key["value"].dump());
        if (key.contains("keys")) text += " of " + std::to_string(key["keys"].get<std::uint32_t>()) + " keys";
        if (key.contains("span"))
            text += " from " + shortText(key["span"][0].get<double>()) + " to " +
                    shortText(key["span"][1].get<double>()) + " s";
        if (key.contains("children")) text += " of " + std::to_string(key["children"].size());
        text += ", " + std::to_string(key["bytes"].get<int>()) + " bytes\n";
    }
    return text;
}

}  // namespace ond::command

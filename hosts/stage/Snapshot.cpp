#include "stage/Snapshot.h"

#include <cstring>

namespace ond::stage {

namespace {

class Fingerprint {
  public:
    void bytes(const void* data, std::size_t size) {
        const auto* at = static_cast<const unsigned char*>(data);
        for (std::size_t i = 0; i < size; ++i) m_hash = (m_hash ^ at[i]) * 1099511628211ULL;
    }
    void number(double value) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        word(bits);
    }
    /// A whole word at a time: histories are large.
    void word(std::uint64_t value) { m_hash = (m_hash ^ value) * 1099511628211ULL; }
    void text(const std::string& text) {
        word(text.size());
        bytes(text.data(), text.size());
    }
    void matrix(const util::Matrix4& matrix) {
        for (int i = 0; i < 16; ++i) number(matrix[i]);
    }
    [[nodiscard]] std::uint64_t value() const { return m_hash; }

  private:
    std::uint64_t m_hash = 14695981039346656037ULL;
};

void add(Fingerprint& to, const VehicleState& vehicle) {
    to.text(vehicle.name);
    to.word(vehicle.armed ? 1 : 0);
    to.word(vehicle.block.size());
    to.bytes(vehicle.block.data(), vehicle.block.size());
    for (const auto& [label, value] : vehicle.rows) {
        to.text(label);
        to.number(value);
    }
    for (const ChannelSettings& channel : vehicle.channels) {
        to.text(channel.name);
        for (const double value : {channel.multiplier, channel.deadZone, channel.exponent, channel.offset})
            to.number(value);
        if (channel.wire == ChannelWire()) continue;
        to.word(channel.wire.wired ? 1 : 0);
        to.text(channel.wire.vehicle);
        to.text(channel.wire.channel);
    }
}

void add(Fingerprint& to, const ElementState& element) {
    to.matrix(element.track.pose);
    to.word(element.track.keys.size());
    for (const TrackKey& key : element.track.keys) {
        to.number(key.time);
        to.matrix(key.local);
    }
    to.word(static_cast<std::uint64_t>(element.parent));
    for (const int child : element.children) to.word(static_cast<std::uint64_t>(child));
    to.word((element.deleted ? 1U : 0U) + (element.shown ? 2U : 0U));
}

}  // namespace

std::uint64_t fingerprint(const Snapshot& snapshot) {
    Fingerprint all;
    for (const VehicleState& vehicle : snapshot.vehicles) add(all, vehicle);
    for (const ElementState& element : snapshot.elements) add(all, element);
    return all.value();
}

}  // namespace ond::stage

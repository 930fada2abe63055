// The bytes of a take: the standard part, and the extension with everything else.
#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

#include "stage/Glb.h"
#include "stage/GltfBuffer.h"
#include "stage/StageError.h"
#include "stage/TakeCheck.h"
#include "stage/TakeContents.h"
#include "stage/TakeFormat.h"
#include "stage/TakeScene.h"

namespace ond::stage {

using Json = nlohmann::ordered_json;
using util::Matrix4;

namespace {

Json reference(int view) { return view < 0 ? Json(nullptr) : Json(view); }

template <typename T>
Json blobOf(GltfBuffer& buffer, const std::vector<T>& values) {
    return reference(buffer.blob(values.data(), values.size() * sizeof(T)));
}

std::vector<double> flat(const std::vector<util::Vector3<double>>& list) {
    std::vector<double> numbers;
    numbers.reserve(3 * list.size());
    for (const util::Vector3<double>& v : list) numbers.insert(numbers.end(), {v.x, v.y, v.z});
    return numbers;
}

Json keysOf(const Track& track, GltfBuffer& buffer) {
    std::vector<double> times;
    std::vector<double> matrices;
    matrices.reserve(16 * track.keys.size());
    for (const TrackKey& key : track.keys) {
        times.push_back(key.time);
        matrices.insert(matrices.end(), key.local.m.begin(), key.local.m.end());
    }
    Json keys{{"count", times.size()}};
    // The elements of a vehicle have mostly the same times.
    keys["times"] = reference(buffer.sharedBlob(times.data(), times.size() * sizeof(double)));
    keys["matrices"] = blobOf(buffer, matrices);
    return keys;
}

Json sourceOf(const ChannelWire& wire) {
    if (!wire.wired) return nullptr;
    Json out = Json::object();
    if (!wire.vehicle.empty()) out["vehicle"] = wire.vehicle;
    out["channel"] = wire.channel;
    return out;
}

Json stateOf(const VehicleState& vehicle, bool exact, GltfBuffer& buffer) {
    Json out{{"name", vehicle.name}, {"armed", vehicle.armed}};
    if (exact) out["block"] = blobOf(buffer, vehicle.block);
    out["rows"] = Json::object();
    for (const auto& [label, value] : vehicle.rows) out["rows"][label] = value;
    out["channels"] = Json::array();
    for (const ChannelSettings& channel : vehicle.channels) {
        out["channels"].push_back({{"name", channel.name},
                                   {"multiplier", channel.multiplier},
                                   {"deadZone", channel.deadZone},
                                   {"exponent", channel.exponent},
                                   {"offset", channel.offset}});
        if (!(channel.wire == ChannelWire())) out["channels"].back()["source"] = sourceOf(channel.wire);
    }
    return out;
}

/// The values of the gauges, or those of all other columns, row by row.
std::vector<double> valuesOf(const Curves& curves, bool gauges) {
    std::vector<double> values;
    for (std::size_t i = 0; i < curves.values.size(); ++i)
        if ((curves.columns[i % curves.columns.size()].kind == CurveKind::gauge) == gauges)
            values.push_back(curves.values[i]);
    return values;
}

/// The gauges stand beside the columns, so that a reader that knows none passes them over.
Json curvesOf(const Curves& curves, bool withGauges, GltfBuffer& buffer) {
    Json out{{"first", curves.first}, {"count", curves.rows()}, {"columns", Json::array()}};
    Json gauges = Json::array();
    for (const CurveColumn& column : curves.columns)
        if (column.kind == CurveKind::gauge)
            gauges.push_back(column.name);
        else
            out["columns"].push_back({{"name", column.name}, {"kind", nameOf(column.kind)}});
    out["values"] = blobOf(buffer, valuesOf(curves, false));
    if (withGauges && !gauges.empty())
        out["gauges"] = {{"names", gauges}, {"values", blobOf(buffer, valuesOf(curves, true))}};
    return out;
}

class ExtensionWriter {
  public:
    ExtensionWriter(const TakeContents& contents, bool exact, const TakePlaces& places, GltfBuffer& buffer)
        : m_contents(contents), m_exact(exact), m_places(places), m_buffer(buffer) {}

    Json write() {
        Json out{{"version", kTakeVersion}};
        out["frameRate"] = {m_contents.rate.numerator, m_contents.rate.denominator};
        out["frames"] = frames();
        out["now"] = m_contents.now;
        if (m_places.origin != 0) out["origin"] = m_places.origin;
        out["plugin"] = {{"type", m_contents.plugin.type},
                         {"version", m_contents.plugin.version},
                         {"stamp", m_contents.plugin.stamp}};
        writeElements(out);
        out["vehicles"] = vehicles();
        out["messages"] = messages();
        if (m_exact) out["journal"] = journal();
        return out;
    }

  private:
    [[nodiscard]] Json frames() const {
        std::vector<std::string> names;
        for (const VehicleState& vehicle : m_contents.vehicles) names.push_back(vehicle.name);
        const auto [first, last] = recordedFrames(m_contents.journal, names).value_or(std::make_pair(0, 0));
        return {first, last};
    }

    void writeElements(Json& out) {
        Json living = Json::array();
        Json deleted = Json::array();
        for (std::size_t i = 0; i < m_contents.elements.size(); ++i) {
            const TakeElement& element = m_contents.elements[i];
            if (m_places.nodes[i] >= 0) {
                Json entry{{"node", m_places.nodes[i]}};
                describe(element, i, entry);
                living.push_back(std::move(entry));
            } else if (m_exact) {
                Json entry{{"place", i}, {"name", element.name}};
                describe(element, i, entry);
                deleted.push_back(std::move(entry));
            }
        }
        out["elements"] = std::move(living);
        if (!deleted.empty()) out["deleted"] = std::move(deleted);
    }

    void describe(const TakeElement& element, std::size_t place, Json& out) {
        if (!element.identifier.empty()) out["identifier"] = element.identifier;
        writeOwner(element, out);
        if (m_exact) {
            out["pose"] = reference(m_buffer.blob(element.state.track.pose.m.data(), sizeof(Matrix4::m)));
            if (!element.state.track.keys.empty()) out["keys"] = keysOf(element.state.track, m_buffer);
        }
        out["shown"] = element.state.shown;
        out["ownColour"] = element.ownColour;
        out["wireframe"] = element.wireframe;
        out["colour"] = {element.colour[0], element.colour[1], element.colour[2]};
        if (element.isCamera) out["fieldOfView"] = element.fieldOfView;
        if (element.surface != SurfaceKind::none)
            out["surface"] = element.surface == SurfaceKind::mesh ? "mesh" : "unsupported";
        if (m_places.meshes[place] >= 0) out["mesh"] = m_places.meshes[place];
        if (m_exact) writeShape(element.shape, out);
        out["placedByUser"] = element.placedByUser;
        out["selected"] = element.selected;
    }

    void writeOwner(const TakeElement& element, Json& out) const {
        if (element.vehicle.empty()) return;
        for (std::size_t v = 0; v < m_contents.vehicles.size(); ++v)
            if (m_contents.vehicles[v].name == element.vehicle) {
                out["vehicle"] = v;
                return;
            }
        out["vehicleName"] = element.vehicle;
    }

    void writeShape(const util::CMesh& shape, Json& out) {
        const bool empty =
            shape.vertices.empty() && shape.faces.empty() && shape.texCoords.empty() && shape.tFaces.empty();
        if (empty) return;
        out["vertices"] = blobOf(m_buffer, flat(shape.vertices));
        out["faces"] = blobOf(m_buffer, shape.faces);
        if (!shape.texCoords.empty()) out["textureCoordinates"] = blobOf(m_buffer, flat(shape.texCoords));
        if (shape.tFaces != std::vector<int>(shape.faces.size(), 0))
            out["textureFaces"] = blobOf(m_buffer, shape.tFaces);
    }

    Json vehicles() {
        Json all = Json::array();
        for (std::size_t v = 0; v < m_contents.vehicles.size(); ++v) {
            Json entry = stateOf(m_contents.vehicles[v], m_exact, m_buffer);
            if (v < m_contents.curves.size() && m_contents.curves[v].rows() > 0)
                entry["curves"] = curvesOf(m_contents.curves[v], m_exact, m_buffer);
            all.push_back(std::move(entry));
        }
        return all;
    }

    [[nodiscard]] Json messages() const {
        Json all = Json::array();
        for (const StageMessage& message : m_contents.messages)
            all.push_back({{"frame", message.frame},
                           {"vehicle", message.vehicle},
                           {"caption", message.caption},
                           {"text", message.text},
                           {"count", message.count}});
        return all;
    }

    Json journal() {
        Json states = Json::array();
        Json runs = Json::array();
        for (const RunRecord& run : m_contents.journal) {
            Json entry{{"from", run.from}, {"to", run.to}};
            if (run.before != nullptr) {
                entry["before"] = states.size();
                states.push_back(snapshot(*run.before));
            }
            entry["inputs"] = Json::array();
            for (const RunInput& input : run.inputs)
                entry["inputs"].push_back(
                    {{"armed", input.armed}, {"channels", input.channels}, {"axes", blobOf(m_buffer, input.axes)}});
            char left[17];
            std::snprintf(left, sizeof left, "%016llx", static_cast<unsigned long long>(run.left));
            entry["left"] = left;
            runs.push_back(std::move(entry));
        }
        return {{"states", std::move(states)}, {"runs", std::move(runs)}};
    }

    Json snapshot(const Snapshot& state) {
        Json out{{"now", state.now}, {"vehicles", Json::array()}, {"elements", Json::array()}};
        for (const VehicleState& vehicle : state.vehicles) out["vehicles"].push_back(stateOf(vehicle, true, m_buffer));
        std::vector<double> poses;
        for (const ElementState& element : state.elements) {
            poses.insert(poses.end(), element.track.pose.m.begin(), element.track.pose.m.end());
            Json entry = Json::object();
            if (element.parent >= 0) entry["parent"] = element.parent;
            if (!element.children.empty()) entry["children"] = element.children;
            if (element.deleted) entry["deleted"] = true;
            if (!element.shown) entry["shown"] = false;
            if (!element.track.keys.empty()) entry["keys"] = keysOf(element.track, m_buffer);
            out["elements"].push_back(std::move(entry));
        }
        out["poses"] = blobOf(m_buffer, poses);
        return out;
    }

    const TakeContents& m_contents;
    bool m_exact;
    const TakePlaces& m_places;
    GltfBuffer& m_buffer;
};

/// Of a key: its time and matrix, and what the animation holds of it in single precision.
constexpr std::size_t kBytesPerKey = (1 + 16) * sizeof(double) + (1 + 3 + 4 + 3) * sizeof(float);
/// For descriptions and shapes.
constexpr std::size_t kBytesBeside = 1U << 16U;

std::size_t roomOf(const std::vector<VehicleState>& vehicles) {
    std::size_t room = 0;
    for (const VehicleState& vehicle : vehicles) room += vehicle.block.size();
    return room;
}

/// About how many bytes the take will have, rather more than less. What is not used of it costs no memory.
std::size_t roomFor(const TakeContents& contents) {
    std::size_t room = kBytesBeside + roomOf(contents.vehicles);
    for (const TakeElement& element : contents.elements) room += kBytesPerKey * element.state.track.keys.size();
    for (const Curves& curves : contents.curves) room += sizeof(double) * curves.values.size();
    for (const RunRecord& run : contents.journal) {
        for (const RunInput& input : run.inputs) room += sizeof(double) * input.axes.size();
        if (run.before == nullptr) continue;
        room += roomOf(run.before->vehicles);
        for (const ElementState& element : run.before->elements) room += kBytesPerKey * element.track.keys.size();
    }
    return room;
}

}  // namespace

std::vector<unsigned char> takeBytes(const TakeContents& contents, const TakeOptions& options) {
    requireWritable(contents);
    if (options.withExtension && options.exactTracks) requireReadable(contents);
    Json document{{"asset", {{"version", "2.0"}, {"generator", "quadrig"}}}};
    if (options.withExtension) document["extensionsUsed"] = Json::array({kTakeExtension});
    GltfBuffer buffer(document);
    if (options.withExtension && options.exactTracks) buffer.reserve(roomFor(contents));
    const TakePlaces places = writeTakeScene(contents, options, document, buffer);
    if (options.withExtension)
        document["extensions"][kTakeExtension] = ExtensionWriter(contents, options.exactTracks, places, buffer).write();
    std::vector<unsigned char> binary = buffer.take();
    return joinGlb(document.dump(-1, ' ', false, Json::error_handler_t::replace), std::move(binary));
}

}  // namespace ond::stage

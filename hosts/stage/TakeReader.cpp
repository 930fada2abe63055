// Reading takes from bytes that may be damaged. Nothing is believed: see JsonPlace and TakeBlobs.
#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <utility>

#include "stage/SavedBlock.h"
#include "stage/StageError.h"
#include "stage/TakeBlobs.h"
#include "stage/TakeContents.h"
#include "stage/TakeFormat.h"
#include "stage/TakeJson.h"

namespace ond::stage {

using util::CMesh;
using util::Matrix4;
using util::Vector3;

namespace {

constexpr int kLargestRatio = 1000000;
constexpr int kMany = 1000000000;

bool flagOr(const JsonPlace& place, const char* key, bool otherwise) {
    return place.has(key) ? place.at(key).flag() : otherwise;
}

std::string textOr(const JsonPlace& place, const char* key) {
    return place.has(key) ? place.at(key).text() : std::string();
}

int frameAt(const JsonPlace& place) { return place.whole(-kFarthestFrame, kFarthestFrame); }

std::vector<Vector3<double>> triples(const std::vector<double>& numbers) {
    std::vector<Vector3<double>> list(numbers.size() / 3);
    for (std::size_t i = 0; i < list.size(); ++i) list[i] = {numbers[3 * i], numbers[3 * i + 1], numbers[3 * i + 2]};
    return list;
}

class TakeReader {
  public:
    TakeReader(const JsonPlace& document, const GlbChunks& chunks)
        : m_document(document), m_take(document.at("extensions").at(kTakeExtension)), m_blobs(document, chunks) {}

    TakeContents read() {
        m_contents.rate = rate();
        m_contents.now = frameAt(m_take.at("now"));
        const JsonPlace plugin = m_take.at("plugin");
        m_contents.plugin.type = plugin.at("type").text();
        m_contents.plugin.version = static_cast<std::uint32_t>(plugin.at("version").integer(0, 0xFFFFFFFF));
        m_contents.plugin.stamp = static_cast<std::uint64_t>(plugin.at("stamp").integer(0, INT64_MAX));
        readVehicles();
        readElements();
        readMessages();
        if (m_take.has("journal")) readJournal(m_take.at("journal"));
        return std::move(m_contents);
    }

  private:
    [[nodiscard]] FrameRate rate() const {
        const JsonPlace place = m_take.at("frameRate");
        const std::vector<JsonPlace> parts = place.each();
        if (parts.size() != 2) place.fail("is no pair of numbers");
        const FrameRate rate{parts[0].whole(1, kLargestRatio), parts[1].whole(1, kLargestRatio)};
        if (rate.perSecond() < 1.0 || rate.perSecond() > 1000.0) place.fail("is not within 1 and 1000 a second");
        return rate;
    }

    // Vehicles.

    void readVehicles() {
        const std::vector<JsonPlace> places = m_take.at("vehicles").each();
        bool anyCurves = false;
        for (const JsonPlace& place : places) {
            m_contents.vehicles.push_back(vehicleAt(place));
            m_contents.curves.emplace_back();
            if (!place.has("curves")) continue;
            m_contents.curves.back() = curvesAt(place.at("curves"));
            anyCurves = true;
        }
        if (!anyCurves) m_contents.curves.clear();
        requireSources(m_take.at("vehicles"), m_contents.vehicles);
    }

    VehicleState vehicleAt(const JsonPlace& place) {
        VehicleState state;
        state.name = place.at("name").text();
        state.armed = place.at("armed").flag();
        if (place.has("block")) state.block = m_blobs.bytes(place.at("block"));
        if (!state.block.empty() && !isWholeBlock(state.block)) place.at("block").fail("is a damaged saved state");
        const JsonPlace rows = place.at("rows");
        for (const std::string& label : rows.names()) state.rows[label] = rows.at(label.c_str()).number();
        for (const JsonPlace& channel : place.at("channels").each())
            state.channels.push_back({channel.at("name").text(), channel.at("multiplier").number(),
                                      channel.at("deadZone").number(), channel.at("exponent").number(),
                                      channel.at("offset").number(), wireAt(channel)});
        return state;
    }

    static ChannelWire wireAt(const JsonPlace& channel) {
        if (!channel.has("source")) return {};
        const JsonPlace source = channel.at("source");
        if (source.isNull()) return {false, "", ""};
        ChannelWire wire{true, textOr(source, "vehicle"), source.at("channel").text()};
        if (wire.channel.empty()) source.at("channel").fail("is empty");
        return wire;
    }

    /// Refuses axes of vehicles and channels that are not among those of the list.
    static void requireSources(const JsonPlace& list, const std::vector<VehicleState>& vehicles) {
        std::set<std::pair<std::string, std::string>> there;
        for (const VehicleState& state : vehicles)
            for (const ChannelSettings& settings : state.channels) there.emplace(state.name, settings.name);
        for (const VehicleState& state : vehicles)
            for (const ChannelSettings& settings : state.channels) {
                const ChannelWire& wire = settings.wire;
                if (wire.channel.empty()) continue;
                if (there.count({wire.vehicle.empty() ? state.name : wire.vehicle, wire.channel}) == 0)
                    list.fail("has a channel '" + settings.name + "' whose source is no channel of a vehicle there");
            }
    }

    Curves curvesAt(const JsonPlace& place) {
        Curves curves;
        curves.first = frameAt(place.at("first"));
        const int count = place.at("count").whole(0, kMany);
        for (const JsonPlace& column : place.at("columns").each()) {
            CurveColumn out{column.at("name").text(), CurveKind::output};
            if (!kindOf(column.at("kind").text(), &out.kind) || out.kind == CurveKind::gauge)
                column.at("kind").fail("is no kind of curve");
            curves.columns.push_back(std::move(out));
        }
        curves.values = m_blobs.doubles(place.at("values"), 1);
        if (curves.values.size() != static_cast<std::size_t>(count) * curves.columns.size())
            place.at("values").fail("does not hold 'count' rows");
        if (place.has("gauges")) addGauges(curves, place.at("gauges"), static_cast<std::size_t>(count));
        return curves;
    }

    /// Puts the gauges behind the columns of a table that has `count` rows.
    void addGauges(Curves& curves, const JsonPlace& place, std::size_t count) {
        const std::vector<JsonPlace> names = place.at("names").each();
        if (names.empty()) place.at("names").fail("names no gauge");
        const std::vector<double> gauges = m_blobs.doubles(place.at("values"), 1);
        if (gauges.size() != count * names.size()) place.at("values").fail("does not hold 'count' rows");
        std::vector<double> rows;
        rows.reserve(curves.values.size() + gauges.size());
        const auto add = [&rows](const std::vector<double>& from, std::size_t row, std::size_t width) {
            for (std::size_t i = row * width; i < (row + 1) * width; ++i) rows.push_back(from[i]);
        };
        for (std::size_t row = 0; row < count; ++row) {
            add(curves.values, row, curves.columns.size());
            add(gauges, row, names.size());
        }
        curves.values = std::move(rows);
        for (const JsonPlace& name : names) curves.columns.push_back({name.text(), CurveKind::gauge});
    }

    // Elements. Their places count deleted ones as well, which have no node.

    void readElements() {
        const std::vector<JsonPlace> living = m_take.at("elements").each();
        std::vector<JsonPlace> deleted;
        if (m_take.has("deleted")) deleted = m_take.at("deleted").each();
        const std::size_t count = living.size() + deleted.size();
        if (count > static_cast<std::size_t>(kMany)) m_take.fail("has too many elements");
        std::vector<std::optional<JsonPlace>> entries(count);
        std::vector<bool> isDeleted(count, false);
        for (const JsonPlace& entry : deleted) {
            const JsonPlace placeNumber = entry.at("place");
            const auto place = static_cast<std::size_t>(placeNumber.whole(0, static_cast<int>(count) - 1));
            if (isDeleted[place]) placeNumber.fail("is there twice");
            isDeleted[place] = true;
            entries[place] = entry;
        }
        std::size_t next = 0;
        for (const JsonPlace& entry : living) {
            while (isDeleted[next]) ++next;
            entries[next++] = entry;
        }
        for (std::size_t i = 0; i < count; ++i) m_contents.elements.push_back(elementAt(*entries[i]));
        for (std::size_t i = 0; i < count; ++i) m_contents.elements[i].state.deleted = isDeleted[i];
        readNodes(entries, isDeleted);
    }

    TakeElement elementAt(const JsonPlace& place) {
        TakeElement element;
        if (place.has("name")) element.name = place.at("name").text();
        element.identifier = textOr(place, "identifier");
        element.vehicle = textOr(place, "vehicleName");
        if (place.has("vehicle")) {
            const int last = static_cast<int>(m_contents.vehicles.size()) - 1;
            element.vehicle = m_contents.vehicles[static_cast<std::size_t>(place.at("vehicle").whole(0, last))].name;
        }
        element.state.track.pose = m_blobs.matrices(place.at("pose"), 1)[0];
        if (place.has("keys")) element.state.track.keys = keysAt(place.at("keys"));
        element.state.shown = flagOr(place, "shown", true);
        element.ownColour = flagOr(place, "ownColour", false);
        element.wireframe = flagOr(place, "wireframe", false);
        readColour(place, element.colour);
        element.isCamera = place.has("fieldOfView");
        if (element.isCamera) element.fieldOfView = place.at("fieldOfView").number();
        element.surface = surfaceAt(place);
        readShape(place, element.shape);
        element.placedByUser = flagOr(place, "placedByUser", false);
        element.selected = flagOr(place, "selected", false);
        return element;
    }

    static void readColour(const JsonPlace& place, float (&colour)[3]) {
        if (!place.has("colour")) return;
        const std::vector<JsonPlace> parts = place.at("colour").each();
        if (parts.size() != 3) place.at("colour").fail("does not have three numbers");
        for (std::size_t i = 0; i < 3; ++i) {
            colour[i] = static_cast<float>(parts[i].number());
            if (!std::isfinite(colour[i])) parts[i].fail("is too large");
        }
    }

    static SurfaceKind surfaceAt(const JsonPlace& place) {
        if (!place.has("surface")) return SurfaceKind::none;
        const JsonPlace surface = place.at("surface");
        if (surface.text() == "mesh") return SurfaceKind::mesh;
        if (surface.text() != "unsupported") surface.fail("is no kind of surface");
        return SurfaceKind::unsupported;
    }

    void readShape(const JsonPlace& place, CMesh& shape) {
        if (!place.has("vertices")) return;
        shape.vertices = triples(m_blobs.doubles(place.at("vertices"), 3));
        shape.faces = m_blobs.integers(place.at("faces"));
        if (place.has("textureCoordinates"))
            shape.texCoords = triples(m_blobs.doubles(place.at("textureCoordinates"), 3));
        if (place.has("textureFaces"))
            shape.tFaces = m_blobs.integers(place.at("textureFaces"));
        else
            shape.tFaces.assign(shape.faces.size(), 0);
    }

    std::vector<TrackKey> keysAt(const JsonPlace& place) {
        const auto count = static_cast<std::size_t>(place.at("count").whole(1, kMany));
        const std::vector<double> times = m_blobs.doubles(place.at("times"), 1);
        if (times.size() != count) place.at("times").fail("does not hold 'count' numbers");
        const std::vector<Matrix4> matrices = m_blobs.matrices(place.at("matrices"), count);
        const double farthest = m_contents.rate.time(kFarthestFrame);
        std::vector<TrackKey> keys;
        keys.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            const bool ascending = i == 0 || times[i] > times[i - 1];
            if (!ascending || std::abs(times[i]) > farthest) place.at("times").fail("does not hold ascending times");
            keys.push_back({times[i], matrices[i], 0});
        }
        return keys;
    }

    /// Names and parents, which stand in the nodes.
    void readNodes(const std::vector<std::optional<JsonPlace>>& entries, const std::vector<bool>& isDeleted) {
        std::vector<JsonPlace> nodes;
        if (m_document.has("nodes")) nodes = m_document.at("nodes").each();
        const int last = static_cast<int>(nodes.size()) - 1;
        std::vector<int> elementOfNode(nodes.size(), -1);
        std::size_t used = 0;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (isDeleted[i]) continue;
            const JsonPlace reference = entries[i]->at("node");
            const auto node = static_cast<std::size_t>(reference.whole(0, last));
            if (elementOfNode[node] >= 0) reference.fail("is the node of two elements");
            elementOfNode[node] = static_cast<int>(i);
            m_contents.elements[i].name = textOr(nodes[node], "name");
            ++used;
        }
        if (used != nodes.size()) m_document.at("nodes").fail("has nodes that are no elements of the take");
        for (std::size_t node = 0; node < nodes.size(); ++node)
            if (nodes[node].has("children"))
                linkChildren(nodes[node].at("children"), elementOfNode, elementOfNode[node]);
        std::vector<const ElementState*> states;
        for (const TakeElement& element : m_contents.elements) states.push_back(&element.state);
        if (!isSoundTree(states)) m_document.at("nodes").fail("is no tree");
    }

    void linkChildren(const JsonPlace& list, const std::vector<int>& elementOfNode, int parent) {
        const int last = static_cast<int>(elementOfNode.size()) - 1;
        for (const JsonPlace& place : list.each()) {
            const int child = elementOfNode[static_cast<std::size_t>(place.whole(0, last))];
            ElementState& state = m_contents.elements[static_cast<std::size_t>(child)].state;
            if (state.parent >= 0) place.fail("is a child twice");
            state.parent = parent;
            m_contents.elements[static_cast<std::size_t>(parent)].state.children.push_back(child);
        }
    }

    void readMessages() {
        if (!m_take.has("messages")) return;
        const int last = static_cast<int>(m_contents.vehicles.size()) - 1;
        for (const JsonPlace& place : m_take.at("messages").each())
            m_contents.messages.push_back({frameAt(place.at("frame")), place.at("vehicle").whole(0, last),
                                           place.at("caption").text(), place.at("text").text(),
                                           place.at("count").whole(1, kMany)});
    }

    // Journal.

    void readJournal(const JsonPlace& journal) {
        std::vector<std::shared_ptr<const Snapshot>> states;
        for (const JsonPlace& place : journal.at("states").each())
            states.push_back(std::make_shared<const Snapshot>(snapshotAt(place)));
        const int last = static_cast<int>(states.size()) - 1;
        for (const JsonPlace& place : journal.at("runs").each()) {
            RunRecord run;
            run.from = frameAt(place.at("from"));
            run.to = place.at("to").whole(run.from, kFarthestFrame);
            if (place.has("before")) run.before = states[static_cast<std::size_t>(place.at("before").whole(0, last))];
            if (m_contents.journal.empty() && run.before == nullptr) place.fail("does not say what it started from");
            for (const JsonPlace& input : place.at("inputs").each()) run.inputs.push_back(inputAt(input, run));
            run.left = fingerprintAt(place.at("left"));
            m_contents.journal.push_back(std::move(run));
        }
    }

    RunInput inputAt(const JsonPlace& place, const RunRecord& run) {
        RunInput input;
        input.armed = place.at("armed").flag();
        input.channels = place.at("channels").whole(0, kMostChannels);
        input.axes = m_blobs.doubles(place.at("axes"), 1);
        const std::int64_t rows = input.armed ? std::int64_t{run.to} - run.from + 1 : 0;
        if (static_cast<std::int64_t>(input.axes.size()) != rows * input.channels)
            place.at("axes").fail("does not hold one row per frame");
        return input;
    }

    static std::uint64_t fingerprintAt(const JsonPlace& place) {
        const std::string& text = place.text();
        if (text.size() != 16 || text.find_first_not_of("0123456789abcdef") != std::string::npos)
            place.fail("is no number of 16 hexadecimal digits");
        return std::stoull(text, nullptr, 16);
    }

    Snapshot snapshotAt(const JsonPlace& place) {
        Snapshot snapshot;
        snapshot.now = frameAt(place.at("now"));
        for (const JsonPlace& vehicle : place.at("vehicles").each()) snapshot.vehicles.push_back(vehicleAt(vehicle));
        requireSources(place.at("vehicles"), snapshot.vehicles);
        const std::vector<JsonPlace> entries = place.at("elements").each();
        if (entries.size() > m_contents.elements.size()) place.at("elements").fail("has more entries than the take");
        const std::vector<Matrix4> poses = m_blobs.matrices(place.at("poses"), entries.size());
        const int last = static_cast<int>(entries.size()) - 1;
        std::vector<const ElementState*> states;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            ElementState state;
            state.track.pose = poses[i];
            if (entries[i].has("keys")) state.track.keys = keysAt(entries[i].at("keys"));
            if (entries[i].has("parent")) state.parent = entries[i].at("parent").whole(0, last);
            if (entries[i].has("children"))
                for (const JsonPlace& child : entries[i].at("children").each())
                    state.children.push_back(child.whole(0, last));
            state.deleted = flagOr(entries[i], "deleted", false);
            state.shown = flagOr(entries[i], "shown", true);
            snapshot.elements.push_back(std::move(state));
        }
        for (const ElementState& state : snapshot.elements) states.push_back(&state);
        if (!isSoundTree(states)) place.at("elements").fail("is no tree");
        return snapshot;
    }

    JsonPlace m_document;
    JsonPlace m_take;
    TakeBlobs m_blobs;
    TakeContents m_contents;
};

nlohmann::json parse(std::string_view text) {
    try {
        return nlohmann::json::parse(text);
    } catch (const nlohmann::json::exception&) {
        throw FileDamage("its description is no JSON");
    }
}

/// Says what kind of file it is instead where it is no take of this version.
void requireTake(const JsonPlace& document, const std::string& name) {
    if (!document.has("extensions") || !document.at("extensions").has(kTakeExtension))
        throw StageError("'" + name + "' is plain glTF without a recording: use it as ground instead");
    const JsonPlace take = document.at("extensions").at(kTakeExtension);
    const int version = take.at("version").whole(0, kMany);
    if (version > kTakeVersion)
        throw StageError("'" + name + "' was written by a newer version (version " + std::to_string(version) +
                         "; this program reads " + std::to_string(kTakeVersion) + ")");
    if (version < kTakeVersion) take.at("version").fail("is no version of the format");
    if (take.at("vehicles").each().empty()) throw StageError("'" + name + "' has no vehicle");
    for (const JsonPlace& element : take.at("elements").each())
        if (!element.has("pose"))
            throw StageError("'" + name +
                             "' holds no exact tracks, as it was written for showing only: "
                             "open the take that it was made from");
}

}  // namespace

TakeContents readTake(const std::vector<unsigned char>& bytes, const std::string& name) {
    try {
        const GlbChunks chunks = splitGlb(bytes);
        const nlohmann::json json = parse(chunks.json);
        const JsonPlace document(json, "");
        requireTake(document, name);
        return TakeReader(document, chunks).read();
    } catch (const FileDamage& damage) {
        throw StageError("'" + name + "' is not a take: " + damage.what());
    }
}

}  // namespace ond::stage

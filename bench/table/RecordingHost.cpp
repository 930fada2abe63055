#include "table/RecordingHost.h"

#include <cstring>

#include "ond/ovs/CUndo.h"
#include "stage/MeshSurface.h"
#include "table/Timing.h"

namespace ond::bench::table {

namespace {

constexpr std::uint32_t kOutputChannels = 41;

}  // namespace

HostCall::HostCall(HostMeter& meter, HostMeter::Kind kind) : m_meter(meter) {
    if (!m_meter.isOn) return;
    ++m_meter.calls[kind];
    m_start = nowNanoseconds();
}

HostCall::~HostCall() {
    if (m_meter.isOn) m_meter.nanoseconds += nowNanoseconds() - m_start;
}

void Recording::reserve(std::size_t count) {
    if (count <= keys.capacity()) return;
    const std::size_t made = keys.size();
    keys.resize(count, Key{nullptr, 0.0, {}});
    keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(made), keys.end());
}

ovs::MeshHandle* Element::getParent() {
    const HostCall call(m_recording.meter, HostMeter::lookups);
    return parent;
}

std::int32_t Element::getNumChildren() {
    const HostCall call(m_recording.meter, HostMeter::lookups);
    return 0;
}

void Element::readLocalMatrix(util::Matrix4& out) {
    const HostCall call(m_recording.meter, HostMeter::reads);
    out = m_local;
}

void Element::readWorldMatrix(util::Matrix4& out) {
    const HostCall call(m_recording.meter, HostMeter::reads);
    out = world;
}

void Element::setLocalMatrix(const util::Matrix4& matrix) {
    const HostCall call(m_recording.meter, HostMeter::writes);
    m_local = matrix;
    moveTo(parent != nullptr ? parent->world * m_local : m_local);
    m_recording.keys.push_back({this, m_recording.now, world});
}

void Element::setWorldMatrix(const util::Matrix4& matrix) {
    const HostCall call(m_recording.meter, HostMeter::writes);
    if (m_rides) m_local = Inverse(parent->world) * matrix;
    moveTo(matrix);
    m_recording.keys.push_back({this, m_recording.now, world});
}

void Element::ride() {
    if (m_rides || parent == nullptr) return;
    m_rides = true;
    m_local = Inverse(parent->world) * world;
    parent->m_riders.push_back(this);
}

void Element::moveTo(const util::Matrix4& matrix) {
    world = matrix;
    for (Element* rider : m_riders) rider->moveTo(world * rider->m_local);
}

double Axis::value() const {
    const HostCall call(m_meter, HostMeter::devices);
    return position;
}

GroundSurface::GroundSurface(HostMeter& meter, const util::CMesh& mesh, bool castable)
    : m_meter(meter), m_mesh(mesh), m_tree(castable ? std::make_unique<stage::MeshSurface>(mesh) : nullptr) {}

GroundSurface::~GroundSurface() = default;

void GroundSurface::getMesh(util::CMesh& out) {
    const HostCall call(m_meter, HostMeter::surfaces);
    out = m_mesh;
}

bool GroundSurface::intersect(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double* t,
                              util::Vector3<double>* normal) {
    const HostCall call(m_meter, HostMeter::surfaces);
    return m_tree != nullptr && m_tree->intersect(origin, direction, t, normal);
}

RecordingHost::RecordingHost(std::shared_ptr<Recording> into) : m_recording(std::move(into)), recording(*m_recording) {
    m_link.descriptor = &m_descriptor;
    link = &m_link;
}

RecordingHost::~RecordingHost() = default;

void RecordingHost::keepPoses() {
    for (const auto& [name, element] : elements) element->keepPose();
}

void RecordingHost::restorePoses() {
    for (const auto& [name, element] : elements) element->restorePose();
}

void* RecordingHost::callExtension(std::uint32_t id, void* argument) {
    if (id != kOutputChannels) return nullptr;
    m_outputs.push_back(
        std::make_unique<unidevice::OutputProperty>(*static_cast<unidevice::OutputChannelRecord*>(argument)));
    return static_cast<unidevice::Property*>(m_outputs.back().get());
}

bool RecordingHost::hasExtension(std::uint32_t id) { return id == kOutputChannels; }

void RecordingHost::pushUndo(ovs::CUndo* record, std::int32_t /*reserved*/) {
    if (record != nullptr) record->release();
}

unidevice::Property* RecordingHost::createInputProperty(std::string name, std::uint32_t type,
                                                        unidevice::Property::Factory* /*factory*/) {
    inputs.push_back(std::make_unique<Axis>(recording.meter, std::move(name), static_cast<std::int32_t>(type)));
    return inputs.back().get();
}

void RecordingHost::storeChunk(const void* data, std::uint64_t length) {
    blockLength = length;
    if (!keepsBlock) return;
    block.resize(length);
    std::memcpy(block.data(), data, length);
}

const void* RecordingHost::getChunk(std::int32_t /*reserved*/) { return block.empty() ? nullptr : block.data(); }

ovs::MeshHandle* RecordingHost::findElement(std::string identifier) {
    const auto found = elements.find(identifier);
    return found == elements.end() ? nullptr : found->second.get();
}

ovs::MeshHandle* RecordingHost::createCameraElement(std::string name, ovs::MeshHandle* parent, bool /*reserved*/) {
    return add(std::move(name), parent);
}

ovs::MeshHandle* RecordingHost::createMeshElement(std::string name, ovs::MeshHandle* parent,
                                                  const util::CMesh* /*mesh*/, std::int32_t /*reserved*/) {
    return add(std::move(name), parent);
}

ovs::TransformObject* RecordingHost::getTransformObject(ovs::MeshHandle* element, double /*time*/) {
    const HostCall call(recording.meter, HostMeter::lookups);
    return static_cast<Element*>(element);
}

ovs::AppearanceObject* RecordingHost::getAppearanceObject(ovs::MeshHandle* element) {
    return static_cast<Element*>(element);
}

ovs::SurfaceObject* RecordingHost::getSurfaceObject(ovs::MeshHandle* element, double /*time*/) {
    const HostCall call(recording.meter, HostMeter::lookups);
    return element == ground.get() ? surface.get() : nullptr;
}

void RecordingHost::releaseElementData(ovs::MeshHandle* /*element*/) {
    const HostCall call(recording.meter, HostMeter::lookups);
}

void RecordingHost::releaseSurfaceObject(ovs::SurfaceObject* /*surface*/) {
    const HostCall call(recording.meter, HostMeter::lookups);
}

void RecordingHost::releaseTransformObject(ovs::TransformObject* /*transform*/) {
    const HostCall call(recording.meter, HostMeter::lookups);
}

double RecordingHost::getCurrentTime() {
    const HostCall call(recording.meter, HostMeter::lookups);
    return recording.now;
}

double RecordingHost::getFrameStep() {
    const HostCall call(recording.meter, HostMeter::lookups);
    return frameStep;
}

Element* RecordingHost::add(std::string name, ovs::MeshHandle* parent) {
    auto& element = elements[name];
    element = std::make_unique<Element>(recording, name, static_cast<Element*>(parent));
    return element.get();
}

}  // namespace ond::bench::table

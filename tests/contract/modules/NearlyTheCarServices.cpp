#include "NearlyTheCarServices.h"

#include <algorithm>
#include <cstring>

#include "ond/ovs/AppearanceObject.h"
#include "ond/ovs/CameraObject.h"
#include "ond/unidevice/OutputProperty.h"
#include "ond/util/CMesh.h"
#include "ond/util/DataChunk.h"

namespace ond::test {

namespace {

constexpr const char* kSpeed = "Current Velocity";
constexpr const char* kStored = "Store Ground Mesh Data";
constexpr const char* kMultiplier = "Multiplier";
constexpr const char* kButton = "Re-Initialize Car Attributes";

/// A history of the saved block without a key.
constexpr unsigned char kNoKeys[] = {16, 0, 0, 0, 0, 0, 0, 0, 100, 0, 0, 0, 0, 0, 0, 0};

/// What vehicles share that should not.
double g_gravity = 0.0;

/// A record that does the other thing, or does it again.
class OddRecord final : public ovs::CUndo {
  public:
    explicit OddRecord(ovs::CUndo* inner) : CUndo(nullptr), m_inner(inner) {}
    void undo(bool firstTime) override {
        if (am("car-with-undo-and-redo-exchanged") || (m_bUndone && am("car-whose-second-undo-is-a-redo")))
            m_inner->redo();
        else
            m_inner->undo(firstTime);
        m_bUndone = true;
    }
    void redo() override {
        if (am("car-with-undo-and-redo-exchanged"))
            m_inner->undo(true);
        else
            m_inner->redo();
        m_bUndone = false;
    }
    void release() override {
        if (m_inner != nullptr) m_inner->release();
        delete this;
    }

  private:
    ovs::CUndo* m_inner;
    bool m_bUndone = false;
};

class NoRecord final : public ovs::CUndo {
  public:
    NoRecord() : CUndo(nullptr) {}
    void undo(bool /*firstTime*/) override {}
    void redo() override {}
    void release() override { delete this; }
};

/// The numbers of a history of numbers, times `factor`.
void scaleKeys(std::vector<unsigned char>& history, double factor) {
    constexpr std::size_t kKey = 16;
    for (std::size_t at = kKey; at + kKey <= history.size(); at += kKey) {
        double number = 0.0;
        std::memcpy(&number, &history[at + sizeof number], sizeof number);
        number *= factor;
        std::memcpy(&history[at + sizeof number], &number, sizeof number);
    }
}

std::vector<unsigned char> bytesOf(const util::DataChunk& chunk) {
    const auto* from = static_cast<const unsigned char*>(chunk.getData());
    return from == nullptr ? std::vector<unsigned char>() : std::vector<unsigned char>(from, from + chunk.getSize());
}

/// A child of a block that is loaded.
util::DataChunk reread(const util::DataChunk& child, const std::string& block) {
    const std::string name = child.getName();
    std::vector<unsigned char> data = bytesOf(child);
    if (am("car-with-a-doubled-history") && name == "ancCarCampcInput_STEERING_WHEEL") {
        scaleKeys(data, 0.5);
        return {name, data.data(), static_cast<int>(data.size())};
    }
    if (am("car-that-always-falls") && name == "cCarCambGravityOn") {
        const unsigned char on = 1;
        return {name, &on, 1};
    }
    if (am("car-that-loses-older-histories") && name == "ancCarCampcInput_GAS_PEDAL" &&
        block == "CarCamDataChunk9200") {
        return {name, kNoKeys, static_cast<int>(sizeof kNoKeys)};
    }
    return child;
}

util::DataChunk rewrittenLeaf(const util::DataChunk& leaf, const util::DataChunk& root) {
    std::vector<unsigned char> data = bytesOf(leaf);
    const std::string name = leaf.getName();
    if (am("car-with-a-key-of-single-precision") && name == "fDampingBack") data.resize(4);
    if (am("car-that-saves-another-row") && name == "fStiffnessBack") data = bytesOf(root.getChild("fStiffnessFront"));
    if (am("car-with-a-record-of-defaults") && name == "sDataChunkSaveStruct") {
        const double three = 3.0;
        std::memcpy(&data[80], &three, sizeof three);
    }
    if (am("car-with-a-longer-record") && name == "sDataChunkSaveStruct") data.push_back(0);
    if (am("car-without-the-last-key") && name == "ancCarCampcInput_GAS_PEDAL" && data.size() > 16) {
        data.resize(data.size() - 16);
        data[4] = static_cast<unsigned char>(data[4] - 16);
        --data[12];
    }
    if (am("car-with-a-doubled-history") && name == "ancCarCampcInput_STEERING_WHEEL") scaleKeys(data, 2.0);
    if (am("car-that-keys-no-burnouts") && name == "ancCarCampcInput_BURNOUT")
        return {name, kNoKeys, static_cast<int>(sizeof kNoKeys)};
    if (am("car-with-an-empty-sky") && name == "anbCarInTheAir" && data.size() > 16) data.back() = 0;
    if (am("car-of-another-edition-of-histories") && name == "anbCarInTheAir") data[8] = 101;
    return {name, data.data(), static_cast<int>(data.size())};
}

util::DataChunk rewritten(const util::DataChunk& whole) {
    util::DataChunk root(am("car-with-a-renamed-block") ? "CarCamDataChunk9200" : whole.getName());
    for (int i = 0; i < whole.getNumChildren(); ++i) {
        const util::DataChunk& child = whole.getChild(i);
        if (am("car-without-a-key") && child.getName() == "fDampingBack") continue;
        if (am("car-without-a-history") && child.getName() == "ancCarCamfCarLocalYawIncr") continue;
        const bool swaps = am("car-with-keys-in-another-order") && (i == 40 || i == 41);
        root.addChild(swaps                        ? whole.getChild(81 - i)
                      : child.getNumChildren() > 0 ? child
                                                   : rewrittenLeaf(child, whole));
    }
    if (am("car-that-saves-a-key-of-its-own")) root.addChild({"mine", "x", 1});
    return root;
}

}  // namespace

void* CarServices::callExtension(std::uint32_t id, void* argument) {
    auto* record = static_cast<unidevice::OutputChannelRecord*>(argument);
    if (am("car-with-exchanged-outputs")) {
        if (record->name == "Velocity")
            record->name = "Velocity (Percent of Max)";
        else if (record->name != "Steering Angle" && record->name.starts_with("Velocity"))
            record->name = "Velocity";
    }
    if (am("car-with-a-longer-output-name") && record->name == "WheelMesh_BR") record->name += " in the air";
    if (am("car-that-asks-twice")) static_cast<void>(PassedOnServices::hasExtension(id));
    void* made = PassedOnServices::callExtension(id, argument);
    m_outputs.push_back(static_cast<unidevice::Property*>(made));
    return made;
}

void CarServices::pushUndo(ovs::CUndo* record, std::int32_t reserved) {
    if (am("car-that-drops-a-record") && ++m_pushed % 59 == 7) {
        if (record != nullptr) record->release();
        return;
    }
    const bool isOdd =
        am("car-with-undo-and-redo-exchanged") ? during == During::event : am("car-whose-second-undo-is-a-redo");
    if (isOdd) record = new OddRecord(record);
    const bool isLate = (am("car-that-pushes-late") && during == During::event) ||
                        (am("car-that-pushes-behind-its-start") && m_late == nullptr && during == During::start);
    if (isLate)
        m_late = record;
    else
        PassedOnServices::pushUndo(record, reserved);
}

unidevice::Property* CarServices::createInputProperty(std::string name, std::uint32_t type, Factory* factory) {
    if (am("car-without-a-channel") && name == "External Force") return nullptr;
    if (am("car-with-a-one-way-wheel") && name.starts_with("Steering Wheel")) type = 15;
    const bool isDeaf = am("car-deaf-to-burnouts") && name == "Burnout";
    unidevice::Property* made = PassedOnServices::createInputProperty(std::move(name), type, factory);
    m_channels.push_back(made);
    if (isDeaf && made != nullptr) made->exponent = 1.3;
    return isDeaf ? nullptr : made;
}

void CarServices::endInputProperties() {
    if (am("car-with-a-straight-channel") && m_channels[3] != nullptr) m_channels[3]->exponent = 1.0;
    if (am("car-with-a-wide-dead-zone") && m_channels[8] != nullptr) m_channels[8]->deadZone = 0.2;
    PassedOnServices::endInputProperties();
}

void CarServices::endParameters() { PassedOnServices::endParameters(); }

void CarServices::beginGroup(std::string title, std::string description) {
    if (am("car-with-another-group-text") && title == "Autonomous Mode") description.pop_back();
    PassedOnServices::beginGroup(std::move(title), std::move(description));
}

CarServices::Callback* CarServices::listen(Callback* callback) {
    if (callback == nullptr) return nullptr;
    m_callback = callback;
    if (m_listeners.empty()) m_listeners.emplace_back(*this, callback);
    return &m_listeners.front();
}

void CarServices::addIntParameter(std::string label, std::string description, std::int32_t* field, std::int32_t min,
                                  std::int32_t max, std::int32_t step, std::int32_t hint, bool flag,
                                  const Converter<std::int32_t>* converter, Callback* callback) {
    static std::int32_t unread = 0;
    if (am("car-of-one-seed") && label == "Random Seed Adder") field = &unread;
    if (am("car-with-half-the-rays") && label == "Ray Multiplier") *field = 5;
    PassedOnServices::addIntParameter(std::move(label), std::move(description), field, min, max, step, hint, flag,
                                      converter, listen(callback));
}

void CarServices::addDoubleParameter(std::string label, std::string description, double* field, double min, double max,
                                     double step, std::int32_t hint, bool flag, const Converter<double>* converter,
                                     Callback* callback) {
    static const ovs::CS::Multiply<double> percent(100.0);
    if (am("car-with-a-value-out-of-range") && label == "Gravity") max = *field - 1.0;
    if (am("car-with-a-mended-label") && label.starts_with("Initital")) label.replace(0, 8, "Initial");
    if (am("car-with-a-mended-text") && label == "Steering Noise") description = "Adds noise to the steering wheel.";
    if (am("car-with-a-wider-range") && label == "Degrees Per Ray") max = 90.0;
    if (am("car-with-a-lower-end") && label == "Skid Brake Stop Factor") min = 0.0;
    if (am("car-with-a-coarser-step") && label == "Front Damping") step = 1.0;
    if (am("car-with-another-default") && label == "Mass Multiplier") *field = 2.5;
    if (am("car-with-a-deaf-row") && label == kMultiplier) callback = nullptr;
    if (am("car-with-a-converted-row") && label == "Tire Pressure") converter = &percent;
    if (am("car-with-a-steeper-wheel") && label == "Steering Wheel (Right/Left) Maximum") max = 1e16;
    m_numbers[label] = field;
    if (am("car-with-one-field-for-two") && label == "Back Stiffness") field = m_numbers.at("Front Stiffness");
    PassedOnServices::addDoubleParameter(std::move(label), std::move(description), field, min, max, step, hint, flag,
                                         converter, listen(callback));
}

void CarServices::addBoolParameter(std::string label, std::string description, bool* field, Callback* callback) {
    if (am("car-without-a-row") && label == "Hide Helpers") return;
    if (am("car-with-a-listening-row") && label == "Autonomous Mode") callback = m_callback;
    if (am("car-with-cameras-in-view") && label == "Hide Follow Camera") *field = false;
    m_flags[label] = field;
    PassedOnServices::addBoolParameter(std::move(label), std::move(description), field, listen(callback));
}

void CarServices::addButton(std::string label, std::string description, Callback* callback) {
    PassedOnServices::addButton(std::move(label), std::move(description), listen(callback));
}

void CarServices::refreshDialog() {
    if (am("car-that-never-refreshes")) return;
    if (am("car-that-follows-without-refreshing") && during == During::stop) return;
    if (am("car-that-refreshes-twice") && during == During::rig) PassedOnServices::refreshDialog();
    PassedOnServices::refreshDialog();
}

void CarServices::redrawViews() {
    if (m_late != nullptr) PassedOnServices::pushUndo(std::exchange(m_late, nullptr), 0);
    if (am("car-that-never-redraws")) return;
    if (am("car-that-redraws-twice")) PassedOnServices::redrawViews();
    PassedOnServices::redrawViews();
}

void CarServices::messageBox(std::string text, std::string caption, std::int32_t reserved) {
    m_bSpoke = true;
    if (am("car-silent-about-scaling") && text.starts_with("Nonuniform")) return;
    if (am("car-silent-about-grounds") && text.starts_with("No ground")) return;
    if (am("car-silent-about-targets") && text.starts_with("The TargetMesh")) return;
    if (am("car-silent-about-surfaces") && text.starts_with("Support")) return;
    if (am("car-with-a-mended-message") && text == "Mesh Invalid") text = "Mesh invalid";
    if (am("car-with-errors-for-warnings") && caption == "Warning") caption = "Error";
    if (am("car-that-repeats-a-message") && text.starts_with("In the rigging"))
        PassedOnServices::messageBox(text, caption, reserved);
    PassedOnServices::messageBox(std::move(text), std::move(caption), reserved);
}

void CarServices::storeChunk(const void* data, std::uint64_t length) {
    util::DataChunk whole;
    whole.deserialize(data, length);
    util::DataChunk changed = rewritten(whole);
    int size = 0;
    const void* block = changed.serialize(&size);
    PassedOnServices::storeChunk(block, static_cast<std::uint64_t>(size));
}

const void* CarServices::getChunk(std::int32_t reserved) {
    const void* given = PassedOnServices::getChunk(reserved);
    if (given == nullptr) return nullptr;
    const util::DataChunk whole(given);
    const std::string name = whole.getName();
    std::string shown = name;
    if (am("car-that-takes-any-block") && !name.starts_with("CarCamDataChunk1")) shown = "CarCamDataChunk9201";
    if (am("car-that-compares-numbers") && name == "CarCamDataChunk99") shown = "CarCamDataChunk0";
    if (am("car-that-refuses-later-blocks") && name > "CarCamDataChunk9201") shown = "CarCamDataChunk0";
    util::DataChunk root(shown);
    for (int i = 0; i < whole.getNumChildren(); ++i)
        if (!am("car-that-forgets-older-names") || whole.getChild(i).getName() != "bFixateWheelCenterNodes")
            root.addChild(reread(whole.getChild(i), name));
    int size = 0;
    const auto* bytes = static_cast<const unsigned char*>(root.serialize(&size));
    constexpr std::size_t kBehind = 4096;
    m_block.assign(static_cast<std::size_t>(size) + kBehind, 0);
    std::copy(bytes, bytes + size, m_block.begin());
    return m_block.data();
}

ovs::MeshHandle* CarServices::findElement(std::string identifier) {
    ovs::MeshHandle* found = PassedOnServices::findElement(identifier);
    if (found == nullptr && am("car-that-makes-missing-cameras") && identifier == "TopViewCam")
        found = PassedOnServices::createCameraElement(identifier, nullptr, false);
    if (found == nullptr && am("car-that-needs-its-steering-wheel") && identifier == "SteeringWheelMesh")
        m_bSpoke = true;
    m_elements[identifier] = found;
    return found;
}

ovs::MeshHandle* CarServices::createMeshElement(std::string name, ovs::MeshHandle* parent, const util::CMesh* mesh,
                                                std::int32_t reserved) {
    if (am("car-with-a-loose-wheel") && name == "WheelMesh_FL") parent = nullptr;
    util::CMesh coarse;
    if (am("car-with-a-coarse-wheel") && name == "WheelMesh_BR") {
        coarse = *mesh;
        coarse.setNumFaces(coarse.getNumFaces() - 1);
        mesh = &coarse;
    }
    ovs::MeshHandle* made = PassedOnServices::createMeshElement(name, parent, mesh, reserved);
    m_elements[name] = made;
    return made;
}

ovs::MeshHandle* CarServices::createCameraElement(std::string name, ovs::MeshHandle* parent, bool reserved) {
    ovs::MeshHandle* made = PassedOnServices::createCameraElement(name, parent, reserved);
    m_elements[name] = made;
    return made;
}

void CarServices::releaseElementData(ovs::MeshHandle* element) {
    if (!am("car-that-keeps-element-data")) PassedOnServices::releaseElementData(element);
}

ovs::TransformObject* CarServices::getTransformObject(ovs::MeshHandle* element, double time) {
    ovs::TransformObject* given = PassedOnServices::getTransformObject(element, time);
    if (given == nullptr || during != During::frame) return given;
    for (const auto& [name, handle] : m_elements)
        if (handle == element) return &m_misplacing.emplace_back(m_moves, name, given);
    return given;
}

void CarServices::releaseTransformObject(ovs::TransformObject* transform) {
    for (const MisplacingTransform& one : m_misplacing)
        if (&one == transform) return PassedOnServices::releaseTransformObject(one.inner());
    PassedOnServices::releaseTransformObject(transform);
}

ovs::SurfaceObject* CarServices::getSurfaceObject(ovs::MeshHandle* element, double time) {
    if (am("car-that-casts-fast-rays-only") && during == During::frame) return nullptr;
    return PassedOnServices::getSurfaceObject(element, time);
}

double CarServices::getFrameStep() {
    return am("car-of-25-frames-a-second") && during == During::frame ? 0.04 : PassedOnServices::getFrameStep();
}

void CarServices::dress(const char* element, float red, bool wireframe) {
    ovs::AppearanceObject* look = getAppearanceObject(m_elements.at(element));
    look->useOwnColour(true);
    look->setColour(red, 147.0F / 255.0F, 105.0F / 255.0F);
    look->setWireframe(wireframe);
    releaseAppearanceObject(look);
}

void CarServices::widenLens() {
    ovs::CameraObject* lens = getCameraObject(m_elements.at("FollowCam"), 0.0);
    lens->setFieldOfView(50.0);
    releaseCameraObject(lens);
}

void CarServices::moveCamera() {
    ovs::TransformObject* transform = getTransformObject(m_elements.at("DriverCam"), getCurrentTime());
    util::Matrix4 world;
    transform->readWorldMatrix(world);
    world.setRow(3, world.row(3) + util::Vector3<double>(0.0, 0.01, 0.0));
    transform->setWorldMatrix(world);
    releaseTransformObject(transform);
}

void CarServices::beforeStart() {
    m_moves.begin();
    m_frames = 0;
    if (am("car-that-casts-slow-rays-only")) flag("Use Fast Ray Cast") = false;
    for (const auto& [label, field] : m_numbers)
        if (!label.starts_with("Current")) m_rowsOfStart[label] = *field;
}

/// Has the frame find another value in a row than the user set.
void CarServices::hold(const char* label, double value) { m_held[label] = std::exchange(number(label), value); }

void CarServices::takeRowsOfTheStart() {
    if (!am("car-that-takes-rows-at-the-start")) return;
    for (auto& [label, value] : m_rowsOfStart) std::swap(number(label), value);
}

void CarServices::beforeFrame() {
    ++m_frames;
    m_misplacing.clear();
    if (am("car-with-a-common-gravity") && g_gravity != 0.0) number("Gravity") = g_gravity;
    takeRowsOfTheStart();
    if (am("car-that-never-rests") && m_frames > 5) m_channels[0]->offset = 0.2;
    if (am("car-with-a-rash-throttle")) hold("Acceleration (scale relative)", 1000.0);
    if (am("car-with-a-weak-booster")) hold("Booster Maximum", 0.3);
    if (am("car-without-brakes")) hold("ABS Brake Maximum", 0.0);
    if (am("car-that-slides-on")) hold("Skid Brake Maximum", 0.0);
    if (am("car-with-a-rash-wheel")) hold("Maximum Steering Change Velocity", 100.0);
    if (am("car-without-weight")) hold("Gravity", 0.0);
    loseGrip();
}

/// Has springs, burnouts and skids act otherwise than the rows and inputs say.
void CarServices::loseGrip() {
    constexpr int kLate = 15;  ///< frames, behind which what was pressed stays pressed
    if (am("car-that-tilts-without-limits"))
        for (const char* row : {"Maximum Forward Tilt Angle", "Maximum Side Tilt Angle"}) hold(row, 1.5);
    if (am("car-of-one-stiffness"))
        for (const char* row : {"Front Stiffness", "Back Stiffness"}) hold(row, 2000.0);
    if (am("car-that-never-comes-to-rest"))
        for (const char* row : {"Front Damping", "Back Damping"}) hold(row, 0.0);
    if (am("car-whose-burnouts-never-end") && m_frames > kLate) m_channels[7]->offset = 1.0;
    if (am("car-that-burns-straight-on")) hold("Steering Wheel (Right/Left) Maximum", 0.0);
    if (am("car-with-quiet-burnouts")) hold("Burnout Shake", 0.0);
    if (am("car-that-never-skids")) hold("Skidding Maximum", 0.0);
    if (am("car-that-never-skids-by-itself")) hold("Skidding Release Value (Lateral Vel Rel)", 100.0);
    if (am("car-that-never-grips-again") && m_frames > kLate) m_channels[4]->offset = 0.95;
    if (am("car-deaf-to-its-skid-brake")) m_channels[5]->multiplier = 0.0;
}

void CarServices::changeOutputs() {
    std::vector<double> now;
    for (unidevice::Property* channel : m_outputs) {
        auto* output = static_cast<unidevice::OutputProperty*>(channel);
        if (output == nullptr) return;
        if (am("car-with-an-exaggerated-angle") && output->name == "Steering Angle") output->current *= 1.3;
        now.push_back(output->current);
        if (am("car-with-late-outputs") && !m_lastOutputs.empty()) output->current = m_lastOutputs[now.size() - 1];
    }
    m_lastOutputs = now;
    if (am("car-with-exchanged-wheels-in-the-air") && m_outputs.size() == 7)
        std::swap(static_cast<unidevice::OutputProperty*>(m_outputs[4])->current,
                  static_cast<unidevice::OutputProperty*>(m_outputs[5])->current);
}

void CarServices::behindRig() {
    if (am("car-with-a-camera-in-view")) m_elements.at("FollowCam")->show();
    if (am("car-with-a-redder-wheel")) dress("WheelMesh_FR", 150.0F / 255.0F, false);
    if (am("car-with-a-wireframe-wheel")) dress("WheelMesh_FR", 140.0F / 255.0F, true);
    if (am("car-with-a-wider-lens")) widenLens();
    if (am("car-with-a-raised-camera")) moveCamera();
    if (am("car-that-marks-its-body")) m_elements.at("CarBodyMesh")->callExtension(17, nullptr);
    if (am("car-with-a-slow-gauge")) number("World Space Acceleration Gauge (seconds from 0 to 60)") *= 1.01;
}

void CarServices::behindStart() {
    if (m_late != nullptr) PassedOnServices::pushUndo(std::exchange(m_late, nullptr), 0);
    if (am("car-that-records-without-a-past") && !flag("Enable Seamless Transitions")) pushUndo(new NoRecord, 0);
    if (am("car-that-hides-cameras-in-runs") && flag("Hide Helpers During Recording"))
        m_elements.at("DriverCam")->hide();
    if (am("car-that-warns-of-any-target") && flag("Autonomous Mode"))
        PassedOnServices::messageBox("The TargetMesh is parented to the CarBodyMesh.", "Warning", 0);
    if (am("car-that-greets")) PassedOnServices::messageBox("Off we go", "Warning", 0);
    if (am("car-steered-the-other-way")) m_channels[1]->multiplier = -1.0;
    if (am("car-that-measures-its-gauge-at-birth")) number("World Space Maximum Velocity Gauge") = 38.0376;
}

void CarServices::behindFrame(double time) {
    m_lastTime = time;
    for (const auto& [label, value] : std::exchange(m_held, {})) number(label) = value;
    takeRowsOfTheStart();
    changeOutputs();
    if (am("car-that-refreshes-in-frames")) PassedOnServices::refreshDialog();
    if (am("car-that-sets-its-body-last")) moveBody(time, 0.0);
    if (am("car-with-a-late-gauge")) std::swap(number(kSpeed), m_lastSpeed);
    if (am("car-that-reads-a-pedal-twice")) static_cast<void>(m_channels[3]->value());
}

void CarServices::behindStop() {
    if (am("car-that-leaves-a-wheel-hidden") && flag("Hide Helpers During Recording"))
        m_elements.at("WheelMesh_BR")->hide();
    if (am("car-that-hardens-its-springs")) number("Back Damping") += 1.0;
    if (am("car-that-redraws-behind-runs")) PassedOnServices::redrawViews();
}

void CarServices::behindShowing(double time) {
    if (am("car-that-moves-when-shown")) moveBody(time, 1e-9);
    if (am("car-that-shows-nothing-at-rest")) number(kSpeed) += 1e-7;
}

double CarServices::shownTime(double time) const { return am("car-that-shows-the-last-frame") ? m_lastTime : time; }

std::uint64_t CarServices::behindLoading(std::uint64_t answer) {
    if (m_block.empty() || answer != 0) return answer;
    const std::string name = util::DataChunk(m_block.data()).getName();
    if (am("car-that-guesses-a-radius") && name < "CarCamDataChunk8148") number("Wheel Radius Multiplier") = 0.95;
    if (am("car-that-marks-its-body-in-loading")) m_elements.at("CarBodyMesh")->callExtension(17, nullptr);
    if (am("car-that-needs-its-steering-wheel") && m_bSpoke) return 1;
    return answer;
}

void CarServices::behindOutput(void* channel) {
    auto* output = static_cast<unidevice::OutputProperty*>(static_cast<unidevice::Property*>(channel));
    if (output == nullptr) return;
    if (am("car-with-outputs-in-percent") && output->name == "Velocity (Percent of Max)") output->current *= 100.0;
    if (am("car-with-wheels-in-the-air") && output->name.starts_with("WheelMesh")) output->current = 1.0;
    if (am("car-with-a-still-steering-output") && output->name == "Steering Angle") output->current = 0.0;
}

bool CarServices::hasOutput(void* channel) const {
    return std::find(m_outputs.begin(), m_outputs.end(), static_cast<unidevice::Property*>(channel)) != m_outputs.end();
}

void CarServices::moveBody(double time, double by) {
    ovs::TransformObject* transform = getTransformObject(m_elements.at("CarBodyMesh"), time);
    if (transform == nullptr) return;
    util::Matrix4 world;
    transform->readWorldMatrix(world);
    world.setRow(3, world.row(3) + util::Vector3<double>(0.0, by, 0.0));
    transform->setWorldMatrix(world);
    releaseTransformObject(transform);
}

void CarServices::hear(Callback& inner, const std::string& label) {
    during = During::event;
    m_bSpoke = false;
    std::string heard = label;
    if (am("car-that-hears-the-beginning-of-labels") && label.starts_with("Hide Helpers")) heard = "Hide Helpers";
    if (am("car-deaf-to-wireframes") && label.ends_with("Wireframe Mode")) heard = "";
    if (am("car-deaf-to-its-button") && label == kButton) heard = "";
    if (am("car-with-gauges-that-stand-still") && label == kMultiplier) heard = "";
    if (am("car-that-stores-without-rays") && label == "Use Fast Ray Cast") heard = "";
    const bool isTurnBase = label.starts_with("Turn Base");
    if (am("car-with-a-rash-turn-base") && isTurnBase && !std::exchange(m_bTurnBaseHeard, true))
        inner.onParameterChanged(label);
    const double before = isTurnBase ? number(label) : 0.0;
    if (am("car-with-a-turn-base-the-other-way") && isTurnBase) number(label) = -before;
    const double initial = number("Initital Velocity (% of max)");
    inner.onParameterChanged(heard);
    if (isTurnBase) number(label) = before;
    if (am("car-whose-button-keeps-a-speed") && label == kButton) number("Initital Velocity (% of max)") = initial;
    behindEvent(label);
    during = During::nothing;
}

void CarServices::behindEvent(const std::string& label) {
    if (am("car-with-a-coupled-row") && label == "Hide Helpers") number("Gravity") += 1.0;
    if (am("car-with-a-common-gravity") && label == kMultiplier) g_gravity = 3.0;
    if (am("car-that-hides-a-camera-with-its-helpers") && label == "Hide Helpers") m_elements.at("TopViewCam")->hide();
    if (am("car-that-shows-a-wheel-again") && label == "Hide Helpers") m_elements.at("WheelMesh_BR")->show();
    if (am("car-whose-undo-switches-the-row") && label == "REALUNDOHide Helpers")
        flag("Hide Helpers") = !flag("Hide Helpers");
    if (am("car-that-drops-its-ground-when-fast") && label == "Use Fast Ray Cast") flag(kStored) = false;
    if (am("car-that-insists-on-its-ground") && label == kStored && m_bSpoke) flag(kStored) = true;
    if (am("car-that-refreshes-at-every-change") && label == "Gravity") PassedOnServices::refreshDialog();
}

}  // namespace ond::test

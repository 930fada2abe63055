// The saved block of the sledge.
#include <unistd.h>
#include <array>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "BlockReader.h"
#include "GoodVehicle.h"
#include "Misbehaviour.h"
#include "ond/ovs/CCameraPlugin.h"
#include "ond/ovs/CREEventUndo.h"
#include "ond/util/CMesh.h"
#include "ond/util/DataChunk.h"

namespace ond::test {

namespace {

using util::DataChunk;
using History = util::AVar_Linear<double>;

int g_saves = 0;

/// Of the block's root.
int numberOfLeaves() {
    int leaves = 6;
    if (am("forgets-a-parameter") || am("forgets-its-history")) --leaves;
    if (am("saves-a-static-address") || am("saves-the-process") || am("saves-the-folder") ||
        am("saves-the-environment") || am("saves-what-lay-on-the-stack"))
        ++leaves;
    if (am("saves-a-counter") || am("saves-an-address") || am("saves-numbers-as-text") || am("saves-the-hosts-mark"))
        ++leaves;
    return leaves;
}

std::string blockName(const ovs::CInterface& host) {
    if (am("needs-its-descriptor")) return "Sledge" + std::to_string(host.link->descriptor->getInterfaceStamp());
    if (am("needs-its-link") && host.link->descriptor == nullptr) return "Sledge";
    const bool hasDescriptor = host.link != nullptr && host.link->descriptor != nullptr;
    return "Sledge" + std::to_string(hasDescriptor ? host.link->descriptor->getInterfaceStamp() : 9201);
}

template <typename T>
DataChunk leaf(const char* name, const T& value) {
    return DataChunk(name, &value, sizeof value);
}

DataChunk leaf(const char* name, const History& history) {
    std::vector<unsigned char> bytes(static_cast<std::size_t>(history.getSerialSize()));
    history.write(bytes.data(), history.getSerialSize());
    return DataChunk(name, bytes.data(), history.getSerialSize());
}

/// A record with padding that nobody writes; what lay there is made up, for a real stack may hold the same twice.
struct Padded {
    static constexpr std::size_t kSpeed = 8;
    std::array<unsigned char, 16> bytes;

    explicit Padded(double speed) {
        bytes.fill(static_cast<unsigned char>(++g_saves));
        bytes[0] = 1;
        std::memcpy(bytes.data() + kSpeed, &speed, sizeof speed);
    }
};

void addWhatIsNotTheVehicles(DataChunk& root) {
    if (am("saves-a-static-address")) root.addChild(leaf("table", reinterpret_cast<std::uintptr_t>(&g_saves)));
    if (am("saves-the-process")) root.addChild(leaf("process", getpid()));
    if (am("saves-the-folder")) root.addChild(leaf("folder", std::filesystem::current_path().string().size()));
    if (am("saves-the-environment")) {
        const char* home = std::getenv("HOME");
        root.addChild(leaf("home", home == nullptr ? std::size_t{0} : std::hash<std::string>()(home)));
    }
    if (am("saves-what-lay-on-the-stack")) root.addChild(leaf("record", Padded(2.0)));
}

/// Takes the lengths that stand in the block for true, whatever they say.
bool readsAnything(const void* block, History& history) {
    DataChunk root;
    root.deserialize(block);
    const void* bytes = root.getChild("speeds").getData();
    if (bytes != nullptr) history.read(bytes);
    return root.getName().compare(0, 6, "Sledge") == 0;
}

}  // namespace

std::uint64_t GoodVehicle::saveState() {
    passBy("saving");
    if (am("stores-nothing")) return 0;
    if (am("stores-null")) {
        hostInterface->storeChunk(nullptr, 8);
        return 0;
    }
    if (am("stores-no-bytes")) {
        hostInterface->storeChunk("", 0);
        return 0;
    }
    store();
    if (am("moves-on-while-saving")) m_topSpeed += 1.0;
    if (am("starts-afresh-behind-a-save")) m_bFresh = true;
    if (am("forgets-while-saving")) m_speeds.eraseFrom(-1e9);
    if (am("pushes-record-while-saving")) hostInterface->pushUndo(ovs::CREEventUndo::make(this, "Gear"), 0);
    if (am("message-while-saving")) hostInterface->messageBox("Saved.", "Information", 0);
    return am("answers-saving-with-1") ? 1 : 0;
}

void GoodVehicle::store() {
    DataChunk root(blockName(*hostInterface));
    root.addChild(leaf("gear", m_gear));
    if (!am("forgets-a-parameter")) root.addChild(leaf("topSpeed", m_topSpeed));
    root.addChild(leaf("keepsHistory", m_bKeepsHistory)).addChild(leaf("hidesArrow", m_bHidesArrow));
    if (!am("forgets-its-history")) root.addChild(leaf("speeds", m_speeds));
    root.addChild(leaf("turns", m_turns));
    if (am("saves-a-counter")) root.addChild(leaf("saves", ++g_saves));
    if (am("saves-the-number-of-vehicles")) root.addChild(leaf("vehicles", numberOfVehicles()));
    if (am("saves-an-address")) root.addChild(leaf("address", reinterpret_cast<std::uintptr_t>(this)));
    if (am("saves-the-hosts-mark")) root.addChild(leaf("mark", hostObject));
    if (am("saves-numbers-as-text")) {
        std::ostringstream text;
        text << 1000.0 * m_topSpeed + 0.5;
        root.addChild(DataChunk("text", text.str().data(), static_cast<int>(text.str().size())));
    }
    addWhatIsNotTheVehicles(root);
    int length = 0;
    const void* block = root.serialize(&length);
    hostInterface->storeChunk(block, static_cast<std::uint64_t>(length) + (am("stores-behind-its-block") ? 64 : 0) -
                                         (am("stores-a-cut-block") ? 8 : 0));
    if (am("saves-longer-and-longer")) m_turns.setKey(1e6 + ++g_saves, 0.0);
}

bool GoodVehicle::bindElements() {
    m_body = hostInterface->findElement("Body");
    m_wheel = hostInterface->findElement("Wheel");
    m_arrow = hostInterface->findElement("GravityDirectionMesh");
    m_camera = hostInterface->findElement("Camera");
    if (am("finds-without-null-test")) m_camera->hide();
    return m_body != nullptr && m_wheel != nullptr && m_arrow != nullptr && m_camera != nullptr;
}

std::uint64_t GoodVehicle::loadState() {
    passBy("loading-a-block");
    if (am("makes-its-elements-again"))
        makeElements();
    else if (!bindElements()) {
        passBy("a-load-without-elements");
        return 1;
    }
    const void* block = hostInterface->getChunk(am("block-with-reserved-argument") ? 1 : 0);
    if (am("loads-without-null-test")) m_gear = static_cast<const std::int32_t*>(block)[0];
    if (block == nullptr) return am("loads-nothing-as-something") ? 0 : 1;
    if (am("trusts-lengths") && !readsAnything(block, m_speeds)) return 1;
    if (am("keeps-its-block")) m_keptBlock = block;
    if (am("writes-into-the-block")) const_cast<char*>(static_cast<const char*>(block))[0] ^= 1;
    if (am("pushes-record-while-loading")) hostInterface->pushUndo(ovs::CREEventUndo::make(this, "Gear"), 0);
    if (am("builds-a-rig-in-loading")) m_body->rigBuilt();
    const bool isSound = bearsBlock(block) && readBlock(block);
    if (!isSound) passBy("damage");
    static bool s_damaged = false;
    s_damaged = s_damaged || !isSound;
    if (am("loads-nothing-behind-damage") && s_damaged) return 1;
    if (am("loses-its-output-in-loading")) m_output = nullptr;
    if (am("aborts-on-damage") && !isSound) std::abort();
    if (!isSound && !am("loads-what-is-damaged")) return am("answers-damage-with-7") ? 7 : 1;
    m_bFresh = false;
    return am("answers-loading-with-1") ? 1 : 0;
}

/// @return whether the block is one of this vehicle
bool GoodVehicle::readBlock(const void* block) {
    BlockReader reader(block);
    reader.expectRoot(blockName(*hostInterface), numberOfLeaves());
    reader.read("gear", m_gear);
    double topSpeed = m_topSpeed;
    if (!am("forgets-a-parameter")) reader.read("topSpeed", topSpeed);
    if (!am("does-not-read-a-parameter")) m_topSpeed = topSpeed;
    reader.read("keepsHistory", m_bKeepsHistory);
    reader.read("hidesArrow", m_bHidesArrow);
    if (!am("forgets-its-history")) reader.read("speeds", m_speeds);
    reader.read("turns", m_turns);
    if (am("changes-a-parameter-while-loading")) m_topSpeed += 0.5;
    if (am("loses-a-key-while-loading") && m_speeds.getNumKeys() > 0) m_speeds.keys.pop_back();
    return reader.isSound();
}

}  // namespace ond::test

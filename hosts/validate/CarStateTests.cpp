// What the four-wheeled vehicle saves, and what it makes of blocks of every age.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "ond/util/DataChunk.h"
#include "validate/CarDialog.h"
#include "validate/CarDrive.h"
#include "validate/CarHistories.h"
#include "validate/CarRules.h"
#include "validate/CarWorld.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

constexpr const char* kRecord = "sDataChunkSaveStruct";
constexpr int kRecordSize = 368;
constexpr int kPresent = 9201;
constexpr int kFirstWithSuspensions = 8138;

/// A row that the record of the oldest settings holds.
struct RecordRow {
    std::size_t offset;
    const char* row;
};
constexpr RecordRow kRecordRows[] = {
    {1, "Hide Helpers During Recording"},
    {2, "Hide Helpers"},
    {3, "Hide TopView Camera"},
    {4, "Hide Driver Camera"},
    {5, "Hide Follow Camera"},
    {152, "Skid Brake Stop Factor"},
    {160, "Skidding Release Response Factor"},
    {168, "Turn Base (Back Wheel Relative)"},
    {328, "Mass Multiplier"},
    {336, "Front Stiffness"},
    {344, "Front Damping"},
    {360, "Gravel Roughness"},
};
constexpr std::size_t kResponses = 8, kMaxima = 80, kBodyLength = 208;

/// What a row becomes in a block from before its key, where that is not the default.
struct OldRow {
    const char* row;
    int before;
    double value;
};
constexpr OldRow kOldRows[] = {
    {"Wheel Radius Multiplier", 8148, 1.0},
    {"Use Fast Ray Cast", 8140, 0.0},
    {"Acceleration (scale relative)", 8136, 99999.0},
    {"Tire Pressure", 8135, 99.0},
    {"Use Reverse As ABS Brake", 8125, 0.0},
    {"Reverse Max Vel Mult", 8120, 0.5},
    {"Skid Brake Stop Factor", 8118, 0.5},
};

double numberAt(const void* bytes, std::size_t size) {
    const auto* from = static_cast<const unsigned char*>(bytes);
    if (size == 1) return *from;
    if (size == 4) {
        std::int32_t whole = 0;
        std::memcpy(&whole, from, sizeof whole);
        return whole;
    }
    double number = 0.0;
    std::memcpy(&number, from, sizeof number);
    return number;
}

/// A value of the row that is not its default, another one in each row.
double unlikeDefault(const CarRow& row, std::size_t index) {
    if (row.kind == Item::Kind::checkBox) return 1.0 - row.initial;
    const double step = 0.1 + 0.003 * static_cast<double>(index);
    if (row.kind == Item::Kind::integer) return row.initial + 1.0;
    return row.initial + step <= row.max ? row.initial + step : row.initial - 0.5 * step * (row.max - row.min);
}

/// All rows unlike their defaults, behind a drive. The ground is not to be stored, which takes one.
void setRows(StrictHost& host) {
    std::size_t index = 0;
    for (const CarRow& row : carRows()) {
        const Item* item = host.item(row.label);
        ++index;
        if (item == nullptr || !host.isEditable(*item) || std::string_view(row.label) == "Store Ground Mesh Data")
            continue;
        item->write(unlikeDefault(row, index));
    }
}

util::DataChunk chunkOf(const Bytes& block) {
    util::DataChunk root;
    root.deserialize(block.data(), block.size());
    return root;
}

Bytes blockOf(util::DataChunk& root) {
    int size = 0;
    const auto* bytes = static_cast<const unsigned char*>(root.serialize(&size));
    return {bytes, bytes + size};
}

/// The block under another name and without the keys that `drops` tells.
template <typename Drops>
Bytes rewritten(const Bytes& block, const std::string& name, Drops drops) {
    const util::DataChunk whole = chunkOf(block);
    util::DataChunk root(name);
    for (int i = 0; i < whole.getNumChildren(); ++i)
        if (!drops(whole.getChild(i).getName())) root.addChild(whole.getChild(i));
    return blockOf(root);
}

std::string blockName(int number) { return "CarCamDataChunk" + std::to_string(number); }

/// A vehicle with other settings than a new one has, saved and released; its elements are in the scene.
struct SavedCar : Car {
    std::map<std::string, double> rows;
    Bytes block;
    explicit SavedCar(Check& check) : Car(check) {
        StrictHost& host = world.addRigged("car");
        world.run(host, 0, 4);
        setRows(host);
        for (const Item& item : host.editableItems()) rows[item.label] = item.value();
        block = savedBlock(world, host);
        world.hosts.clear();
    }
    StrictHost& declared(const Lacks& lacks = {}) {
        world.hosts.clear();
        StrictHost& host = world.add("car", lacks);
        host.expectsFinite = false;
        host.declare();
        return host;
    }
    void expectAnswer(const Bytes& loaded, std::uint64_t wanted, const std::string& what, const Lacks& lacks = {}) {
        const std::uint64_t answer = declared(lacks).load(loaded);
        world.check.expect(answer == wanted, "loadState() answered " + std::to_string(answer) + " for " + what +
                                                 "; it answers " + std::to_string(wanted));
    }
};

void expectNames(Check& check, const util::DataChunk& root) {
    Acts names, wanted;
    for (int i = 0; i < root.getNumChildren(); ++i) names.push_back(root.getChild(i).getName());
    for (const CarKey& key : carKeys()) wanted.emplace_back(key.name);
    expectActs(check, "the keys of the saved block: the vehicle", names, wanted);
    names.clear();
    wanted.clear();
    const util::DataChunk& wheels = root.getChild("wheelstore");
    for (int i = 0; i < wheels.getNumChildren(); ++i) names.push_back(wheels.getChild(i).getName());
    for (std::size_t i = 0; i < 24; ++i) wanted.emplace_back(wheelKey(i));
    expectActs(check, "the keys of 'wheelstore': the vehicle", names, wanted);
    check.expect(root.getSize() == 0 && wheels.getSize() == 0,
                 "the root of the saved block or 'wheelstore' has data of its own; both have children alone");
}

void expectHeaders(Check& check, const Bytes& block) {
    for (const CarHistory& history : histories(block)) {
        std::uint32_t header[4] = {};
        std::memcpy(header, history.bytes.data(), std::min(sizeof header, history.bytes.size()));
        const std::size_t payload = history.bytes.size() - std::min(history.bytes.size(), sizeof header);
        check.expect(
            header[0] == 16 && header[1] == payload && header[2] == 100 && header[3] * history.keySize == payload,
            "the history " + cited(history.name) + " of " + counted(history.bytes.size(), "byte") + " begins with " +
                std::to_string(header[0]) + ", " + std::to_string(header[1]) + ", " + std::to_string(header[2]) + ", " +
                std::to_string(header[3]) + "; it begins with 16, the bytes behind, 100 and the number of keys of " +
                std::to_string(history.keySize) + " bytes");
    }
}

void expectValues(Check& check, const util::DataChunk& root, std::map<std::string, double> rows) {
    const auto expect = [&](const std::string& key, const std::string& row, double value) {
        check.expect(value == rows[row], cited(key) + " of the saved block holds " + shown(value) + " and the row " +
                                             cited(row) + " " + shown(rows[row]) + "; a save takes the row's value");
    };
    for (const CarKey& key : carKeys()) {
        if (key.size == 0 || !root.hasChild(key.name)) continue;
        const util::DataChunk& child = root.getChild(key.name);
        const bool fits = check.expect(child.getSize() == static_cast<int>(key.size),
                                       cited(key.name) + " of the saved block has " + std::to_string(child.getSize()) +
                                           " bytes; it has " + std::to_string(key.size));
        if (fits && key.row != nullptr) expect(key.name, key.row, numberAt(child.getData(), key.size));
    }
    if (!root.hasChild(kRecord) || root.getChild(kRecord).getSize() != kRecordSize) return;
    const auto* record = static_cast<const unsigned char*>(root.getChild(kRecord).getData());
    const auto at = [&](std::size_t offset) { return "byte " + std::to_string(offset) + " of '" + kRecord + "'"; };
    for (const RecordRow& row : kRecordRows)
        expect(at(row.offset), row.row, numberAt(record + row.offset, row.offset < 8 ? 1 : 8));
    for (std::size_t i = 0; i < carInputs().size(); ++i) {
        const std::string name = carInputs()[i].name;
        expect(at(kResponses + 8 * i), name + " Response Factor", numberAt(record + kResponses + 8 * i, 8));
        expect(at(kMaxima + 8 * i), name + " Maximum", numberAt(record + kMaxima + 8 * i, 8));
    }
}

double inOldBlock(const std::string& row, int number, double saved) {
    const auto& rows = carRows();
    const auto known = std::find_if(rows.begin(), rows.end(), [&](const CarRow& one) { return row == one.label; });
    const double initial = known == rows.end() ? 0.0 : known->initial;
    if (isCarRowWithoutMemory(row)) return initial;
    for (const OldRow& old : kOldRows)
        if (row == old.row && number < old.before) return old.value;
    for (const CarKey& key : carKeys())
        if (key.row != nullptr && row == key.row && number < key.since) return initial;
    return saved;
}

/// From here on the block has every history, each in its present form.
constexpr int kFirstWithAllHistories = 8138;

/// What a block brought of the past is in the next save, whatever its age.
void expectHistoriesTaken(Check& check, const Bytes& block, const Bytes& again, const std::string& name) {
    const std::vector<CarHistory> wanted = histories(block);
    const std::vector<CarHistory> got = histories(again);
    for (std::size_t i = 0; i < wanted.size(); ++i)
        if (!check.expect(i < got.size() && got[i].bytes == wanted[i].bytes,
                          "the history " + cited(wanted[i].name) + " is not in the next save as it was in a block " +
                              cited(name) + "; a load takes the histories over"))
            return;
}

/// @param name of the block; `number` is how it is to be read
void expectRows(SavedCar& car, const std::string& name, int number) {
    Check& check = car.world.check;
    // Blocks from before these elements have them made; here they are in the scene already.
    Lacks lacks;
    if (number < kFirstWithSuspensions)
        for (const char* corner : {"_FL", "_FR", "_BL", "_BR"})
            lacks.found.insert(std::string("WheelCenterSuspensionMesh") + corner);
    StrictHost& host = car.declared(lacks);
    const Bytes block = rewritten(car.block, name, [&](const std::string& child) {
        return std::any_of(carKeys().begin(), carKeys().end(),
                           [&](const CarKey& key) { return child == key.name && key.since > number; });
    });
    if (!check.expect(host.load(block) == 0,
                      "loadState() answered 1 for a block " + cited(name) + " with all keys of its age; it answers 0"))
        return;
    for (const Item& item : host.editableItems()) {
        const double wanted = inOldBlock(item.label, number, car.rows[item.label]);
        check.expect(item.value() == wanted, "the row " + cited(item.label) + " holds " + shown(item.value()) +
                                                 " behind the load of a block " + cited(name) +
                                                 " that was saved with " + shown(car.rows[item.label]) + "; it holds " +
                                                 shown(wanted));
    }
    if (number >= kFirstWithAllHistories) expectHistoriesTaken(check, block, host.save(), name);
}

Bytes withRecordOf(const Bytes& block, int size) {
    const util::DataChunk whole = chunkOf(block);
    Bytes bytes(static_cast<std::size_t>(size));
    const util::DataChunk& record = whole.getChild(kRecord);
    std::memcpy(bytes.data(), record.getData(), std::min(bytes.size(), static_cast<std::size_t>(record.getSize())));
    util::DataChunk root(whole.getName());
    for (int i = 0; i < whole.getNumChildren(); ++i)
        root.addChild(whole.getChild(i).getName() == kRecord ? util::DataChunk(kRecord, bytes.data(), size)
                                                             : whole.getChild(i));
    return blockOf(root);
}

Bytes with(const Bytes& block, const util::DataChunk& extra) {
    util::DataChunk root = chunkOf(block);
    root.addChild(extra);
    return blockOf(root);
}

/// Heights of the body in the frames of a fall, from the start on.
/// @param falls what the saved block says of gravity in the air: that it acts, or that it does not
std::vector<double> flightOf(CarDrive& drive, double gravity, bool falls) {
    constexpr int kFrames = 6;
    constexpr const char* kSwitch = "cCarCambGravityOn";
    World& world = drive.car.world;
    const util::DataChunk whole = chunkOf(drive.host.save());
    util::DataChunk root(whole.getName());
    const unsigned char on = falls ? 1 : 0;
    if (!whole.hasChild(kSwitch)) world.check.give("car-block", "the saved block has no key " + cited(kSwitch));
    for (int i = 0; i < whole.getNumChildren(); ++i)
        root.addChild(whole.getChild(i).getName() == kSwitch ? util::DataChunk(kSwitch, &on, 1) : whole.getChild(i));
    drive.host.release();
    StrictHost& host = world.add("car");
    host.declare();
    if (host.load(blockOf(root)) != 0)
        world.check.give("loads-what-it-saved", "loadState() answered 1 for a block of a new vehicle");
    rowOf(host, "Gravity").write(gravity);
    holdAxes(host, {});
    world.run(host, 0, kFrames);
    std::vector<double> heights;
    for (int frame = 0; frame <= kFrames; ++frame) heights.push_back(drive.body(frame).y);
    return heights;
}

}  // namespace

void carBlock(Check& check) {
    SavedCar car(check);
    const util::DataChunk root = chunkOf(car.block);
    check.expect(root.getName() == blockName(kPresent),
                 "the saved block is called " + cited(root.getName()) + "; it is called " + cited(blockName(kPresent)));
    if (!root.hasChild("wheelstore"))
        check.fail("the saved block has no key 'wheelstore'; the wheels' histories are there");
    if (root.hasChild("wheelstore")) expectNames(check, root);
    expectHeaders(check, car.block);
    expectValues(check, root, car.rows);
    StrictHost& fresh = car.world.add("another");
    fresh.rig();
    const util::DataChunk first = chunkOf(fresh.save());
    check.expect(first.getNumChildren() == static_cast<int>(carKeys().size()),
                 "the block of a vehicle that never ran has " + std::to_string(first.getNumChildren()) +
                     " keys; it has as many as any other, " + std::to_string(carKeys().size()));
    for (const CarHistory& history : histories(fresh.save()))
        check.expect(history.bytes.size() == 16,
                     "the history " + cited(history.name) + " of a vehicle that never ran has keys; it has none");
    const auto recordByte = [](const util::DataChunk& of) {
        if (!of.hasChild(kRecord) || of.getChild(kRecord).getSize() < 1) return -1.0;
        return numberAt(of.getChild(kRecord).getData(), 1);
    };
    check.expect(recordByte(first) == 1.0 && recordByte(root) == 0.0,
                 "the first byte of the record is " + shown(recordByte(first)) + " before the first run and " +
                     shown(recordByte(root)) + " behind one; it is 1 as long as the next run begins afresh");
    const stage::Element* body = fresh.element("CarBodyMesh");
    const double length = body == nullptr ? 0.0 : util::Scale(car.world.scene.world(*body, 0.0)).z;
    if (first.hasChild(kRecord) && first.getChild(kRecord).getSize() == kRecordSize)
        check.expect(
            std::abs(numberAt(static_cast<const unsigned char*>(first.getChild(kRecord).getData()) + kBodyLength, 8) -
                     length) < 1e-9,
            "the record has another length of the body than the rig");
}

void carOldBlocks(Check& check) {
    SavedCar car(check);
    // Older ones are of rigs whose elements have other names.
    for (const int number : {126,  127,  128,  129,  131,  133,  136,  138,  139,  140,  8107, 8108,     8117, 8118,
                             8119, 8120, 8121, 8123, 8124, 8125, 8126, 8129, 8130, 8132, 8133, 8134,     8135, 8136,
                             8137, 8138, 8139, 8140, 8142, 8143, 8144, 8145, 8147, 8148, 9200, kPresent, 9202, 9999})
        expectRows(car, blockName(number), number);
    // Numbers are compared as texts.
    expectRows(car, blockName(99), kPresent);
}

void carRefusedBlocks(Check& check) {
    SavedCar car(check);
    const auto none = [](const std::string&) { return false; };
    for (const char* name : {"", "Car", "CarCamDataChunk", "CarCamDataChunk09", "Block", "BarCamDataChunk9201"})
        car.expectAnswer(rewritten(car.block, name, none), 1, "a block called " + cited(name));
    for (const int size : {0, kRecordSize - 1, kRecordSize + 1})
        car.expectAnswer(withRecordOf(car.block, size), 1, "a record of " + std::to_string(size) + " bytes");
    for (const char* key : {"sDataChunkSaveStruct", "ancCarCampcInput_GAS_PEDAL", "fDampingBack", "wheelstore",
                            "ancCarCamrandomValue_burnout", "cCarCam.dWheelRadiusMult"})
        car.expectAnswer(
            rewritten(car.block, blockName(kPresent), [&](const std::string& name) { return name == key; }), 1,
            "a block without " + cited(key));
    for (const char* key :
         {"anQGravityFilterMem", "anbCarInTheAir", "bFixateWheelBottomNodes", "bKeyframeOnlyEssential"})
        car.expectAnswer(
            rewritten(car.block, blockName(kPresent), [&](const std::string& name) { return name == key; }), 0,
            "a block without " + cited(key) + ", which it does without");
    for (const CarElement& element : carElements()) {
        Lacks lacks;
        lacks.found = {element.name};
        const std::string_view name = element.name;
        const bool made = name == "SteeringWheelMesh" || name == "ExternalForceMesh" || name == "CarBodyBaseMesh";
        const bool ofCorner = name.starts_with("Wheel");
        car.expectAnswer(car.block, made || ofCorner ? 0 : 1, "a scene without " + cited(name), lacks);
        if (made) check.expect(car.world.hosts.back()->element(element.name) != nullptr, "no element");
    }
}

void carLoading(Check& check) {
    SavedCar car(check);
    const Acts sent = {"send 17 to GravityDirectionMesh",
                       "send 17 to TopViewCam",
                       "send 17 to DriverCam",
                       "send 17 to ExternalForceMesh",
                       "send 57 to ChassisRelocatorMesh",
                       "send 17 to TargetMesh",
                       "send 57 to WheelRelocatorMesh_FL",
                       "send 57 to WheelRelocatorMesh_FR",
                       "send 57 to WheelRelocatorMesh_BL",
                       "send 57 to WheelRelocatorMesh_BR"};
    StrictHost& host = car.declared();
    expectActs(check, "loadState()", actsOf(host, [&] { (void)host.load(car.block); }), sent);
    stage::Element* body = host.element("CarBodyMesh");
    if (body == nullptr) check.give("car-rig", "the rig has no element 'CarBodyMesh'");
    body->shown = false;
    StrictHost& hidden = car.declared();
    Acts wanted = sent;
    wanted.insert(wanted.begin() + 2, "hide SteeringWheelMesh");
    expectActs(check, "loadState() below a hidden body", actsOf(hidden, [&] { (void)hidden.load(car.block); }), wanted);
    body->shown = true;
    // Keys of other ages.
    const unsigned char on = 1;
    const unsigned char off = 0;
    const auto fixed = [&] { return rowOf(*car.world.hosts.back(), "Fixate Wheel Center Nodes").value(); };
    const Bytes without = rewritten(car.block, blockName(kPresent),
                                    [](const std::string& name) { return name == "bFixateWheelBottomNodes"; });
    car.expectAnswer(with(without, {"bFixateWheelCenterNodes", &on, 1}), 0, "a block with 'bFixateWheelCenterNodes'");
    check.expect(fixed() == 1.0,
                 "the row 'Fixate Wheel Center Nodes' is off behind a block that has it on as "
                 "'bFixateWheelCenterNodes'; that is its older name");
    car.expectAnswer(with(car.block, {"bFixateWheelCenterNodes", &off, 1}), 0, "a block with both names of a key");
    check.expect(fixed() == car.rows["Fixate Wheel Center Nodes"],
                 "'bFixateWheelCenterNodes' won over 'bFixateWheelBottomNodes'; the latter is read first");
    car.expectAnswer(with(car.block, {"aKeyOfLaterDays", &on, 1}), 0, "a block with a key that nobody knows");
    const int keys = chunkOf(car.world.hosts.back()->save()).getNumChildren();
    check.expect(keys == static_cast<int>(carKeys().size()),
                 "behind the load of a block with a key that nobody knows the saved block has " + std::to_string(keys) +
                     " keys; it has " + std::to_string(carKeys().size()) + ", its own");
}

void carFlight(Check& check) {
    constexpr double kDeep = -30.0;
    const auto overAbyss = [](double x, double z) { return kDeep + levelGround(x, z); };
    for (const double gravity : {0.5, 0.25}) {
        CarDrive drive(check, overAbyss);
        const double dt = drive.car.world.scene.clock.step();
        const double wanted = 225.0 * dt * dt * drive.length() * gravity;
        const std::vector<double> heights = flightOf(drive, gravity, true);
        for (std::size_t frame = 3; frame < heights.size(); ++frame) {
            const double gained = 2.0 * heights[frame - 1] - heights[frame - 2] - heights[frame];
            if (!check.expect(std::abs(gained - wanted) < 0.05 * wanted,
                              "a falling vehicle gained " + shown(gained) + " on its fall in frame " +
                                  std::to_string(frame) + " with a gravity of " + shown(gravity) + "; it gains " +
                                  shown(wanted) + " in each"))
                break;
        }
    }
    // Without the switch its springs draw it to the ground in less time than a fall takes.
    CarDrive drawn(check, overAbyss);
    const double height = flightOf(drawn, 0.25, false).back();
    check.expect(std::abs(height - kDeep) < 0.25 * std::abs(kDeep),
                 "a vehicle whose saved block says that it does not fall is at a height of " + shown(height) +
                     " a few frames behind a start over ground of " + shown(kDeep) + "; it is down on the ground");
}

}  // namespace ond::validate::tests

// Whole vehicles in scenes, from the making of the rig to the last key, against the course that an independent model
// takes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "GoldenFile.h"
#include "GoldenHost.h"
#include "VehicleNames.h"
#include "rig/WheelNodes.h"

namespace golden {
namespace {

const std::vector<Line>& lines() {
    static const std::vector<Line> all = readFile("vehicle_runs_golden.jsonl");
    return all;
}

const Value& header() { return lines().front().value; }

Matrix4 matrixOf(const Value& value) {
    const std::vector<double> numbers = value.numbers();
    Matrix4 m;
    std::copy(numbers.begin(), numbers.end(), m.m.begin());
    return m;
}

CMesh meshOf(const Value& action) {
    CMesh mesh;
    const std::vector<Value>& vertices = action["vertices"].list();
    const std::vector<Value>& faces = action["faces"].list();
    mesh.setNumVertices(static_cast<int>(vertices.size()));
    mesh.setNumFaces(static_cast<int>(faces.size()));
    for (std::size_t i = 0; i < vertices.size(); ++i) {
        const std::vector<double> v = vertices[i].numbers();
        mesh.setVertex(static_cast<int>(i), v.at(0), v.at(1), v.at(2));
    }
    for (std::size_t i = 0; i < faces.size(); ++i) {
        const auto corner = [&](std::size_t k) { return static_cast<int>(faces[i].list().at(k).integer()); };
        mesh.setFace(static_cast<int>(i), corner(0), corner(1), corner(2));
    }
    return mesh;
}

void assign(const FieldPointer& to, const Value& value) {
    if (double* const* x = std::get_if<double*>(&to)) **x = value.number();
    if (bool* const* x = std::get_if<bool*>(&to)) **x = value.flag();
    if (std::int32_t* const* x = std::get_if<std::int32_t*>(&to)) **x = static_cast<std::int32_t>(value.integer());
}

/// What is not as expected, at most ten lines of it.
class Differences {
  public:
    explicit Differences(double tolerance) : tolerance_(tolerance) {}

    void number(const std::string& what, double actual, double expected) {
        near(what, actual, expected, floorOf(what));
    }
    void exact(const std::string& what, double actual, double expected) {
        if (actual != expected) add(what, actual, expected);
    }
    void numbers(const std::string& what, const std::vector<double>& actual, const std::vector<double>& expected) {
        exact(what + " count", static_cast<double>(actual.size()), static_cast<double>(expected.size()));
        for (std::size_t i = 0; i < std::min(actual.size(), expected.size()); ++i)
            near(what + "[" + std::to_string(i) + "]", actual[i], expected[i], floorOf(what));
    }
    void field(const std::string& what, const FieldPointer& actual, const Value& expected) {
        if (double* const* x = std::get_if<double*>(&actual)) number(what, **x, expected.number());
        if (bool* const* x = std::get_if<bool*>(&actual)) exact(what, **x ? 1.0 : 0.0, expected.flag() ? 1.0 : 0.0);
        if (std::int32_t* const* x = std::get_if<std::int32_t*>(&actual))
            exact(what, **x, static_cast<double>(expected.integer()));
    }
    void text(const std::string& what, const std::string& actual, const std::string& expected) {
        if (actual != expected) add(what, "'" + actual + "'", "'" + expected + "'");
    }
    [[nodiscard]] std::string all() const {
        return count_ <= 10 ? text_ : text_ + std::to_string(count_) + " in all\n";
    }

  private:
    /// What counts as large for a value that happens to be near zero.
    static double floorOf(const std::string& what) {
        return header()["floors"].has(what) ? header()["floors"][what].number() : header()["floor"].number();
    }
    void near(const std::string& what, double actual, double expected, double floor) {
        if (!(std::abs(actual - expected) <= tolerance_ * std::max(floor, std::abs(expected))))
            add(what, actual, expected);
    }
    void add(const std::string& what, double actual, double expected) {
        char texts[2][32];
        std::snprintf(texts[0], sizeof texts[0], "%.17g", actual);
        std::snprintf(texts[1], sizeof texts[1], "%.17g", expected);
        add(what, texts[0], texts[1]);
    }
    void add(const std::string& what, const std::string& actual, const std::string& expected) {
        if (++count_ <= 10) text_ += what + " is " + actual + ", expected " + expected + "\n";
    }
    double tolerance_;
    std::string text_;
    int count_ = 0;
};

/// Flags in lists of numbers count as 0 and 1.
std::vector<double> numbersOf(const Value& value) {
    std::vector<double> out;
    for (const Value& entry : value.list())
        out.push_back(entry.kind() == Value::Kind::Bool ? (entry.flag() ? 1.0 : 0.0) : entry.number());
    return out;
}

std::vector<double> rowsOf(const Matrix4& m) {
    std::vector<double> out;
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 3; ++j) out.push_back(m.m[4 * i + j]);
    return out;
}

class Player {
  public:
    explicit Player(const Value& head)
        : scene(head["fps"].number(), header()["sameTime"].number()),
          host(scene),
          tolerance(head["tolerance"].number()),
          vehicle(new CCarCamObject({{0, 0}, 0, "Car"})),
          car(vehicle->cCarCam) {
        vehicle->hostInterface = &host;
        vehicle->declareParameters();
        vehicle->createRig();
    }
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;
    ~Player() { vehicle->release(); }

    void play(const Value& action);
    [[nodiscard]] std::string differences(const Value& expected);
    [[nodiscard]] std::string endDifferences(const Value& expected);

  private:
    [[nodiscard]] Element* named(const Value& name) { return name.text().empty() ? nullptr : &element(name.text()); }
    [[nodiscard]] Element& element(const std::string& name) {
        Element* found = scene.find(name);
        if (found == nullptr) throw std::runtime_error("no element '" + name + "'");
        return *found;
    }
    void setField(const std::string& path, const Value& value);
    void place(const Value& action);
    void holdDevices(const Value& devices);
    void compareWorld(Differences& d, const Value& expected);
    void compareWheels(Differences& d, const Value& expected);
    void compareSpin(Differences& d, const Value& expected);

    Scene scene;
    Host host;
    double tolerance;
    CCarCamObject* vehicle;
    CarFields car;
};

void Player::setField(const std::string& path, const Value& value) {
    const std::string prefix = "vehicle.";
    if (path.compare(0, prefix.size(), prefix) == 0) return assign(vehicleField(*vehicle, path.substr(8)), value);
    for (const Field& field : car.all())
        if (field.path == path) return assign(field.pointer, value);
    assign(vehicleField(*vehicle, path), value);
}

void Player::place(const Value& action) {
    Element& placed = element(action["place"].text());
    const double time = scene.time(action["frame"].integer());
    if (action["space"].text() == "world") {
        scene.setWorld(placed, time, matrixOf(action["matrix"]));
    } else {
        scene.setLocal(placed, time, matrixOf(action["matrix"]));
    }
}

void Player::holdDevices(const Value& devices) {
    const std::vector<double> positions = devices.numbers();
    for (std::size_t i = 0; i < host.axes.size(); ++i) host.axes[i].position = positions.at(i);
}

void Player::play(const Value& action) {
    if (action.has("ground")) {
        Element& ground = scene.add(action["ground"].text(), named(action["parent"]));
        ground.hasSurface = true;
        ground.mesh = meshOf(action);
        scene.setLocal(ground, 0.0, matrixOf(action["local"]));
    } else if (action.has("empty")) {
        scene.add(action["empty"].text(), named(action["parent"]));
    } else if (action.has("link")) {
        Scene::link(element(action["link"].text()), named(action["to"]));
    } else if (action.has("delete")) {
        Scene::remove(element(action["delete"].text()));
    } else if (action.has("place")) {
        place(action);
    } else if (action.has("set")) {
        for (const auto& [path, value] : action["set"].members()) setField(path, value);
    } else if (action.has("label")) {
        vehicle->onParameterChanged(action["label"].text());
    } else if (action.has("corners")) {
        ond::ovs::addon::rig::resizeWheels(*vehicle, static_cast<int>(action["corners"].integer()));
    } else if (action.has("start")) {
        holdDevices(action["devices"]);
        scene.now = scene.time(action["start"].integer());
        vehicle->startRun(scene.now);
    } else if (action.has("run")) {
        holdDevices(action["devices"]);
        for (std::int64_t k = action["run"].list().at(0).integer(); k <= action["run"].list().at(1).integer(); ++k) {
            scene.now = scene.time(k);
            vehicle->updateFrame(scene.now);
        }
    } else if (action.has("stop")) {
        vehicle->stopRun(scene.now);
    } else if (action.has("show")) {
        scene.now = scene.time(action["show"].integer());
        vehicle->showFrame(scene.now);
    } else {
        throw std::runtime_error("unknown action");
    }
}

void Player::compareWorld(Differences& d, const Value& expected) {
    std::size_t living = 0;
    for (const Element& e : scene.elements) living += e.deleted ? 0 : 1;
    d.exact("elements", static_cast<double>(living), static_cast<double>(expected.members().size()));
    for (const auto& [name, matrix] : expected.members())
        d.numbers(name, rowsOf(scene.world(element(name), scene.now)), matrix.numbers());
}

void Player::compareWheels(Differences& d, const Value& expected) {
    const std::vector<Value>& names = header()["wheelFields"].list();
    for (std::size_t i = 0; i < 4; ++i) {
        const std::vector<Value>& wheel = expected.list().at(i).list();
        for (std::size_t k = 0; k < names.size(); ++k) {
            const std::string path = "pcWheel[" + std::to_string(i) + "]." + names[k].text();
            d.field(path, car.at(path).pointer, wheel.at(k));
        }
        const bool hasNode = i < vehicle->aWheelNodes.size();
        d.exact("wheel node", hasNode ? 1.0 : 0.0, wheel.size() > names.size() ? 1.0 : 0.0);
        if (!hasNode || wheel.size() == names.size()) continue;
        const std::string node = "aWheelNodes[" + std::to_string(i) + "].";
        d.number(node + "dCurrDelta", vehicle->aWheelNodes[i].dCurrDelta, wheel.at(names.size()).number());
        d.number(node + "dCurrDeltaW", vehicle->aWheelNodes[i].dCurrDeltaW, wheel.at(names.size() + 1).number());
    }
}

std::string Player::differences(const Value& expected) {
    Differences d(tolerance);
    const std::vector<Value>& carFields = header()["carFields"].list();
    for (std::size_t i = 0; i < carFields.size(); ++i)
        d.field(carFields[i].text(), car.at(carFields[i].text()).pointer, expected["car"].list().at(i));
    const std::vector<Value>& fields = header()["vehicleFields"].list();
    for (std::size_t i = 0; i < fields.size(); ++i)
        d.field(fields[i].text(), vehicleField(*vehicle, fields[i].text()), expected["vehicle"].list().at(i));
    compareWheels(d, expected["wheels"]);
    compareWorld(d, expected["world"]);
    std::vector<double> outputs;
    for (const auto& output : host.outputs) outputs.push_back(output->current);
    d.numbers("outputs", outputs, expected["outputs"].numbers());
    d.exact("messages", static_cast<double>(host.messages.size()), expected["messages"].number());
    d.exact("undo records", host.undoRecords, expected["undoRecords"].number());
    return d.all();
}

void Player::compareSpin(Differences& d, const Value& expected) {
    for (const auto& [name, keys] : expected.members()) {
        std::vector<Key> between;
        for (const Key& key : element(name).keys)
            if (std::abs(key.time - scene.time(std::llround(key.time * scene.fps))) > 2 * scene.sameTime)
                between.push_back(key);
        d.exact(name + " keys between frames", static_cast<double>(between.size()),
                static_cast<double>(keys.list().size()));
        for (std::size_t i = 0; i < std::min(between.size(), keys.list().size()); ++i) {
            const std::vector<Value>& key = keys.list()[i].list();
            d.number(name + " time between frames", between[i].time, key.at(0).number());
            d.numbers(name + " between frames", rowsOf(between[i].local), key.at(1).numbers());
        }
    }
}

std::string Player::endDifferences(const Value& expected) {
    Differences d(tolerance);
    const Value& histories = expected["histories"];
    int variables = 0;
    forEachHistory(
        *vehicle,
        [&](const char* name, const std::vector<double>& summary) {
            ++variables;
            d.numbers(name, summary, numbersOf(histories[name]));
        },
        [&](const char* name, std::size_t corner, const std::vector<double>& summary) {
            ++variables;
            d.numbers(std::string(name) + "[" + std::to_string(corner) + "]", summary,
                      numbersOf(histories[name].list().at(corner)));
        });
    d.exact("histories", variables, header()["variables"].number());
    for (const auto& [name, keys] : expected["keys"].members())
        d.exact(name + " keys", static_cast<double>(element(name).keys.size()), keys.number());
    compareSpin(d, expected["spin"]);
    const std::vector<Value>& texts = expected["texts"].list();
    d.exact("messages", static_cast<double>(host.messages.size()), static_cast<double>(texts.size()));
    for (std::size_t i = 0; i < std::min(host.messages.size(), texts.size()); ++i) {
        d.text("message", host.messages[i].text.substr(0, host.messages[i].text.find('\n')),
               texts[i].list().at(0).text());
        d.text("caption", host.messages[i].caption, texts[i].list().at(1).text());
    }
    return d.all();
}

/// Plays the scene whose head is the line at `at`, up to its closing line; stops at the first state that is off.
void playAndCompare(std::size_t at) {
    Player player(lines()[at].value);
    int states = 0;
    for (++at; !lines().at(at).value.has("end"); ++at) {
        const Value& line = lines()[at].value;
        player.play(line);
        if (!line.has("expect")) continue;
        ++states;
        ASSERT_EQ(player.differences(line["expect"]), "") << "behind line " << lines()[at].number;
    }
    EXPECT_EQ(player.endDifferences(lines()[at].value["end"]), "");
    EXPECT_GE(states, 3);
}

std::map<std::string, std::size_t> scenes() {
    std::map<std::string, std::size_t> out;
    for (std::size_t i = 0; i < lines().size(); ++i) {
        if (lines()[i].value.has("scene")) out[lines()[i].value["scene"].text()] = i;
    }
    return out;
}

class VehicleRunsGolden : public testing::TestWithParam<std::string> {};

TEST_P(VehicleRunsGolden, TakesTheIndependentModelsCourse) { playAndCompare(scenes().at(GetParam())); }

std::vector<std::string> sceneNames() {
    std::vector<std::string> names;
    for (const auto& [name, line] : scenes()) names.push_back(name);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Scene, VehicleRunsGolden, testing::ValuesIn(sceneNames()),
                         [](const testing::TestParamInfo<std::string>& test) { return test.param; });

}  // namespace
}  // namespace golden

// What takes become: plain glTF, FBX, tables, pictures; and what is told about files.
#include <cstdint>
#include <cstring>

#include "CommandRun.h"
#include "command/BinaryGltf.h"
#include "stage/Glb.h"
#include "stage/GroundFile.h"
#include "stage/Stage.h"
#include "stage/TakeFormat.h"
#include "whole/Grounds.h"

namespace ond::test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

class Exports : public CommandRun {
  protected:
    void SetUp() override {
        CommandRun::SetUp();
        take = path("take.glb");
        done({"drive", "--ground", putMesh("wavy.obj", wavyGround()), "--key", "gas=0:1,1:1", "--hold", "steering=0.5",
              "-q", "-o", take});
    }
    std::string take;
};

/// The fields of a line; quotes keep commas.
std::vector<std::string> fieldsOf(const std::string& line) {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (const char c : line) {
        if (c == '"')
            quoted = !quoted;
        else if (c == ',' && !quoted)
            fields.emplace_back();
        else
            fields.back() += c;
    }
    return fields;
}

/// The bytes of a take with another extension, as `change` leaves it; it gets the whole document as well.
template <typename Change>
std::string changed(const std::string& take, Change change) {
    const std::vector<unsigned char> whole(take.begin(), take.end());
    const stage::GlbChunks chunks = stage::splitGlb(whole);
    json document = json::parse(chunks.json);
    change(document["extensions"][stage::kTakeExtension], document);
    const auto bytes = stage::joinGlb(document.dump(), {chunks.binary, chunks.binary + chunks.binarySize});
    return {bytes.begin(), bytes.end()};
}

/// The bytes of a take as a program wrote it that knew no gauges.
std::string withoutGauges(const std::string& take) {
    return changed(take, [](json& extension, json&) {
        for (json& vehicle : extension["vehicles"]) vehicle["curves"].erase("gauges");
    });
}

TEST_F(Exports, TableHoldsEveryElementAndCurve) {
    done({"export", take, "-o", path("take.csv")});
    std::istringstream text(read(path("take.csv")));
    std::string line;
    std::getline(text, line);
    const std::vector<std::string> header = fieldsOf(line);
    const auto lines = trace(take);
    const auto column = [&](const std::string& name) {
        const auto found = std::find(header.begin(), header.end(), name);
        EXPECT_NE(found, header.end()) << name;
        return static_cast<std::size_t>(found - header.begin());
    };
    EXPECT_EQ(header.size(), 2 + 7 * lines.front().at("elements").size() + 7 + 9 + 16 + 5);
    std::size_t row = 0;
    std::vector<std::vector<double>> before(lines.front().at("elements").size(), std::vector<double>(4, 0.0));
    for (; std::getline(text, line); ++row) {
        const std::vector<std::string> fields = fieldsOf(line);
        ASSERT_EQ(fields.size(), header.size());
        EXPECT_EQ(std::stoi(fields[0]), lines[row].at("frame").get<int>());
        EXPECT_EQ(std::stod(fields[1]), lines[row].at("time").get<double>());
        std::size_t element = 0;
        for (const auto& [name, matrix] : lines[row].at("elements").items()) {
            const std::size_t x = column(name + ".x");
            for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(std::stod(fields[x + k]), matrix[12 + k].get<double>());
            double norm = 0.0;
            double dot = 0.0;
            for (std::size_t k = 0; k < 4; ++k) {
                const double q = std::stod(fields[x + 3 + k]);
                norm += q * q;
                dot += q * before[element][k];
                before[element][k] = q;
            }
            EXPECT_NEAR(norm, 1.0, 1e-12) << name;
            EXPECT_GE(dot, 0.0) << name;
            ++element;
        }
        EXPECT_EQ(std::stod(fields[column("car.output.Velocity")]),
                  lines[row].at("channels").at("car").at("Velocity").get<double>());
        EXPECT_EQ(std::stod(fields[column("car.gauge.Current Velocity")]),
                  lines[row].at("gauges").at("car").at("Current Velocity").get<double>());
        EXPECT_EQ(std::stod(fields[column("car.input.Gas Pedal (Forw/Backw)")]), 1.0);
    }
    EXPECT_EQ(row, lines.size());
}

TEST_F(Exports, TableHasHalfFramesOnRequest) {
    done({"export", take, "--step", "0.5", "-o", path("half.csv")});
    std::istringstream text(read(path("half.csv")));
    std::string line;
    std::getline(text, line);
    std::vector<std::vector<std::string>> rows;
    while (std::getline(text, line)) rows.push_back(fieldsOf(line));
    ASSERT_EQ(rows.size(), 51u);
    EXPECT_EQ(rows[1][0], "0.5");
    EXPECT_EQ(rows[1][1], "0.02");
    EXPECT_EQ(rows[1].back(), "");
    EXPECT_NE(rows[2].back(), "");
}

TEST_F(Exports, PlainGltfHasTheAnimationButNotTheExtension) {
    done({"export", take, "-o", path("plain.glb")});
    const auto plain = command::openBinaryGltf(read(path("plain.glb")), "plain.glb");
    EXPECT_FALSE(plain.json->contains("extensions"));
    EXPECT_FALSE(plain.json->contains("extensionsUsed"));
    EXPECT_EQ(plain.json->at("animations").size(), 1u);
    EXPECT_EQ(
        run({"resume", path("plain.glb"), "--at", "1", "--hold", "gas=1", "--last", "5", "-o", path("a.glb")}).code, 2);
}

TEST_F(Exports, APosedStillHasNoAnimationAndStandsInItsFrame) {
    done({"export", take, "--frame", "20", "-o", path("still.glb")});
    const auto still = command::openBinaryGltf(read(path("still.glb")), "still.glb");
    EXPECT_FALSE(still.json->contains("animations"));
    const auto lines = trace(take);
    for (const json& node : still.json->at("nodes"))
        for (std::size_t k = 0; k < 3 && node.at("name") == "car_CarBodyMesh"; ++k)
            EXPECT_NEAR(node.at("translation")[k].get<double>(),
                        lines[20].at("elements").at("car_CarBodyMesh")[12 + k].get<double>(), 1e-5);
}

/// The arrays of a binary FBX file under the name: plain lists of one kind of number.
template <typename Number>
std::vector<std::vector<Number>> arraysOf(const std::string& fbx, const std::string& name, char kind) {
    std::vector<std::vector<Number>> all;
    const std::string mark = name + kind;
    for (std::size_t at = fbx.find(mark); at != std::string::npos; at = fbx.find(mark, at + 1)) {
        std::uint32_t head[3] = {0, 0, 0};  // count, packing, bytes
        std::memcpy(head, fbx.data() + at + mark.size(), sizeof head);
        if (head[1] != 0 || head[0] * sizeof(Number) != head[2]) continue;
        all.emplace_back(head[0]);
        std::memcpy(all.back().data(), fbx.data() + at + mark.size() + sizeof head, head[2]);
    }
    return all;
}

TEST_F(Exports, FbxHoldsTheMotionInSecondsAndMetres) {
    done({"export", take, "-o", path("take.fbx")});
    const auto lines = trace(take);
    const std::string fbx = read(path("take.fbx"));
    const auto times = arraysOf<std::int64_t>(fbx, "KeyTime", 'l');
    const auto values = arraysOf<float>(fbx, "KeyValueFloat", 'f');
    ASSERT_FALSE(times.empty());
    ASSERT_EQ(times.size(), values.size());
    // The format counts time in parts of a second.
    constexpr double kTicks = 46186158000.0;
    bool found = false;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i].size() != lines.size()) continue;
        bool same = true;
        for (std::size_t k = 0; k < lines.size(); ++k) {
            same = same && std::abs(static_cast<double>(values[i][k]) - placeIn(lines[k], "car_CarBodyMesh").z) < 1e-4;
            EXPECT_NEAR(static_cast<double>(times[i][k]) / kTicks, lines[k].at("time").get<double>(), 1e-6);
        }
        found = found || same;
    }
    EXPECT_TRUE(found) << "no curve of the file is the body's z";

    // Another reader finds the nodes, at the size that they have.
    const stage::GroundScene scene = stage::readGround(path("take.fbx"));
    util::Matrix4 world;
    for (const stage::GroundNode& node : scene.nodes)
        if (node.name == "car_CarBodyMesh") world = node.local;
    EXPECT_NEAR(util::Length(world.row(2)), 4.0, 1e-3);
}

TEST_F(Exports, PicturesShowTheCar) {
    for (const char* camera : {"three-quarter", "FollowCam", "DriverCam", "TopViewCam"}) {
        done({"export", take, "--camera", camera, "--size", "64x36", "--force", "-o", path("a.png")});
        const std::string png = read(path("a.png"));
        EXPECT_EQ(png.compare(1, 3, "PNG"), 0);
        EXPECT_GT(png.size(), 500u) << camera;
    }
    done({"export", take, "--frame", "3", "--size", "64x36", "-o", path("b.png")});
    done({"export", take, "--frame", "3", "--size", "64x36", "-o", path("c.png")});
    EXPECT_EQ(read(path("b.png")), read(path("c.png")));
}

TEST_F(Exports, TraceComparesToTheBit) {
    EXPECT_EQ(run({"trace", "--compare", take, take}).out, "equal: 26 frames\n");
    done({"trace", take, "-o", path("take.jsonl")});
    EXPECT_EQ(run({"trace", "--compare", path("take.jsonl"), take}).code, 0);

    std::string text = read(path("take.jsonl"));
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    nlohmann::ordered_json frame = nlohmann::ordered_json::parse(lines[7]);
    double& value = *frame["elements"]["car_CarBodyMesh"][13].get_ptr<double*>();
    value = std::nextafter(value, 1e9);
    lines[7] = frame.dump();
    text.clear();
    for (const std::string& line : lines) text += line + "\n";
    const Answer answer = run({"trace", "--compare", take, put("other.jsonl", text)});
    EXPECT_EQ(answer.code, 1);
    EXPECT_THAT(answer.out, HasSubstr("frame 7: elements: car_CarBodyMesh[13]"));
    const json told = json::parse(run({"trace", "--json", "--compare", take, path("other.jsonl")}).out);
    EXPECT_EQ(told.at("equal"), false);
    EXPECT_EQ(told.at("difference").at("frame"), 7);

    done({"resume", take, "--at", "10", "--hold", "gas=1", "--last", "20", "-q", "-o", path("short.glb")});
    EXPECT_THAT(run({"trace", "--compare", take, path("short.glb")}).out, HasSubstr("frame 11"));
    EXPECT_EQ(run({"trace", "--compare", take, put("no.jsonl", "hello\n")}).code, 2);
}

TEST_F(Exports, TraceTellsChannelsInputsAndGauges) {
    const auto lines = trace(take);
    EXPECT_EQ(lines.size(), 26u);
    EXPECT_EQ(lines[5].at("channels").at("car").size(), 7u);
    EXPECT_EQ(lines[5].at("inputs").at("car").size(), 9u);
    for (const json& line : lines) {
        const json& gauges = line.at("gauges").at("car");
        const json& channels = line.at("channels").at("car");
        ASSERT_EQ(gauges.size(), 5u);
        EXPECT_EQ(gauges.at("Current Velocity"), channels.at("Velocity"));
        EXPECT_EQ(gauges.at("Current Velocity (% of max)").get<double>() / 100.0,
                  channels.at("Velocity (Percent of Max)").get<double>());
        EXPECT_GT(gauges.at("World Space Maximum Velocity Gauge").get<double>(), 1.0);
    }
    EXPECT_LT(lines.front().at("gauges").at("car").at("Current Velocity"),
              lines.back().at("gauges").at("car").at("Current Velocity"))
        << "each line has what the gauges read then";
    EXPECT_EQ(json::parse(done({"trace", take, "--first", "3", "--last", "3"}).out).at("frame"), 3);
}

TEST_F(Exports, TraceComparesGauges) {
    done({"trace", take, "-o", path("take.jsonl")});
    std::string text = read(path("take.jsonl"));
    const std::string label = "\"Current Velocity\":";
    std::size_t at = 0;
    for (int line = 0; line <= 12; ++line) at = text.find(label, at) + label.size();
    const Answer answer = run({"trace", "--compare", take, put("other.jsonl", text.insert(at, "1"))});
    EXPECT_EQ(answer.code, 1);
    EXPECT_THAT(answer.out, HasSubstr("frame 12: gauges: car: Current Velocity: "));
    EXPECT_EQ(answer.err, "");
}

TEST_F(Exports, TakesOfBeforeThereWereGaugesGoOnWithoutThem) {
    const std::string old = put("old.glb", withoutGauges(read(take)));
    const Answer traced = done({"trace", old});
    EXPECT_EQ(traced.out.find("gauges"), std::string::npos);
    EXPECT_THAT(traced.err, HasSubstr("recorded 'car' without gauges"));
    EXPECT_EQ(traced.err.find("without gauges"), traced.err.rfind("without gauges")) << "once, not once a line";
    EXPECT_EQ(done({"trace", take}).err, "");

    // All else is compared.
    const Answer same = done({"trace", "--compare", take, old});
    EXPECT_EQ(same.out, "equal: 26 frames\n");
    EXPECT_THAT(same.err, HasSubstr("gauges of 'car'"));
    EXPECT_EQ(json::parse(done({"trace", "--json", "--compare", old, take}).out).at("gaugesNotCompared"),
              (json{"car"}));
    EXPECT_EQ(done({"trace", "--compare", old, old}).err, "");
    done({"resume", take, "--at", "10", "--hold", "gas=1", "--last", "20", "-q", "-o", path("new-on.glb")});
    done({"resume", old, "--at", "10", "--hold", "gas=1", "--last", "20", "-q", "-o", path("old-on.glb")});
    EXPECT_EQ(run({"trace", "--compare", old, path("new-on.glb")}).code, 1);
    EXPECT_EQ(done({"trace", "--compare", path("new-on.glb"), path("old-on.glb")}).out, "equal: 21 frames\n");

    // Driven again it is what it would be today.
    done({"retake", old, "-q", "-o", path("again.glb")});
    EXPECT_EQ(read(path("again.glb")), read(take));

    EXPECT_EQ(json::parse(done({"info", "--json", old}).out).at("vehicles").at(0).at("curves").at("gauges"), 0);
    EXPECT_EQ(json::parse(done({"info", "--json", take}).out).at("vehicles").at(0).at("curves").at("gauges"), 5);
    EXPECT_THAT(done({"info", old}).out, HasSubstr("26 rows of 32 curves, no gauges\n"));
    EXPECT_THAT(done({"info", take}).out, HasSubstr("26 rows of 32 curves and 5 gauges\n"));
    done({"export", old, "-o", path("old.csv")});
    EXPECT_EQ(read(path("old.csv")).find("gauge"), std::string::npos);
}

TEST_F(Exports, InfoTellsAboutTakesMeshesAndBlocks) {
    const json told = json::parse(done({"info", "--json", take}).out);
    EXPECT_EQ(told.at("kind"), "take");
    EXPECT_EQ(told.at("frames"), (json{0, 25}));
    EXPECT_EQ(told.at("vehicles").at(0).at("name"), "car");
    const json& block = told.at("vehicles").at(0).at("block");
    EXPECT_EQ(block.at("damaged"), false);
    EXPECT_EQ(block.at("keys").size(), 91u);
    EXPECT_EQ(block.at("version"), "9201");
    for (const json& key : block.at("keys"))
        if (key.at("name") == "ancCarCampcInput_GAS_PEDAL") {
            EXPECT_EQ(key.at("keys"), 25);
        }
    EXPECT_THAT(done({"info", take}).out, HasSubstr("frames 0 to 25 at 25 a second, 1 s"));

    const json mesh = json::parse(done({"info", "--json", path("wavy.obj")}).out);
    EXPECT_EQ(mesh.at("kind"), "mesh");
    EXPECT_EQ(mesh.at("triangles"), 2 * 60 * 80);
    EXPECT_NEAR(mesh.at("low")[0].get<double>(), -30.3, 1e-5);

    const stage::Module module(VEHICLE_MODULE_PATH);
    stage::Stage host(module);
    const auto saved = host.addVehicle("car").state().block;
    const std::string bytes(saved.begin(), saved.end());
    const Answer text = done({"info", put("car.block", bytes)});
    EXPECT_THAT(text.out, HasSubstr("saved block, version 9201"));
    EXPECT_THAT(text.out, HasSubstr("cCarCambGravityOn: flag false"));
    EXPECT_EQ(text.code, 0);

    const std::string half = put("cut.block", bytes.substr(0, bytes.size() / 2));
    const Answer cut = run({"info", half});
    EXPECT_EQ(cut.code, 1);
    EXPECT_THAT(cut.err, HasSubstr("is a damaged saved block: "));
    EXPECT_THAT(cut.err, HasSubstr(" of its 91 keys are missing\n"));
    EXPECT_EQ(cut.out.find("\n  : "), std::string::npos) << "keys that are not there are not listed";
    const json part = json::parse(run({"info", "--json", half}).out);
    EXPECT_EQ(part.at("damaged"), true);
    EXPECT_EQ(part.at("keys").size() + part.at("lost").get<std::size_t>(), 91u);
    EXPECT_THAT(run({"info", put("more.block", bytes + "xx")}).err, HasSubstr("do not add up to its length"));
    EXPECT_EQ(json::parse(done({"info", "--json", take, path("wavy.obj")}).out).size(), 2u);
}

TEST_F(Exports, InfoTellsInASentenceWhatIsWrongWithATake) {
    const auto expectDamage = [&](const std::string& name, const std::string& bytes, const std::string& sentence) {
        const std::string file = put(name, bytes);
        const Answer answer = run({"info", file});
        EXPECT_EQ(answer.code, 1) << name;
        EXPECT_THAT(answer.err, HasSubstr(sentence)) << name;
        EXPECT_EQ(std::count(answer.err.begin(), answer.err.end(), '\n'), 1) << answer.err;
        EXPECT_THAT(answer.out, HasSubstr("take")) << name;
        const Answer told = run({"info", "--json", file});
        EXPECT_EQ(told.code, 1) << name;
        EXPECT_EQ(json::parse(told.out).at("damaged"), true) << name;
    };
    const std::string bytes = read(take);
    expectDamage("version.glb", changed(bytes, [](json& own, json&) { own["version"] = 0; }), "version");
    expectDamage("newer.glb", changed(bytes, [](json& own, json&) { own["version"] = 9; }), "by a newer version");
    expectDamage("none.glb", changed(bytes, [](json& own, json&) { own["vehicles"] = json::array(); }), "no vehicle");
    expectDamage("node.glb", changed(bytes, [](json& own, json&) { own["elements"][3]["node"] = 99; }),
                 "elements[3].node");
    expectDamage("frames.glb", changed(bytes, [](json& own, json&) { own.erase("frames"); }), "damaged take");
    expectDamage("cut.glb",
                 changed(bytes,
                         [](json& own, json& document) {
                             const auto block = own["vehicles"][0]["block"].get<std::size_t>();
                             document["bufferViews"][block]["byteLength"] = 30000;
                         }),
                 "damaged saved state");
    EXPECT_EQ(json::parse(done({"info", "--json", take}).out).at("damaged"), false);
    EXPECT_THAT(done({"info", take}).out, HasSubstr(" 91 keys, 59 histories with "));
}

TEST_F(Exports, TraceComparesWhatBothHave) {
    const std::string lines = done({"trace", take}).out;
    std::string other;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
        auto frame = nlohmann::ordered_json::parse(line);
        frame["elements"]["hills"] = frame["elements"]["wavy"];
        frame["elements"].erase("wavy");
        other += frame.dump() + "\n";
    }
    const std::string told =
        "frame 0: only the first has the element 'wavy'\n"
        "frame 0: only the second has the element 'hills'\n";
    const Answer named = run({"trace", "--compare", take, put("named.jsonl", other)});
    EXPECT_EQ(named.code, 1);
    EXPECT_EQ(named.out, told + "all else is equal: 26 frames\n");

    // From the end of the eleventh line back.
    std::size_t end = 0;
    for (int line = 0; line <= 10; ++line) end = other.find('\n', end) + 1;
    other.insert(other.rfind("\"Velocity\":", end) + 11, "1");
    const Answer differing = run({"trace", "--compare", take, put("differing.jsonl", other)});
    EXPECT_EQ(differing.code, 1);
    EXPECT_THAT(differing.out, ::testing::StartsWith(told + "frame 10: channels: car: Velocity: "));
    const json object = json::parse(run({"trace", "--compare", "--json", take, path("differing.jsonl")}).out);
    EXPECT_EQ(object.at("equal"), false);
    EXPECT_EQ(object.at("onlyFirst").at(0).at("what"), "the element 'wavy'");
    EXPECT_EQ(object.at("onlySecond").at(0).at("what"), "the element 'hills'");
    EXPECT_EQ(object.at("difference").at("frame"), 10);
}

TEST_F(Exports, ReplayPageHoldsTheTake) {
    const std::string page = put("empty.html", "<title>@TITLE@</title><script>@TAKE@</script>");
    done({"replay", take, "--page", page, "--title", "A <b> & \"c\"", "-o", path("take.html")});
    const std::string filled = read(path("take.html"));
    EXPECT_THAT(filled, HasSubstr("<title>A &lt;b&gt; &amp; &quot;c&quot;</title>"));
    // "glTF" and version 2, in base64.
    EXPECT_THAT(filled, HasSubstr("<script>Z2xURgIAAA"));
    EXPECT_EQ(filled.find('@'), std::string::npos);
    EXPECT_EQ(run({"replay", take, "--page", put("none.html", "<p>"), "-o", path("b.html")}).code, 2);
}

}  // namespace
}  // namespace ond::test

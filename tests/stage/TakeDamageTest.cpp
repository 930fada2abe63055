// Takes that are damaged, made up or of another kind: one sentence each, and never more than that.
#include <functional>
#include <nlohmann/json.hpp>

#include "stage/Glb.h"
#include "stage/StageError.h"
#include "stage/TakeTests.h"
#include "util/PinnedRandom.h"

namespace ond::test {

using namespace stage;
using nlohmann::json;

namespace {

constexpr const char* kExtension = "OND_vehicle_take";

class TakeDamage : public ::testing::Test {
  protected:
    /// A take with everything that a take can have: two runs, states in the journal, a deleted element, keys. Most rows
    /// of the dialog are left out, so that it is read quickly.
    static const Bytes& sound() {
        static const Bytes bytes = [] {
            const auto host = carOn(false);
            host->scene.addMesh("ground", flatGround(0.0, 3.0));
            host->scene.remove(host->scene.addMesh("gone", flatGround(0.0, 2.0)));
            host->messages = {{1, 0, "Warning", "text", 2}};
            host->run(0, 6);
            host->scene.find("ground")->shown = false;
            host->run(3, 8);
            TakeContents contents = contentsOf(*host);
            for (VehicleState& vehicle : contents.vehicles) keepFew(vehicle);
            for (RunRecord& run : contents.journal) {
                Snapshot few = *run.before;
                for (VehicleState& vehicle : few.vehicles) keepFew(vehicle);
                run.before = std::make_shared<const Snapshot>(few);
            }
            return takeBytes(contents);
        }();
        return bytes;
    }

    static void keepFew(VehicleState& vehicle) {
        vehicle.rows = {{"Gravity", vehicle.rows.at("Gravity")}, {"Mass", 1.0}};
        vehicle.channels.resize(2);
    }

    /// The same with three elements that hang nowhere, one of them deleted, and one run: for what is tried very often.
    static const Bytes& small() {
        static const Bytes bytes = [] {
            TakeContents contents = readTake(sound(), "t.glb");
            contents.journal.resize(1);
            Snapshot before = *contents.journal[0].before;
            contents.elements.erase(contents.elements.begin() + 3, contents.elements.end());
            before.elements.resize(3);
            for (std::size_t i = 0; i < 3; ++i)
                for (ElementState* state : {&contents.elements[i].state, &before.elements[i]}) {
                    state->parent = -1;
                    state->children.clear();
                    state->deleted = i == 1;
                }
            contents.journal[0].before = std::make_shared<const Snapshot>(before);
            return takeBytes(contents);
        }();
        return bytes;
    }

    static json description() { return json::parse(splitGlb(sound()).json); }

    static Bytes with(const json& document) {
        const GlbChunks chunks = splitGlb(sound());
        return joinGlb(document.dump(), Bytes(chunks.binary, chunks.binary + chunks.binarySize));
    }

    static std::string error(const Bytes& bytes) {
        return errorOf([&] { (void)readTake(bytes, "t.glb"); });
    }

    /// What reading says when the description was changed.
    static std::string errorWhen(const std::function<void(json& document, json& take)>& change) {
        json document = description();
        change(document, document["extensions"][kExtension]);
        return error(with(document));
    }
};

TEST_F(TakeDamage, SoundTakeHasNone) {
    EXPECT_EQ(error(sound()), "no error");
    EXPECT_EQ(error(with(description())), "no error");
    EXPECT_EQ(takeBytes(readTake(sound(), "t.glb")), sound());
    EXPECT_EQ(error(small()), "no error");
}

TEST_F(TakeDamage, OtherKindsOfFilesAreNamed) {
    EXPECT_EQ(error({}), "'t.glb' is not a take: it is no binary glTF file");
    EXPECT_EQ(error({'h', 'e', 'l', 'l', 'o'}), "'t.glb' is not a take: it is no binary glTF file");
    EXPECT_EQ(error({'g', 'l', 'T', 'F'}), "'t.glb' is not a take: its end is missing");
    EXPECT_EQ(error(joinGlb("{\"asset\":{\"version\":\"2.0\"}}", {})),
              "'t.glb' is plain glTF without a recording: use it as ground instead");
    EXPECT_EQ(error(joinGlb("{\"asset\":", {})), "'t.glb' is not a take: its description is no JSON");
    EXPECT_EQ(error(joinGlb("[1,2]", {})), "'t.glb' is plain glTF without a recording: use it as ground instead");
    EXPECT_EQ(errorWhen([](json&, json& take) { take["version"] = 2; }),
              "'t.glb' was written by a newer version (version 2; this program reads 1)");
    EXPECT_EQ(errorWhen([](json&, json& take) { take["vehicles"] = json::array(); }), "'t.glb' has no vehicle");
    Bytes old = sound();
    old[4] = 1;
    EXPECT_EQ(error(old), "'t.glb' is not a take: it is glTF of version 1");
}

TEST_F(TakeDamage, CutOffAnywhereIsRefused) {
    const std::size_t size = sound().size();
    for (std::size_t keep = 0; keep < size; keep += keep < 200 ? 1 : size / 150) {
        const Bytes cut(sound().begin(), sound().begin() + static_cast<std::ptrdiff_t>(keep));
        EXPECT_NE(error(cut).find("'t.glb' is not a take: "), std::string::npos) << keep;
    }
}

TEST_F(TakeDamage, EveryWrongFieldIsRefused) {
    using Change = std::function<void(json & document, json & take)>;
    const std::vector<std::pair<const char*, Change>> changes = {
        {"version", [](json&, json& t) { t["version"] = "1"; }},
        {"version", [](json&, json& t) { t.erase("version"); }},
        {"frameRate", [](json&, json& t) { t["frameRate"] = {25}; }},
        {"frameRate",
         [](json&, json& t) {
             t["frameRate"] = {0, 1};
         }},
        {"frameRate",
         [](json&, json& t) {
             t["frameRate"] = {25.5, 1};
         }},
        {"frameRate",
         [](json&, json& t) {
             t["frameRate"] = {1, 2};
         }},
        {"now", [](json&, json& t) { t["now"] = 99999999999; }},
        {"now", [](json&, json& t) { t["now"] = 18446744073709551615ULL; }},
        {"plugin", [](json&, json& t) { t["plugin"]["type"] = 3; }},
        {"plugin", [](json&, json& t) { t["plugin"]["version"] = -1; }},
        {"name", [](json&, json& t) { t["vehicles"][0].erase("name"); }},
        {"armed", [](json&, json& t) { t["vehicles"][0]["armed"] = 1; }},
        {"block", [](json&, json& t) { t["vehicles"][0]["block"] = 999999; }},
        {"block", [](json&, json& t) { t["vehicles"][0]["block"] = -1; }},
        {"block", [](json&, json& t) { t["vehicles"][0]["block"] = t["elements"][0]["pose"]; }},
        {"rows", [](json&, json& t) { t["vehicles"][0]["rows"] = json::array(); }},
        {"rows.Gravity", [](json&, json& t) { t["vehicles"][0]["rows"]["Gravity"] = nullptr; }},
        {"channels", [](json&, json& t) { t["vehicles"][0]["channels"][0].erase("offset"); }},
        {"source", [](json&, json& t) { t["vehicles"][0]["channels"][0]["source"] = 7; }},
        {"source",
         [](json&, json& t) {
             t["vehicles"][0]["channels"][0]["source"] = {{"vehicle", "car"}};
         }},
        {"channel",
         [](json&, json& t) {
             t["vehicles"][0]["channels"][0]["source"] = {{"channel", ""}};
         }},
        {"source",
         [](json&, json& t) {
             t["vehicles"][0]["channels"][0]["source"] = {{"channel", "Horn"}};
         }},
        {"source",
         [](json&, json& t) {
             json& channel = t["vehicles"][0]["channels"][0];
             channel["source"] = {{"vehicle", "nobody"}, {"channel", channel["name"]}};
         }},
        {"states[0].vehicles",
         [](json&, json& t) {
             t["journal"]["states"][0]["vehicles"][0]["channels"][0]["source"] = {{"channel", "Horn"}};
         }},
        {"curves.count", [](json&, json& t) { t["vehicles"][0]["curves"]["count"] = -1; }},
        {"curves.values", [](json&, json& t) { t["vehicles"][0]["curves"]["count"] = 5; }},
        {"kind", [](json&, json& t) { t["vehicles"][0]["curves"]["columns"][0]["kind"] = "temperature"; }},
        {"kind", [](json&, json& t) { t["vehicles"][0]["curves"]["columns"][0]["kind"] = "gauge"; }},
        {"gauges.names", [](json&, json& t) { t["vehicles"][0]["curves"]["gauges"]["names"] = json::array(); }},
        {"gauges.names", [](json&, json& t) { t["vehicles"][0]["curves"]["gauges"]["names"][1] = 4; }},
        {"gauges.values", [](json&, json& t) { t["vehicles"][0]["curves"]["gauges"]["names"].push_back("x"); }},
        {"gauges.values", [](json&, json& t) { t["vehicles"][0]["curves"]["gauges"]["values"] = nullptr; }},
        {"gauges.values",
         [](json&, json& t) {
             // Many rows without a column would cost the file nothing.
             json& curves = t["vehicles"][0]["curves"];
             curves["columns"] = json::array();
             curves["values"] = nullptr;
             curves["count"] = 1000000000;
         }},
        {"node", [](json&, json& t) { t["elements"][1]["node"] = 4711; }},
        {"node", [](json&, json& t) { t["elements"][1]["node"] = t["elements"][0]["node"]; }},
        {"nodes",
         [](json&, json& t) {
             t["elements"].erase(1);
             t.erase("deleted");
         }},
        {"nodes",
         [](json& d, json&) {
             d["nodes"].push_back({{"name", "more"}});
         }},
        {"vehicle", [](json&, json& t) { t["elements"][1]["vehicle"] = 1; }},
        {"pose", [](json&, json& t) { t["elements"][1]["pose"] = nullptr; }},
        {"pose", [](json&, json& t) { t["elements"][1]["pose"] = t["vehicles"][0]["curves"]["values"]; }},
        {"colour",
         [](json&, json& t) {
             t["elements"][1]["colour"] = {0, 0};
         }},
        {"colour",
         [](json&, json& t) {
             t["elements"][1]["colour"] = {0, 0, 1e300};
         }},
        {"surface", [](json&, json& t) { t["elements"][1]["surface"] = "air"; }},
        {"shown", [](json&, json& t) { t["elements"][1]["shown"] = "yes"; }},
        {"faces", [](json&, json& t) { t["elements"][1].erase("faces"); }},
        {"vertices", [](json&, json& t) { t["elements"][1]["vertices"] = t["elements"][1]["pose"]; }},
        {"place", [](json&, json& t) { t["deleted"][0]["place"] = 1000; }},
        {"place",
         [](json&, json& t) {
             t["deleted"].push_back(t["deleted"][0]);
             t["deleted"][0]["place"] = 0;
             t["deleted"][1]["place"] = 0;
         }},
        {"frame", [](json&, json& t) { t["messages"][0]["frame"] = 0.5; }},
        {"vehicle", [](json&, json& t) { t["messages"][0]["vehicle"] = 3; }},
        {"runs", [](json&, json& t) { t["journal"].erase("runs"); }},
        {"before", [](json&, json& t) { t["journal"]["runs"][0]["before"] = 77; }},
        {"what it started from", [](json&, json& t) { t["journal"]["runs"][0].erase("before"); }},
        {"to", [](json&, json& t) { t["journal"]["runs"][0]["to"] = -1; }},
        {"left", [](json&, json& t) { t["journal"]["runs"][0]["left"] = "xyz"; }},
        {"axes", [](json&, json& t) { t["journal"]["runs"][0]["inputs"][0]["channels"] = 8; }},
        {"axes", [](json&, json& t) { t["journal"]["runs"][0]["to"] = 7; }},
        {"poses", [](json&, json& t) { t["journal"]["states"][0]["elements"].erase(0); }},
        {"elements", [](json&, json& t) { t["journal"]["states"][0]["elements"][0]["parent"] = 5; }},
        {"parent", [](json&, json& t) { t["journal"]["states"][0]["elements"][0]["parent"] = 5000; }},
        {"no tree", [](json& d, json&) { d["nodes"][0]["children"] = {0}; }},
        {"child", [](json& d, json&) { d["nodes"][0]["children"] = {9999}; }},
        {"buffer", [](json& d, json&) { d["buffers"][0]["uri"] = "file.bin"; }},
        {"byteLength", [](json& d, json&) { d["buffers"][0]["byteLength"] = 1 << 30; }},
        {"byteLength", [](json& d, json&) { d["bufferViews"][3]["byteLength"] = 1 << 30; }},
        {"byteOffset", [](json& d, json&) { d["bufferViews"][3]["byteOffset"] = -8; }},
        {"byteOffset", [](json& d, json&) { d["bufferViews"][3]["byteOffset"] = 1 << 30; }},
        {"buffer", [](json& d, json&) { d["bufferViews"][3]["buffer"] = 1; }},
    };
    for (std::size_t i = 0; i < changes.size(); ++i) {
        const std::string text = errorWhen(changes[i].second);
        EXPECT_EQ(text.find("'t.glb' is not a take: "), 0u)
            << "change " << i << " of " << changes[i].first << ": " << text;
        EXPECT_NE(text.find(changes[i].first), std::string::npos) << "change " << i << ": " << text;
    }
}

TEST_F(TakeDamage, EveryFieldThatIsMissingOrOfAnotherTypeIsBorne) {
    // Walks all members of the extension and breaks them one at a time.
    std::vector<json::json_pointer> places;
    const std::function<void(const json&, const json::json_pointer&)> walk = [&](const json& value,
                                                                                 const json::json_pointer& at) {
        if (value.is_object())
            for (const auto& [key, member] : value.items()) {
                places.push_back(at / key);
                walk(member, at / key);
            }
        if (value.is_array())
            for (std::size_t i = 0; i < std::min<std::size_t>(value.size(), 3); ++i) walk(value[i], at / i);
    };
    const GlbChunks chunks = splitGlb(small());
    const Bytes binary(chunks.binary, chunks.binary + chunks.binarySize);
    const json whole = json::parse(chunks.json);
    walk(whole["extensions"], json::json_pointer("/extensions"));
    ASSERT_GT(places.size(), 80u);
    const std::vector<json> others = {nullptr, -7, 1e300, "text", json::array(), json::object()};
    for (std::size_t n = 0; n < 3 * places.size(); ++n) {
        const std::size_t i = n / 3;
        json document = whole;
        document[places[i]] = others[n % others.size()];
        const std::string text = error(joinGlb(document.dump(), binary));
        EXPECT_TRUE(text == "no error" || text.find("'t.glb' ") == 0) << places[i].to_string() << ": " << text;
    }
}

TEST_F(TakeDamage, RowThatNoFieldCanHoldIsKeptWithinItsRange) {
    const auto host = carOn(false);
    for (const auto& [told, held] : {std::pair{1e300, 100.0}, {-1e300, 1.0}, {2147483648.0, 100.0}, {50.0, 50.0}}) {
        TakeContents contents = contentsOf(*host);
        contents.vehicles.at(0).rows.at("Ray Multiplier") = told;
        const auto opened = stageOf(readTake(takeBytes(contents), "t.glb"), takeModule());
        EXPECT_EQ(opened->vehicles.at(0)->value("Ray Multiplier"), held) << told;
    }
}

TEST_F(TakeDamage, CyclesAndDeepNestingAreRefused) {
    EXPECT_NE(errorWhen([](json& d, json& t) {
                  const std::size_t last = d["nodes"].size();
                  d["nodes"].push_back({{"name", "a"}, {"children", {last + 1}}});
                  d["nodes"].push_back({{"name", "b"}, {"children", {last}}});
                  for (std::size_t i = 0; i < 2; ++i) {
                      json element = t["elements"].back();
                      element["node"] = last + i;
                      t["elements"].push_back(element);
                  }
              }).find("is no tree"),
              std::string::npos);
    const auto chain = [](int length) {
        return errorWhen([length](json& d, json& t) {
            // The poses share one blob, which is more than the file has; so the tail of the chain has none of its own.
            for (int i = 0; i < length; ++i) {
                const std::size_t node = d["nodes"].size();
                d["nodes"].push_back({{"name", "link"}});
                if (i > 0) d["nodes"][node - 1]["children"] = {node};
                json element{{"node", node}, {"pose", t["elements"][0]["pose"]}};
                t["elements"].push_back(element);
            }
        });
    };
    EXPECT_EQ(chain(100), "no error");
    EXPECT_NE(chain(1500).find("is no tree"), std::string::npos) << chain(1500);
}

TEST_F(TakeDamage, SharedBlobsCannotGrowWithoutEnd) {
    const std::string text = errorWhen([](json&, json& t) {
        const json state = t["journal"]["states"][0];
        for (int i = 0; i < 100; ++i) t["journal"]["states"].push_back(state);
    });
    EXPECT_NE(text.find("more often than any take does"), std::string::npos) << text;
}

TEST_F(TakeDamage, NumbersThatAreNotFiniteAreRefused) {
    const json whole = description();
    const json& take = whole["extensions"][kExtension];
    for (const json& view :
         {take["elements"][2]["pose"], take["vehicles"][0]["curves"]["values"],
          take["vehicles"][0]["curves"]["gauges"]["values"], take["journal"]["runs"][0]["inputs"][0]["axes"]}) {
        Bytes bytes = sound();
        const GlbChunks chunks = splitGlb(bytes);
        const std::size_t at = static_cast<std::size_t>(chunks.binary - bytes.data()) +
                               whole["bufferViews"][view.get<std::size_t>()]["byteOffset"].get<std::size_t>();
        bytes[at + 6] = 0xF0;
        bytes[at + 7] = 0x7F;
        EXPECT_NE(error(bytes).find("not finite"), std::string::npos);
    }
}

TEST_F(TakeDamage, RandomFlipsAreBorne) {
    PinnedRandom random(2024);
    int refused = 0;
    for (int round = 0; round < 1000; ++round) {
        Bytes bytes = small();
        // Half of the flips go into the description, where they can do more.
        const std::size_t range = round % 2 == 0 ? 20 + splitGlb(bytes).json.size() : bytes.size();
        for (int flip = 0; flip < 1 + round % 4; ++flip) {
            const auto at = static_cast<std::size_t>(random.in(0.0, static_cast<double>(range)));
            bytes[std::min(at, range - 1)] ^= static_cast<unsigned char>(1U << (round % 8U));
        }
        const std::string text = error(bytes);
        EXPECT_TRUE(text == "no error" || text.find("'t.glb' ") == 0) << text;
        refused += text == "no error" ? 0 : 1;
    }
    EXPECT_GT(refused, 300);
    EXPECT_LT(refused, 1000);
}

TEST_F(TakeDamage, FlipsThatStillReadOpenOrSayWhy) {
    OwnFolder folder;
    PinnedRandom random(7);
    for (int round = 0; round < 40; ++round) {
        Bytes bytes = sound();
        const GlbChunks chunks = splitGlb(bytes);
        const auto first = static_cast<double>(chunks.binary - bytes.data());
        for (int flip = 0; flip < 3; ++flip)
            bytes[static_cast<std::size_t>(random.in(first, static_cast<double>(bytes.size() - 1)))] ^= 0x11;
        writeWhole(folder.file("t.glb"), bytes);
        try {
            const auto opened = openTake(folder.file("t.glb"), takeModule());
            opened->show(2);
        } catch (const StageError& said) {
            EXPECT_EQ(std::string(said.what()).find("'" + folder.file("t.glb") + "' "), 0u) << said.what();
        }
    }
}

TEST_F(TakeDamage, VehicleThatDoesNotLoadIsNamed) {
    OwnFolder folder;
    const auto opening = [&](const std::function<void(json & document, json & take)>& change) {
        json document = description();
        change(document, document["extensions"][kExtension]);
        writeWhole(folder.file("t.glb"), with(document));
        return errorOf([&] { (void)openTake(folder.file("t.glb"), takeModule()); });
    };
    const std::string start = "'" + folder.file("t.glb") + "' cannot be opened: ";
    EXPECT_EQ(opening([](json&, json& t) { t["vehicles"][0].erase("block"); }),
              start + "it has no saved state of the vehicle 'car'");
    EXPECT_EQ(opening([](json&, json& t) { t["plugin"]["type"] = "boat"; }),
              start + "its vehicles are of the type 'boat', the module makes 'quadrigcar'");
    EXPECT_EQ(opening([](json&, json& t) {
                  for (json& element : t["elements"])
                      if (element.value("identifier", "") == "CarBodyMesh") element["identifier"] = "Else";
              }),
              start + "the vehicle 'car' does not accept its saved state");
    EXPECT_EQ(opening([](json&, json&) {}), "no error");
}

TEST_F(TakeDamage, MissingFileIsNamed) {
    EXPECT_EQ(errorOf([] { (void)openTake("/nowhere/t.glb", takeModule()); }),
              "'/nowhere/t.glb' cannot be read: there is no such file");
}

}  // namespace
}  // namespace ond::test

// Where the histories of a loaded vehicle lie in memory, and that it can go on recording there.
#include "state/LoadedHistories.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "ond/util/ArrayRegion.h"
#include "state/BlockEditor.h"
#include "state/VehicleFields.h"

namespace {

using namespace ond;
using namespace ond::test;
using namespace ond::ovs::addon;

/// That many keys in every history, and no two alike.
void record(Car& car, std::size_t count) {
    double time = 0.0;
    forEachHistory(*car, [&](const std::string&, auto& variable) {
        variable.keys.resize(count);
        for (auto& key : variable.keys) key.time = time += 0.04;
    });
}

Bytes savedWith(std::size_t count) {
    Car car;
    record(car, count);
    car->saveState();
    return car.host.block;
}

/// Where an array of keys begins, and what it takes of a region.
struct Place {
    std::uintptr_t begin;
    std::size_t room;
};

std::vector<Place> placesOf(Car& car) {
    std::vector<Place> places;
    forEachHistory(*car, [&](const std::string&, auto& variable) {
        const std::size_t bytes = variable.keys.capacity() * sizeof(variable.keys.front());
        places.push_back({reinterpret_cast<std::uintptr_t>(variable.keys.data()), util::ArrayRegion::roomOf(bytes)});
    });
    std::sort(places.begin(), places.end(), [](const Place& a, const Place& b) { return a.begin < b.begin; });
    return places;
}

// Thirty thousand keys: 34 MB and more.
constexpr std::size_t kMany = 30000;

TEST(LoadedHistories, OfALongRecordingFillOneRegionWithoutGaps) {
    Car car;
    putRig(car.host);
    ASSERT_EQ(load(car, savedWith(kMany)), 0u);
    const std::vector<Place> places = placesOf(car);
    ASSERT_EQ(places.size(), 59u);
    for (std::size_t i = 1; i < places.size(); ++i)
        EXPECT_EQ(places[i].begin, places[i - 1].begin + places[i - 1].room) << i;
}

TEST(LoadedHistories, NeedTheRoomThatTheyAreSaidToNeed) {
    const Bytes block = savedWith(kMany);
    const SavedTree tree(block.data(), block.size());
    Car car;
    putRig(car.host);
    const std::size_t room = roomForHistories(*car, tree);
    ASSERT_EQ(load(car, block), 0u);
    std::size_t taken = 0;
    for (const Place& place : placesOf(car)) taken += place.room;
    EXPECT_EQ(taken, room);
    EXPECT_GT(room, util::ArrayRegion::kSmallestRegion);
}

TEST(LoadedHistories, ShortOnesGetNoRoomButTheirEighth) {
    for (const std::size_t count : {0, 1, 7, 63}) {
        Car car;
        putRig(car.host);
        ASSERT_EQ(load(car, savedWith(count)), 0u);
        forEachHistory(*car, [&](const std::string& name, auto& variable) {
            EXPECT_EQ(variable.keys.capacity(), count + count / 8) << name;
        });
    }
}

TEST(LoadedHistories, OfABlockWithoutAnyNeedNoRoom) {
    const Bytes block = savedWith(0);
    Car car;
    EXPECT_EQ(roomForHistories(*car, SavedTree(block.data(), block.size())), 0u);
    EXPECT_EQ(roomForHistories(*car, SavedTree(nullptr, 0)), 0u);
}

TEST(LoadedHistories, SaveAgainToTheSameBytes) {
    const Bytes block = savedWith(kMany);
    Car car;
    putRig(car.host);
    ASSERT_EQ(load(car, block), 0u);
    car->saveState();
    ASSERT_EQ(car.host.block.size(), block.size());
    const SavedTree before(block.data(), block.size());
    const SavedTree after(car.host.block.data(), block.size());
    const auto expectSame = [](const SavedChunk& a, const SavedChunk& b) {
        EXPECT_TRUE(std::equal(a.data, a.data + a.size, b.data, b.data + b.size)) << a.name;
    };
    for (const SavedRow& row : kSavedRows) {
        const SavedChunk* const chunk = before.find(row.key);
        if (std::holds_alternative<HistoryLeaf>(row.binding)) expectSame(*chunk, *after.find(row.key));
        if (!std::holds_alternative<WheelStoreLeaf>(row.binding)) continue;
        ASSERT_EQ(chunk->children.size(), 24u);
        for (std::size_t child = 0; child < 24; ++child)
            expectSame(chunk->children[child], after.find(row.key)->children.at(child));
    }
}

/// Sets a key in each history, frame by frame, and counts those that move.
class Recorder {
  public:
    explicit Recorder(Car& car) : m_car(car) { static_cast<void>(moves()); }

    /// How many moved in a frame more.
    std::size_t frame() {
        m_time += 0.04;
        forEachHistory(*m_car,
                       [this](const std::string&, auto& variable) { variable.setKey(m_time, variable.fallback); });
        return moves();
    }
    [[nodiscard]] std::size_t moved() const { return m_moved.size(); }

  private:
    std::size_t moves() {
        std::size_t count = 0;
        forEachHistory(*m_car, [&](const std::string& name, auto& variable) {
            const void*& place = m_places[name];
            if (std::exchange(place, variable.keys.data()) == variable.keys.data()) return;
            ++count;
            if (m_time > kStart) m_moved.insert(name);
        });
        return count;
    }

    static constexpr double kStart = 1e9;
    Car& m_car;
    double m_time = kStart;
    std::map<std::string, const void*> m_places;
    std::set<std::string> m_moved;
};

TEST(LoadedHistories, HaveRoomForAnEighthMoreAndThenMoveOneByOne) {
    for (const std::size_t count : {std::size_t{64}, std::size_t{215}, std::size_t{500}, std::size_t{1031}, kMany})
        for (const bool oneMore : {false, true}) {
            // As histories that get their first key ahead of the others have it.
            Car saved;
            record(saved, count);
            bool isOdd = false;
            forEachHistory(*saved, [&](const std::string&, auto& variable) {
                isOdd = !isOdd;
                if (oneMore && isOdd) variable.setKey(1e8, variable.fallback);
            });
            saved->saveState();
            Car car;
            putRig(car.host);
            ASSERT_EQ(load(car, saved.host.block), 0u);
            Recorder recorder(car);
            for (std::size_t frame = 1; frame <= count / 8; ++frame) ASSERT_EQ(recorder.frame(), 0u) << frame;
            // The first of few move a second time while the last move for the first.
            const std::size_t most = count < 128 ? 2 : 1;
            for (std::size_t frame = 1; frame <= 250; ++frame)
                ASSERT_LE(recorder.frame(), most) << frame << " of " << count;
            EXPECT_EQ(recorder.moved(), 59u) << count;
        }
}

TEST(LoadedHistories, MayGoInAnyOrderAfterTheVehicleTheyCameFrom) {
    AVar_Linear<double> kept;
    const Bytes block = savedWith(kMany);
    {
        Car car;
        putRig(car.host);
        ASSERT_EQ(load(car, block), 0u);
        kept.swap(car->ancCarCamcCarBodyfRelXAng);
    }
    ASSERT_EQ(kept.getNumKeys(), static_cast<int>(kMany));
    double time = kept.keys.front().time;
    for (const auto& key : kept.keys) {
        ASSERT_EQ(key.time, time);
        time += 0.04;
    }
}

}  // namespace

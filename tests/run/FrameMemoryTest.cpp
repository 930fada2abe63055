// Which vehicle's frame is expected behind which, what is asked for of its memory, and that none of that shows in what
// vehicles do.
#include "run/FrameMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/mman.h>
#include <unistd.h>
#define HAS_MAPPINGS
#endif

#include "CCarCamObject.h"
#include "golden/GoldenHost.h"
#include "ground/GroundMeshes.h"
#include "state/AnimatedState.h"
#include "util/PinnedRandom.h"

namespace ond::ovs::addon {
namespace {

using test::PinnedRandom;

constexpr std::size_t kLine = 64;
constexpr std::size_t kHugeIndex = std::numeric_limits<std::size_t>::max();

/// Memory that is listed; nobody reads or writes it.
alignas(kLine) unsigned char g_listed[1 << 20];

struct Key {
    double time;
    double value;
};
alignas(kLine) Key g_keys[FrameMemory::kKeys + 2][4];

/// A frame that asks for everything, as a vehicle's does.
bool drive(FrameMemory& memory, int turns = 5) {
    const bool answer = memory.beginFrame();
    for (int i = 0; i < turns; ++i) memory.fetchAhead();
    memory.fetchRest();
    return answer;
}

/// A vehicle's memory with something listed, on the heap, so that a checker of memory knows its bounds.
std::unique_ptr<FrameMemory> listed(std::size_t bytes = 1000) {
    auto memory = std::make_unique<FrameMemory>();
    memory->add(g_listed, bytes);
    return memory;
}

// --- The order of vehicles -----------------------------------------------------------------------------------------

TEST(FrameMemory, VehiclesAreExpectedInTheOrderInWhichTheyDrove) {
    FrameMemory a;
    FrameMemory b;
    FrameMemory c;
    for (FrameMemory* each : {&a, &b, &c}) EXPECT_EQ(each->next(), nullptr);
    drive(a);
    EXPECT_EQ(a.next(), nullptr);
    drive(b);
    EXPECT_EQ(a.next(), &b);
    drive(c);
    EXPECT_EQ(b.next(), &c);
    EXPECT_EQ(c.next(), nullptr) << "the first round is not over";
    for (int round = 0; round < 3; ++round)
        for (FrameMemory* each : {&a, &b, &c}) {
            drive(*each);
            EXPECT_EQ(a.next(), &b);
            EXPECT_EQ(b.next(), &c);
            EXPECT_EQ(c.next(), &a);
        }
}

TEST(FrameMemory, AVehicleThatDrivesTwiceInARowExpectsNobody) {
    FrameMemory a;
    FrameMemory b;
    drive(a);
    drive(a);
    EXPECT_EQ(a.next(), nullptr);
    drive(b);
    drive(a);
    EXPECT_EQ(a.next(), &b);
    EXPECT_EQ(b.next(), &a);
    drive(a);
    EXPECT_EQ(a.next(), nullptr) << "behind a frame of it came one of its own";
    EXPECT_EQ(b.next(), &a);
    drive(b);
    EXPECT_EQ(a.next(), &b);
}

TEST(FrameMemory, AnotherOrderIsExpectedFromTheNextRoundOn) {
    FrameMemory a;
    FrameMemory b;
    FrameMemory c;
    for (FrameMemory* each : {&a, &b, &c, &a, &b, &c}) drive(*each);
    for (FrameMemory* each : {&a, &c, &b, &a}) drive(*each);
    EXPECT_EQ(a.next(), &c);
    EXPECT_EQ(c.next(), &b);
    EXPECT_EQ(b.next(), &a);
}

TEST(FrameMemory, OneThatDroveBehindAnotherIsNoLongerExpectedBehindTheFormer) {
    FrameMemory a;
    FrameMemory b;
    FrameMemory c;
    drive(a);
    drive(b);
    drive(c);
    drive(b);
    EXPECT_EQ(c.next(), &b);
    EXPECT_EQ(a.next(), nullptr) << "nobody is expected behind two";
    EXPECT_EQ(b.next(), &c);
}

TEST(FrameMemory, OfTwoBehindTheSameTheLaterIsExpected) {
    auto a = listed();
    auto b = listed();
    auto c = listed();
    for (FrameMemory* each : {a.get(), b.get(), a.get(), c.get()}) drive(*each);
    EXPECT_EQ(a->next(), c.get());
    EXPECT_EQ(b->next(), a.get());
    b.reset();
    EXPECT_EQ(a->next(), c.get()) << "the one that went was not expected by it any more";
}

TEST(FrameMemory, OneThatGoesIsExpectedByNobody) {
    for (std::size_t goes = 0; goes < 3; ++goes) {
        SCOPED_TRACE(goes);
        std::array<std::unique_ptr<FrameMemory>, 3> all{listed(), listed(), listed()};
        for (int round = 0; round < 2; ++round)
            for (const auto& each : all) drive(*each);
        drive(*all[0]);
        all[goes].reset();
        for (std::size_t i = 0; i < 3; ++i) {
            if (i == goes) continue;
            EXPECT_EQ(all[i]->next(), (i + 1) % 3 == goes ? nullptr : all[(i + 1) % 3].get());
        }
        for (int round = 0; round < 2; ++round)
            for (const auto& each : all)
                if (each != nullptr) drive(*each);
        const std::size_t one = goes == 0 ? 1 : 0;
        const std::size_t other = goes == 2 ? 1 : 2;
        EXPECT_EQ(all[one]->next(), all[other].get());
        EXPECT_EQ(all[other]->next(), all[one].get());
    }
}

TEST(FrameMemory, OneThatGoesRightBehindItsFrameLeavesNoTrace) {
    auto a = listed();
    auto b = listed();
    auto c = listed();
    drive(*a);
    drive(*b);
    b.reset();
    EXPECT_EQ(a->next(), nullptr);
    EXPECT_FALSE(drive(*c));
    EXPECT_EQ(a->next(), nullptr) << "another frame came in between";
    EXPECT_EQ(c->next(), nullptr);
}

TEST(FrameMemory, TheOnlyOneCanGo) {
    auto a = listed();
    drive(*a);
    a.reset();
    auto b = listed();
    EXPECT_FALSE(drive(*b));
    EXPECT_FALSE(drive(*b));
    b.reset();
    FrameMemory neverDrove;
}

// The memory of the one that went may be given to the next one.
TEST(FrameMemory, ANewOneInTheSamePlaceIsAnotherVehicle) {
    auto a = listed();
    std::optional<FrameMemory> b(std::in_place);
    b->add(g_listed, 1000);
    for (int round = 0; round < 2; ++round) {
        drive(*a);
        drive(*b);
    }
    drive(*a);
    b.emplace();
    b->add(g_listed, 1000);
    EXPECT_EQ(a->next(), nullptr);
    EXPECT_EQ(b->next(), nullptr);
    EXPECT_FALSE(drive(*b)) << "what was asked for was another's";
    EXPECT_EQ(a->next(), &*b);
}

// --- What a frame is told ------------------------------------------------------------------------------------------

TEST(FrameMemory, NothingIsForeseenBeforeAnythingWasListed) {
    FrameMemory a;
    FrameMemory b;
    for (int round = 0; round < 4; ++round) {
        EXPECT_FALSE(drive(a)) << round;
        EXPECT_FALSE(drive(b)) << round;
    }
    EXPECT_FALSE(a.isListed());
    a.add(g_listed, 1);
    EXPECT_TRUE(a.isListed());
    drive(a);
    EXPECT_FALSE(drive(b)) << "it has still nothing listed";
    EXPECT_TRUE(drive(a));
}

TEST(FrameMemory, KeysAndGroundAloneAreNoList) {
    FrameMemory a;
    a.setLastKey(0, g_keys[0]);
    a.setGround(0, 0, g_listed, 100);
    EXPECT_FALSE(a.isListed());
}

TEST(FrameMemory, AFrameIsForeseenOnceTheOneBeforeHasAskedForEverything) {
    auto a = listed();
    auto b = listed(5000);
    auto c = listed(30000);
    EXPECT_FALSE(drive(*a));
    EXPECT_FALSE(drive(*b));
    EXPECT_FALSE(drive(*c));
    EXPECT_FALSE(drive(*a)) << "nobody knew who would follow the last";
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(drive(*b));
        EXPECT_TRUE(drive(*c));
        EXPECT_TRUE(drive(*a));
    }
}

TEST(FrameMemory, OneAloneIsNotForeseen) {
    auto a = listed();
    for (int frame = 0; frame < 4; ++frame) EXPECT_FALSE(drive(*a)) << frame;
}

TEST(FrameMemory, AFrameThatAsksForNothingForeseesNothing) {
    auto a = listed();
    auto b = listed();
    for (int round = 0; round < 3; ++round) {
        drive(*a);
        drive(*b);
    }
    a->beginFrame();
    EXPECT_FALSE(drive(*b)) << "what was asked for in the frame before that does not count";
    EXPECT_TRUE(drive(*a));
    EXPECT_TRUE(drive(*b));
}

TEST(FrameMemory, WhatIsListedBehindTheAskingIsNotForeseen) {
    auto a = listed();
    auto b = listed();
    for (int round = 0; round < 3; ++round) {
        drive(*a);
        drive(*b);
    }
    drive(*a);
    b->add(g_listed + 5000, 1);
    EXPECT_FALSE(drive(*b));
    drive(*a);
    EXPECT_TRUE(drive(*b)) << "by then it belongs to what is asked for";
    drive(*a);
    b->clear();
    EXPECT_FALSE(b->isListed());
    EXPECT_FALSE(drive(*b));
    b->add(g_listed, 2);
    drive(*a);
    EXPECT_TRUE(drive(*b));
}

TEST(FrameMemory, AnotherListOfTheSameLengthWasNotAskedFor) {
    FrameMemory a;
    FrameMemory b;
    b.add(g_listed, 1000);
    for (int round = 0; round < 2; ++round)
        for (FrameMemory* each : {&a, &b}) {
            static_cast<void>(each->beginFrame());
            each->fetchRest();
        }
    static_cast<void>(a.beginFrame());
    a.fetchRest();
    b.clear();
    b.add(g_listed + 32768, 1000);
    EXPECT_FALSE(b.beginFrame());
}

TEST(FrameMemory, AFrameOfAnotherInBetweenIsNotForeseen) {
    auto a = listed();
    auto b = listed();
    auto c = listed();
    for (int round = 0; round < 3; ++round) {
        drive(*a);
        drive(*b);
    }
    EXPECT_TRUE(drive(*a));
    EXPECT_FALSE(drive(*c));
    EXPECT_FALSE(drive(*b)) << "the last one asked for nothing of it";
    EXPECT_TRUE(drive(*a)) << "behind this one it has been all along";
    EXPECT_TRUE(drive(*c)) << "it came there the last time";
}

TEST(FrameMemory, TheSecondFrameInARowIsNotForeseen) {
    auto a = listed();
    auto b = listed();
    for (int round = 0; round < 3; ++round) {
        drive(*a);
        drive(*b);
    }
    EXPECT_TRUE(drive(*a));
    EXPECT_FALSE(drive(*a));
    EXPECT_FALSE(drive(*b)) << "it was not expected behind a frame that expected none";
}

// A frame asks a few times, a part each time, and once more for what is left. One like it needs as many parts.
TEST(FrameMemory, AFrameLikeTheLastAsksForItsPartEachTime) {
    for (const int turns : {1, 2, 7, 30}) {
        SCOPED_TRACE(turns);
        auto a = listed();
        auto b = listed(40000);
        for (int round = 0; round < 3; ++round) {
            drive(*a, turns);
            drive(*b, turns);
        }
        a->beginFrame();
        for (int i = 0; i < turns + 1; ++i) a->fetchAhead();
        EXPECT_TRUE(drive(*b, turns)) << "all parts are all there is";
        drive(*a, turns);
        drive(*b, turns);
        a->beginFrame();
        for (int i = 0; i < (turns + 1) / 2; ++i) a->fetchAhead();
        EXPECT_FALSE(drive(*b, turns)) << "half of the parts are not";
        a->beginFrame();
        a->fetchRest();
        EXPECT_TRUE(drive(*b, turns)) << "what is left is all";
    }
}

TEST(FrameMemory, AskingWithoutAnyoneExpectedIsHarmless) {
    FrameMemory a;
    a.fetchAhead();
    a.fetchRest();
    a.beginFrame();
    for (int i = 0; i < 1000; ++i) a.fetchAhead();
    a.fetchRest();
    EXPECT_EQ(a.next(), nullptr);
}

// Against the plain rule: behind each comes who came behind it last, and each is expected by one at most.
TEST(FrameMemory, InAnyOrderOfComingDrivingAndGoingTheRuleHolds) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        PinnedRandom random(seed);
        struct Modelled {
            std::unique_ptr<FrameMemory> memory;
            int next = -1;
            std::size_t size = 0;   ///< what is listed
            std::size_t asked = 0;  ///< what was listed of the next one when everything of it was asked for
        };
        std::array<Modelled, 6> all;
        int turn = 0;
        int last = -1;
        int foreseen = 0;
        for (int step = 0; step < 3000; ++step) {
            // Mostly in turn.
            turn = static_cast<int>(random.chance(0.8) ? static_cast<unsigned>(turn + 1) % 6 : random.bits() % 6);
            const int i = turn;
            Modelled& v = all[static_cast<std::size_t>(i)];
            if (v.memory == nullptr) {
                if (random.chance(0.5)) v.memory = std::make_unique<FrameMemory>();
                continue;
            }
            if (random.chance(0.03)) {
                v = {};
                for (Modelled& other : all)
                    if (other.next == i) other.next = -1;
                if (last == i) last = -1;
                continue;
            }
            if (random.chance(0.1)) v.memory->add(g_listed + 4096 * ++v.size, 1);
            Modelled* const before = last >= 0 ? &all[static_cast<std::size_t>(last)] : nullptr;
            const bool expected = before != nullptr && v.size > 0 && before->next == i && before->asked == v.size + 1;
            ASSERT_EQ(v.memory->beginFrame(), expected) << "step " << step;
            foreseen += expected ? 1 : 0;
            if (before == &v) {
                v.next = -1;
            } else if (before != nullptr) {
                for (Modelled& other : all)
                    if (other.next == i) other.next = -1;
                before->next = i;
            }
            last = i;
            v.asked = 0;
            for (int part = 0; part < 3; ++part) v.memory->fetchAhead();
            v.memory->fetchRest();
            if (v.next >= 0) v.asked = all[static_cast<std::size_t>(v.next)].size + 1;
            for (const Modelled& each : all)
                if (each.memory != nullptr) {
                    ASSERT_EQ(each.memory->next(),
                              each.next < 0 ? nullptr : all[static_cast<std::size_t>(each.next)].memory.get())
                        << "step " << step;
                }
        }
        EXPECT_GT(foreseen, 100);
    }
}

// --- What is listed ------------------------------------------------------------------------------------------------

// What is asked for cannot be seen, so these look at the object's own words. One that tells of memory is the address of
// a line, and in its lowest bits how many lines follow.
using Words = std::array<std::uintptr_t, sizeof(FrameMemory) / sizeof(std::uintptr_t)>;

Words wordsOf(const FrameMemory& memory) {
    Words words;
    static_assert(sizeof(words) == sizeof(memory));
    std::memcpy(words.data(), &memory, sizeof(memory));
    return words;
}

std::set<std::size_t> changedWords(const Words& before, const Words& after) {
    std::set<std::size_t> changed;
    for (std::size_t i = 0; i < before.size(); ++i)
        if (before[i] != after[i]) changed.insert(i);
    return changed;
}

std::uintptr_t lineOf(const void* memory) { return reinterpret_cast<std::uintptr_t>(memory) / kLine; }

/// The lines that words tell of, as far as they are from `first` to `last`.
std::set<std::uintptr_t> listedLines(const Words& words, std::uintptr_t first, std::uintptr_t last) {
    std::set<std::uintptr_t> lines;
    for (const std::uintptr_t word : words)
        for (std::uintptr_t i = 0; i <= word % kLine; ++i)
            if (word / kLine + i >= first && word / kLine + i <= last) lines.insert(word / kLine + i);
    return lines;
}

/// Lists of `memory` in g_listed and around.
std::set<std::uintptr_t> listedLines(const FrameMemory& memory) {
    return listedLines(wordsOf(memory), lineOf(g_listed) - 1000, lineOf(g_listed + sizeof g_listed) + 1000);
}

std::set<std::uintptr_t> linesOf(const unsigned char* memory, std::size_t bytes) {
    std::set<std::uintptr_t> lines;
    for (std::uintptr_t line = lineOf(memory); line <= lineOf(memory + bytes - 1); ++line) lines.insert(line);
    return lines;
}

TEST(FrameMemoryLists, EachLineOfWhatIsAddedAndNoOther) {
    for (const std::size_t offset : {0, 1, 63, 64, 100})
        for (const std::size_t bytes : {1, 2, 63, 64, 65, 128, 129, 511, 512, 513, 575, 576, 1000, 5000}) {
            FrameMemory memory;
            memory.add(g_listed + 4096 + offset, bytes);
            const std::set<std::uintptr_t> lines = linesOf(g_listed + 4096 + offset, bytes);
            EXPECT_EQ(listedLines(memory), lines) << offset << ", " << bytes;
            std::size_t times = 0;
            for (const std::uintptr_t word : wordsOf(memory))
                if (word / kLine >= lineOf(g_listed)) times += word % kLine + 1;
            EXPECT_EQ(times, lines.size()) << offset << ", " << bytes << ": each of them once";
            EXPECT_TRUE(memory.isListed());
        }
}

TEST(FrameMemoryLists, NothingOfNothing) {
    FrameMemory memory;
    const Words before = wordsOf(memory);
    memory.add(nullptr, 1000);
    memory.add(nullptr, 0);
    memory.add(g_listed, 0);
    EXPECT_FALSE(memory.isListed());
    EXPECT_EQ(wordsOf(memory), before);
}

TEST(FrameMemoryLists, NoMoreThanThereIsRoomFor) {
    auto memory = std::make_unique<FrameMemory>();
    memory->add(g_listed, sizeof g_listed);
    const std::set<std::uintptr_t> lines = listedLines(*memory);
    ASSERT_GT(lines.size(), 500u);
    EXPECT_LT(lines.size(), sizeof g_listed / kLine);
    EXPECT_EQ(lines, linesOf(g_listed, lines.size() * kLine)) << "the beginning of it";
    const Words full = wordsOf(*memory);
    for (int i = 0; i < 1000; ++i) memory->add(g_listed + 1000 * i, 1000);
    EXPECT_EQ(wordsOf(*memory), full);
    auto other = listed();
    for (int round = 0; round < 2; ++round) {
        drive(*other);
        drive(*memory);
    }
    drive(*other);
    EXPECT_TRUE(drive(*memory)) << "what was left out is not waited for";
}

TEST(FrameMemoryLists, ManySmallPiecesUpToTheEndOfTheRoom) {
    auto memory = std::make_unique<FrameMemory>();
    std::size_t count = 0;
    for (Words before{}; before != wordsOf(*memory) && count < 10000; ++count) {
        before = wordsOf(*memory);
        memory->add(g_listed + 2 * kLine * count, 1);
    }
    ASSERT_LT(count, 1000u);
    ASSERT_GT(count, 100u);
    EXPECT_EQ(listedLines(*memory).size(), count - 1) << "the last one found no room";
}

TEST(FrameMemoryLists, EachHistoryAndPartOfTheGroundInAPlaceOfItsOwn) {
    auto memory = std::make_unique<FrameMemory>();
    memory->add(g_listed, sizeof g_listed);
    const Words before = wordsOf(*memory);
    std::set<std::size_t> places;
    for (std::size_t i = 0; i < FrameMemory::kKeys; ++i) {
        const Words then = wordsOf(*memory);
        memory->setLastKey(i, &g_keys[i][0]);
        const std::set<std::size_t> changed = changedWords(then, wordsOf(*memory));
        ASSERT_EQ(changed.size(), 1u) << i;
        places.insert(*changed.begin());
    }
    for (std::size_t corner = 0; corner < FrameMemory::kCorners; ++corner)
        for (std::size_t i = 0; i < FrameMemory::kGround; ++i) {
            const Words then = wordsOf(*memory);
            memory->setGround(corner, i, g_listed + 300 * i, 200);
            const std::set<std::size_t> changed = changedWords(then, wordsOf(*memory));
            ASSERT_EQ(changed.size(), 1u) << corner << ", " << i;
            places.insert(*changed.begin());
        }
    EXPECT_EQ(places.size(), FrameMemory::kKeys + FrameMemory::kCorners * FrameMemory::kGround);
    for (const std::size_t place : places) EXPECT_EQ(before[place], 0u) << "nothing of what was added";
}

TEST(FrameMemoryLists, NothingBeyondTheLimits) {
    auto memory = std::make_unique<FrameMemory>();
    memory->add(g_listed, sizeof g_listed);
    const Words before = wordsOf(*memory);
    for (const std::size_t i :
         {FrameMemory::kKeys, FrameMemory::kKeys + 1, std::size_t{1000}, kHugeIndex / 8, kHugeIndex})
        memory->setLastKey(i, g_keys[0]);
    for (const std::size_t i : {FrameMemory::kGround, FrameMemory::kGround + 1, std::size_t{1000}, kHugeIndex})
        for (std::size_t corner = 0; corner < FrameMemory::kCorners; ++corner)
            memory->setGround(corner, i, g_listed, 100);
    for (const std::size_t corner : {FrameMemory::kCorners, std::size_t{1000}, kHugeIndex / 8, kHugeIndex})
        for (const std::size_t i : {std::size_t{0}, FrameMemory::kGround - 1, FrameMemory::kGround, kHugeIndex})
            memory->setGround(corner, i, g_listed, 100);
    EXPECT_EQ(changedWords(before, wordsOf(*memory)), std::set<std::size_t>());
}

TEST(FrameMemoryLists, TheLastKeyAndThePlaceBehindIt) {
    FrameMemory memory;
    for (const std::size_t i : {0, 1, 3}) {
        memory.setLastKey(17, &g_keys[20][i]);
        const std::uintptr_t line = lineOf(g_keys[20]);
        const auto lines = listedLines(wordsOf(memory), line - 100, line + 100);
        EXPECT_EQ(lines, i < 3 ? (std::set<std::uintptr_t>{line}) : (std::set<std::uintptr_t>{line, line + 1})) << i;
    }
}

TEST(FrameMemoryLists, GroundUntilThereIsOtherOrNone) {
    FrameMemory memory;
    const Words before = wordsOf(memory);
    memory.setGround(2, 3, g_listed + 4096 + 10, 200);
    EXPECT_EQ(listedLines(memory), linesOf(g_listed + 4096 + 10, 200));
    memory.setGround(2, 3, g_listed + 60, 5);
    EXPECT_EQ(listedLines(memory), linesOf(g_listed + 60, 5));
    memory.setGround(2, 3, nullptr, 0);
    EXPECT_EQ(wordsOf(memory), before);
}

TEST(FrameMemoryLists, GroundOfNoBytesIsNothing) {
    FrameMemory memory;
    memory.setGround(0, 0, g_listed + 8192, 0);
    EXPECT_TRUE(listedLines(memory).empty());
}

TEST(FrameMemoryLists, OfMuchGroundTheBeginning) {
    FrameMemory memory;
    memory.setGround(0, 0, g_listed, 65 * kLine);
    EXPECT_EQ(listedLines(memory), linesOf(g_listed, FrameMemory::kMostBytes));
}

TEST(FrameMemoryLists, NothingOnceItIsCleared) {
    auto memory = std::make_unique<FrameMemory>();
    const Words before = wordsOf(*memory);
    memory->add(g_listed, sizeof g_listed);
    for (std::size_t i = 0; i < FrameMemory::kKeys; ++i) memory->setLastKey(i, g_keys[i]);
    for (std::size_t corner = 0; corner < FrameMemory::kCorners; ++corner)
        for (std::size_t i = 0; i < FrameMemory::kGround; ++i) memory->setGround(corner, i, g_listed, 200);
    memory->clear();
    EXPECT_EQ(changedWords(before, wordsOf(*memory)), std::set<std::size_t>());
    memory->add(g_listed, 1);
    EXPECT_TRUE(memory->isListed());
}

#ifdef HAS_MAPPINGS
TEST(FrameMemoryLists, WhatIsNoLongerThereDoesNoHarm) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    for (const bool isGone : {true, false}) {
        void* const mapped = mmap(nullptr, 32 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        ASSERT_NE(mapped, MAP_FAILED);
        auto* const bytes = static_cast<unsigned char*>(mapped);
        std::memset(bytes, 1, 32 * page);
        FrameMemory a;
        FrameMemory b;
        b.add(bytes, 16 * page);
        b.setLastKey(0, reinterpret_cast<Key*>(bytes + 17 * page));
        b.setGround(0, 0, bytes + 18 * page + 10, 300);
        for (int round = 0; round < 2; ++round) {
            drive(a);
            drive(b);
        }
        if (isGone)
            ASSERT_EQ(munmap(mapped, 32 * page), 0);
        else
            ASSERT_EQ(mprotect(mapped, 32 * page, PROT_NONE), 0);
        for (int round = 0; round < 2; ++round) {
            drive(a, round);
            EXPECT_TRUE(drive(b)) << "it was asked for, whatever came of it";
        }
        if (!isGone) {
            EXPECT_EQ(munmap(mapped, 32 * page), 0);
        }
    }
}
#endif

TEST(FrameMemoryLists, AddressesThatNobodyEverHadDoNoHarm) {
    FrameMemory a;
    FrameMemory b;
    for (const std::uintptr_t address : {std::uintptr_t{1}, std::uintptr_t{100}, std::uintptr_t{1} << 47,
                                         std::uintptr_t{0x0123456789abcdef}, ~std::uintptr_t{0} - 10000}) {
        b.add(reinterpret_cast<const void*>(address), 1000);
        b.setGround(1, 1, reinterpret_cast<const void*>(address), 1000);
    }
    for (int round = 0; round < 3; ++round) {
        drive(a);
        EXPECT_EQ(drive(b), round > 0);
    }
}

// --- Whole runs ----------------------------------------------------------------------------------------------------

constexpr int kNever = 1 << 20;
constexpr int kFrames = 48;

/// What happens to a vehicle, told in frames of the scene.
struct Story {
    int starts = 0;
    int stops = kNever;
    int startsAgain = kNever;
    int againFrom = 0;  ///< frame of the vehicle's own time
    int goes = kNever;  ///< before its frame
};

enum class Ground { physicsWorld, surface, stored };

/// A scene with a hilly ground on which vehicles stand side by side.
class Town {
  public:
    Town(Ground ground, std::vector<Story> stories) : m_stories(std::move(stories)), m_scene(25.0, 1e-6) {
        golden::Element& hills = m_scene.add("Hills", nullptr);
        hills.hasSurface = true;
        // Rays at a surface are cast by the host, at all of its triangles.
        const int cells = ground == Ground::surface ? 8 : 50;
        hills.mesh = test::gridMesh(cells, 100.0 / cells,
                                    [](double x, double z) { return 0.2 * std::sin(0.5 * z) + 0.1 * std::cos(x); });
        for (std::size_t i = 0; i < m_stories.size(); ++i) addDriver(ground, hills);
    }
    Town(const Town&) = delete;
    Town& operator=(const Town&) = delete;
    ~Town() {
        for (std::size_t i = 0; i < m_drivers.size(); ++i) release(i);
    }

    /// A frame of the scene, in which the vehicles take their turns in this order.
    void advance(const std::vector<std::size_t>& order) {
        for (const std::size_t i : order) takeTurn(i);
        ++m_frame;
    }
    void run(const std::vector<std::size_t>& order) {
        while (m_frame < kFrames) advance(order);
    }
    void release(std::size_t i) {
        if (m_drivers[i].vehicle != nullptr) m_drivers[i].vehicle->release();
        m_drivers[i].vehicle = nullptr;
    }

    [[nodiscard]] CCarCamObject& vehicle(std::size_t i) { return *m_drivers[i].vehicle; }
    [[nodiscard]] const FrameMemory* nextOf(std::size_t i) const { return m_drivers[i].vehicle->cFrameMemory.next(); }
    [[nodiscard]] const FrameMemory* memoryOf(std::size_t i) const { return &m_drivers[i].vehicle->cFrameMemory; }
    [[nodiscard]] golden::Element& element(std::size_t i, const std::string& name) {
        for (std::size_t k = m_drivers[i].first; k < m_drivers[i].last; ++k)
            if (m_scene.elements[k].name == name) return m_scene.elements[k];
        throw std::runtime_error("no element " + name);
    }

    /// All that is left of what a vehicle did, to the bit: the keys of its elements, its histories and read-outs.
    [[nodiscard]] std::string bitsOf(std::size_t i) {
        std::string bits;
        const auto append = [&bits](const void* data, std::size_t size) {
            bits.append(static_cast<const char*>(data), size);
        };
        for (std::size_t k = m_drivers[i].first; k < m_drivers[i].last; ++k)
            for (const golden::Key& key : m_scene.elements[k].keys) {
                append(&key.time, sizeof key.time);
                append(key.local.m.data(), sizeof key.local.m);
            }
        if (m_drivers[i].vehicle == nullptr) return bits;
        for (const auto& output : m_drivers[i].host.outputs) append(&output->current, sizeof output->current);
        forEachVariable(vehicle(i), [&](const AnimatedRow&, auto& variable, const auto*) {
            std::vector<unsigned char> block(static_cast<std::size_t>(variable.getSerialSize()));
            variable.write(block.data(), variable.getSerialSize());
            append(block.data(), block.size());
        });
        return bits;
    }
    [[nodiscard]] int wheelsOnGround(std::size_t i) {
        int count = 0;
        for (const pcWheel& wheel : vehicle(i).cCarCam.pcWheel) count += wheel.bInAir ? 0 : 1;
        return count;
    }
    [[nodiscard]] double wayOf(std::size_t i) {
        const golden::Element& body = element(i, "CarBodyMesh");
        return util::Length(m_scene.world(body, m_scene.time(kFrames)).row(3) - m_scene.world(body, 0.0).row(3));
    }

  private:
    struct Driver {
        explicit Driver(golden::Scene& scene) : host(scene) {}
        golden::Host host;
        CCarCamObject* vehicle = nullptr;
        std::size_t first = 0;  ///< of its elements in the scene, up to `last`
        std::size_t last = 0;
        int time = 0;  ///< in frames
    };

    void addDriver(Ground ground, golden::Element& hills) {
        Driver& driver = m_drivers.emplace_back(m_scene);
        driver.vehicle = new CCarCamObject({{0, 0}, 0, "Car"});
        driver.vehicle->hostInterface = &driver.host;
        driver.vehicle->declareParameters();
        driver.first = m_scene.elements.size();
        driver.vehicle->createRig();
        driver.last = m_scene.elements.size();
        const util::Vector3<double> place(5.0 * static_cast<double>(m_drivers.size()) - 10.0, 0.0, 20.0);
        for (std::size_t k = driver.first; k < driver.last; ++k) {
            golden::Element& each = m_scene.elements[k];
            if (each.parent != nullptr) continue;
            util::Matrix4 moved = m_scene.world(each, 0.0);
            moved.setRow(3, moved.row(3) + place);
            m_scene.setWorld(each, 0.0, moved);
        }
        golden::Scene::link(element(m_drivers.size() - 1, "GravityDirectionMesh"), &hills);
        driver.vehicle->dInitialVelocity = 40.0;
        driver.vehicle->bUseStaticMesh = ground == Ground::physicsWorld;
        if (ground != Ground::stored) return;
        driver.vehicle->bStoreGroundMeshData = true;
        driver.vehicle->onParameterChanged("Store Ground Mesh Data");
    }

    void takeTurn(std::size_t i) {
        const Story& story = m_stories[i];
        Driver& driver = m_drivers[i];
        if (m_frame == story.goes) release(i);
        if (driver.vehicle == nullptr) return;
        m_scene.now = m_scene.time(driver.time);
        if (m_frame == story.stops) driver.vehicle->stopRun(m_scene.now);
        if (m_frame == story.starts || m_frame == story.startsAgain) {
            driver.time = m_frame == story.starts ? 0 : story.againFrom;
            m_scene.now = m_scene.time(driver.time);
            driver.vehicle->startRun(m_scene.now);
            EXPECT_FALSE(driver.vehicle->cFrameMemory.isListed()) << "of a run that is over";
            return;
        }
        if (!driver.vehicle->bRunning) return;
        m_scene.now = m_scene.time(++driver.time);
        const double phase = 0.3 * driver.time + static_cast<double>(i);
        driver.host.axes[pcInput_GAS_PEDAL].position = 0.6 + 0.4 * std::sin(phase);
        driver.host.axes[pcInput_STEERING_WHEEL].position = 0.5 * std::sin(0.4 * phase);
        driver.host.axes[pcInput_GRAVEL_SHAKE].position = i == 1 ? 0.5 : 0.0;
        driver.vehicle->updateFrame(m_scene.now);
        EXPECT_TRUE(driver.vehicle->cFrameMemory.isListed());
        EXPECT_TRUE(driver.host.messages.empty());
    }

    std::vector<Story> m_stories;
    golden::Scene m_scene;
    std::deque<Driver> m_drivers;
    int m_frame = 0;
};

/// What vehicle `i` does if it alone has turns.
std::string bitsAlone(Ground ground, const std::vector<Story>& stories, std::size_t i) {
    Town town(ground, stories);
    town.run({i});
    return town.bitsOf(i);
}

class FrameMemoryRuns : public testing::TestWithParam<Ground> {
  protected:
    static void expectAsAlone(Town& town, const std::vector<Story>& stories) {
        for (std::size_t i = 0; i < stories.size(); ++i) {
            const std::string alone = bitsAlone(GetParam(), stories, i);
            const std::string among = town.bitsOf(i);
            ASSERT_GT(alone.size(), 10000u);
            EXPECT_TRUE(alone == among) << "vehicle " << i << " does something else among others";
        }
    }
};

TEST_P(FrameMemoryRuns, VehiclesThatDriveInTurnDoWhatEachDoesAlone) {
    const std::vector<Story> stories(3);
    Town town(GetParam(), stories);
    town.run({0, 1, 2});
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(town.nextOf(i), town.memoryOf((i + 1) % 3));
        EXPECT_GE(town.wheelsOnGround(i), 1);
        EXPECT_GT(town.wayOf(i), 3.0);
    }
    EXPECT_NE(town.bitsOf(0), town.bitsOf(2));
    expectAsAlone(town, stories);
}

TEST_P(FrameMemoryRuns, TheOrderInWhichTheyDriveDoesNotMatter) {
    const std::vector<Story> stories(3);
    Town town(GetParam(), stories);
    std::vector<std::size_t> order{0, 1, 2};
    for (int frame = 0; frame < kFrames; ++frame) {
        town.advance(order);
        if (frame % 5 != 0) std::next_permutation(order.begin(), order.end());
    }
    expectAsAlone(town, stories);
}

TEST_P(FrameMemoryRuns, OneThatGoesInTheMiddleOfARoundLeavesTheOthersAsTheyAre) {
    for (std::size_t goes = 0; goes < 3; ++goes) {
        SCOPED_TRACE(goes);
        std::vector<Story> stories(3);
        stories[goes].goes = 20;
        Town town(GetParam(), stories);
        town.run({0, 1, 2});
        const std::size_t one = goes == 0 ? 1 : 0;
        const std::size_t other = goes == 2 ? 1 : 2;
        EXPECT_EQ(town.nextOf(one), town.memoryOf(other));
        EXPECT_EQ(town.nextOf(other), town.memoryOf(one));
        expectAsAlone(town, stories);
    }
}

TEST_P(FrameMemoryRuns, ARunThatStopsAndStartsAgainIsTheSameAmongOthers) {
    std::vector<Story> stories(3);
    stories[0] = {.starts = 3};
    stories[1] = {.starts = 0, .stops = 15, .startsAgain = 22, .againFrom = 10};
    stories[2] = {.starts = 1, .stops = 30, .startsAgain = 30, .againFrom = 0};
    Town town(GetParam(), stories);
    town.run({0, 1, 2});
    expectAsAlone(town, stories);
}

TEST_P(FrameMemoryRuns, ARealFrameAsksForAllThatTheNextOneListed) {
    Town town(GetParam(), std::vector<Story>(2));
    for (int frame = 0; frame < 5; ++frame) town.advance({0, 1});
    EXPECT_TRUE(town.vehicle(0).cFrameMemory.beginFrame());
    EXPECT_FALSE(town.vehicle(1).cFrameMemory.beginFrame()) << "in that frame nothing was asked for";
}

TEST_P(FrameMemoryRuns, ARealFrameListsTheEndOfEachHistoryThatGrew) {
    Town town(GetParam(), std::vector<Story>(1));
    for (int frame = 0; frame < 12; ++frame) {
        town.advance({0});
        if (frame == 0) continue;
        const Words words = wordsOf(*town.memoryOf(0));
        int grown = 0;
        forEachVariable(town.vehicle(0), [&](const AnimatedRow& row, auto& variable, const auto*) {
            if (variable.getNumKeys() < frame) return;
            ++grown;
            const auto* const last = &variable.keys.back();
            const std::uintptr_t begin = lineOf(last);
            const std::uintptr_t end = lineOf(reinterpret_cast<const unsigned char*>(last + 2) - 1);
            EXPECT_EQ(listedLines(words, begin, end).size(), end - begin + 1) << row.key << " in frame " << frame;
        });
        EXPECT_GT(grown, 50);
    }
}

TEST_P(FrameMemoryRuns, OnlyInThePhysicsWorldPartsOfTheGroundAreListed) {
    // Where they are is told by a list of nothing else.
    Town town(GetParam(), std::vector<Story>(1));
    for (int frame = 0; frame < 10; ++frame) town.advance({0});
    const Words words = wordsOf(*town.memoryOf(0));
    for (std::size_t corner = 0; corner < FrameMemory::kCorners; ++corner) {
        int parts = 0;
        for (std::size_t i = 0; i < FrameMemory::kGround; ++i) {
            FrameMemory other;
            const Words before = wordsOf(other);
            other.setGround(corner, i, g_listed, 10);
            parts += words.at(*changedWords(before, wordsOf(other)).begin()) != 0 ? 1 : 0;
        }
        if (GetParam() == Ground::physicsWorld)
            EXPECT_GT(parts, 0) << corner;
        else
            EXPECT_EQ(parts, 0) << corner;
    }
}

std::string nameOf(const testing::TestParamInfo<Ground>& ground) {
    switch (ground.param) {
        case Ground::physicsWorld: return "PhysicsWorld";
        case Ground::surface: return "Surface";
        case Ground::stored: return "StoredMesh";
    }
    return {};
}

INSTANTIATE_TEST_SUITE_P(On, FrameMemoryRuns, testing::Values(Ground::physicsWorld, Ground::surface, Ground::stored),
                         nameOf);

}  // namespace
}  // namespace ond::ovs::addon

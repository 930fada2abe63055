// Saving and loading.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <locale>

#include "ond/util/CMesh.h"
#include "ond/util/DataChunk.h"
#include "validate/CarRules.h"
#include "validate/Scenarios.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

/// A value inside of the range that the item has not now and that is no default by accident.
double someOther(Check& check, const Item& item) {
    if (item.kind == Item::Kind::checkBox) return item.value() == 0.0 ? 1.0 : 0.0;
    const double width = std::min(item.max - item.min, 2.0 * std::abs(item.initial) + 1.0);
    const double low = std::max(item.min, std::min(item.initial - 0.5 * width, item.max - width));
    const double value = low + width * check.between(0.1, 0.9);
    return item.kind == Item::Kind::integer ? std::floor(value) : value;
}

/// A block on pages of its own that ends where they end, but for the bytes that keep its beginning aligned to eight.
/// Nothing behind it can be read.
class FencedBlock {
  public:
    explicit FencedBlock(const Bytes& block) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t rounded = (block.size() + 7) / 8 * 8;
        const std::size_t pages = (rounded + page - 1) / page;
        m_size = (pages + 1) * page;
        m_start = static_cast<unsigned char*>(
            mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        m_block = m_start + pages * page - rounded;
        std::copy(block.begin(), block.end(), m_block);
        mprotect(m_start, pages * page, PROT_READ);
        mprotect(m_start + pages * page, page, PROT_NONE);
    }
    FencedBlock(const FencedBlock&) = delete;
    FencedBlock& operator=(const FencedBlock&) = delete;
    ~FencedBlock() { munmap(m_start, m_size); }
    [[nodiscard]] const void* data() const { return m_block; }

  private:
    unsigned char* m_start = nullptr;
    unsigned char* m_block = nullptr;
    std::size_t m_size = 0;
};

/// Numbers as many countries write them, for what is written through C++ streams.
class CommaNumbers : public std::numpunct<char> {
  protected:
    [[nodiscard]] char do_decimal_point() const override { return ','; }
    [[nodiscard]] char do_thousands_sep() const override { return '.'; }
    [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

class CommaLocale {
  public:
    CommaLocale() : m_plain(std::setlocale(LC_ALL, nullptr)) {
        for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "de_DE", "nl_NL.UTF-8"})
            if (std::setlocale(LC_ALL, name) != nullptr) break;
        std::locale::global(std::locale(std::locale(), new CommaNumbers));
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;
    ~CommaLocale() {
        std::locale::global(m_before);
        std::setlocale(LC_ALL, m_plain.c_str());
    }

  private:
    std::locale m_before;
    std::string m_plain;
};

/// The block of an object that drove, and the scene that it left behind.
struct Saved {
    ModuleFile module;
    World world;
    Bytes block;
    explicit Saved(Check& check) : module(check), world(check, module) {
        StrictHost& host = world.addRigged("car");
        world.run(host, 0, 10);
        block = savedBlock(world, host);
        host.release();
        world.hosts.clear();
    }
};

/// Loads and expects success; the test cannot go on without it.
StrictHost& loaded(World& world, const Bytes& block) {
    StrictHost& host = world.add("car");
    host.declare();
    if (host.load(block) != 0)
        world.check.give("loads-what-it-saved",
                         "loadState() answered 1 for the block that the same module had just "
                         "saved, with all its elements in the scene; it answers 0");
    return host;
}

}  // namespace

void savesABlock(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    for (int round = 0; round < 2; ++round) {
        const Bytes block = host.save();
        if (block.empty() && host.editableItems().empty()) check.skip("the module saves no state");
        check.expect(!block.empty(),
                     "saveState() stored nothing, although the object has items whose values would be "
                     "lost; it hands a block to storeChunk()");
        world.run(host, 0, 3);
    }
}

void savesTheSameTwice(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    (void)savedBlock(world, host);
    for (int round = 0; round < 2; ++round) {
        const Bytes first = host.save();
        const std::string different = difference(first, host.save());
        check.expect(different.empty(), "two saves in a row stored different blocks: " + different +
                                            "; a save does not change what is saved");
        world.run(host, 0, 5);
    }
}

void savingChangesNothing(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    world.run(host, 0, 4);
    const Picture before = world.picture(host, 0, 5);
    const std::size_t records = host.records.size();
    const std::uint64_t writes = host.writes;
    (void)savedBlock(world, host);
    const std::string different = before.difference(world.picture(host, 0, 5));
    check.expect(different.empty() && host.writes == writes, "saveState() changed " +
                                                                 (different.empty() ? "a transform" : different) +
                                                                 "; a save hands over a block and changes nothing");
    check.expect(host.records.size() == records, "saveState() pushed an undo record; it changes nothing to be undone");
    world.run(host, 4, 4);
    World other(check, module);
    StrictHost& unsaved = other.addRigged("car");
    other.run(unsaved, 0, 4);
    other.run(unsaved, 4, 4);
    const std::string later = other.picture(unsaved, 0, 8).difference(world.picture(host, 0, 8));
    check.expect(later.empty(),
                 "an object that was saved between two runs went on differently from one that was not: " + later +
                     "; a save hands over a block and changes nothing");
}

void blockIsAChunk(Check& check) {
    Saved saved(check);
    util::DataChunk root;
    const void* end = root.deserialize(saved.block.data(), saved.block.size());
    check.expect(end == saved.block.data() + saved.block.size(),
                 end == nullptr
                     ? "the saved block is no flat block of a DataChunk; storeChunk() takes one"
                     : "the saved block has bytes behind the flat block of its DataChunk; nothing follows it");
}

void loadsWhatItSaved(Check& check) {
    Saved saved(check);
    StrictHost& host = loaded(saved.world, saved.block);
    saved.world.run(host, 10, 4);
    host.showFrame(0.1);
    host.undo();
    host.redo();
    (void)host.save();
    host.release();
    // A new object that was rigged and saved without a run.
    World fresh(check, saved.module);
    StrictHost& first = fresh.addRigged("car");
    const Bytes block = savedBlock(fresh, first);
    first.release();
    StrictHost& second = loaded(fresh, block);
    fresh.run(second, 0, 3);
}

void rowsComeBack(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    if (host.editableItems().empty()) check.skip("the module has no items with values");
    for (const Item& item : host.editableItems()) host.edit(item, someOther(check, item));
    const Bytes block = savedBlock(world, host);
    std::map<std::string, double> saved;
    for (const Item& item : host.editableItems()) saved[item.label] = item.value();
    host.release();
    StrictHost& second = loaded(world, block);
    std::size_t changed = 0;
    std::size_t lost = 0;
    for (const Item& item : second.editableItems()) {
        const double wanted = saved.at(item.label);
        if (wanted == item.initial) continue;
        ++changed;
        const double value = item.value();
        if (value == wanted || (isCar(world.plugin) && isCarRowWithoutMemory(item.label))) continue;
        ++lost;
        const std::string what = "the item " + cited(item.label) + " was saved with " + shown(wanted) + " and is " +
                                 shown(value) + " behind the load";
        const bool toDefault = value == item.initial && !isCar(world.plugin);
        check.complain(
            check.id,
            what + (toDefault ? ", its default; what users set should last" : "; a load brings back what was saved"),
            toDefault ? Severity::warning : Severity::failure);
    }
    if (lost > 0 && lost == changed)
        check.fail("no item came back with its value behind a load; loadState() takes the state from the block");
}

void savedLoadedSaved(Check& check) {
    Saved saved(check);
    StrictHost& host = loaded(saved.world, saved.block);
    const std::string different = difference(saved.block, host.save());
    check.expect(different.empty(), "a block that was loaded and saved again differs in " + different +
                                        "; a load brings back all that a save takes");
}

void resumesFromALoad(Check& check) {
    ModuleFile module(check);
    const auto goOn = [&](bool reload) {
        World world(check, module);
        StrictHost* host = &world.addRigged("car");
        world.run(*host, 0, 10);
        if (reload) {
            const Bytes block = savedBlock(world, *host);
            host->release();
            host = &loaded(world, block);
        }
        world.run(*host, 10, 8);
        return world.picture(*host, 10, 18, {true, true, false, true});
    };
    const Picture kept = goOn(false);
    const std::string different = kept.difference(goOn(true));
    check.expect(different.empty(), "a loaded object drove on differently from the one that was saved: " + different +
                                        "; the block holds all that a later run needs");
}

void readsOnlyTheBlock(Check& check) {
    Saved saved(check);
    StrictHost& host = saved.world.add("car");
    host.declare();
    {
        const FencedBlock fenced(saved.block);
        check.expect(host.loadFrom(fenced.data()) == 0,
                     "loadState() answered 1 for its own block when nothing lay behind it; it reads the block alone");
    }
    // The block's pages are gone: whatever still looks at them ends here.
    if (host.life == Life::rigged) {
        saved.world.run(host, 10, 2);
        (void)host.save();
    }
}

void noBlock(Check& check) {
    Saved saved(check);
    StrictHost& host = saved.world.add("car");
    host.declare();
    check.expect(host.load({}) == 1,
                 "loadState() answered 0 although the host has no block; it answers 1 when the block cannot be read");
    host.release();
}

void loadsWithoutElements(Check& check) {
    Saved saved(check);
    std::vector<std::string> names;
    for (const auto& one : saved.world.scene.elements)
        if (one->vehicle == "car" && !one->identifier.empty()) names.push_back(one->identifier);
    if (names.empty()) check.skip("the module makes no elements");
    names.emplace_back();
    for (const std::string& name : names) {
        Lacks lacks;
        lacks.found = {name};
        lacks.elements = name.empty();
        StrictHost& host = saved.world.add("car", lacks);
        host.expectsFinite = false;
        host.declare();
        if (host.load(saved.block) == 0) {
            saved.world.run(host, 10, 1);
            (void)host.save();
        }
        saved.world.hosts.pop_back();
    }
}

void loadsIntoAChangedScene(Check& check) {
    Saved saved(check);
    std::vector<stage::Element*> own;
    for (const auto& one : saved.world.scene.elements)
        if (one->vehicle == "car" && !one->identifier.empty()) own.push_back(one.get());
    if (own.empty()) check.skip("the module makes no elements");
    const auto loadAndGoOn = [&] {
        StrictHost& host = saved.world.add("car");
        host.expectsFinite = false;
        host.declare();
        if (host.load(saved.block) == 0) {
            host.showFrame(0.0);
            saved.world.run(host, 10, 2);
            (void)host.save();
        }
        saved.world.hosts.pop_back();
    };
    for (stage::Element* one : own) one->name = "renamed by the user";
    loadAndGoOn();
    for (stage::Element* one : own) saved.world.scene.reparent(*one, nullptr);
    loadAndGoOn();
    stage::Element& group = saved.world.scene.add("a group of the user");
    for (stage::Element* one : own) saved.world.scene.reparent(*one, &group);
    loadAndGoOn();
    for (stage::Element* one : own) {
        one->shown = false;
        saved.world.scene.setShape(*one, util::CMesh());
    }
    loadAndGoOn();
}

void otherLocale(Check& check) {
    Saved saved(check);
    const CommaLocale comma;
    World world(check, saved.module);
    StrictHost& host = world.addRigged("car");
    world.run(host, 0, 10);
    const std::string different = difference(saved.block, host.save());
    check.expect(different.empty(), "the saved block differs in " + different +
                                        " where numbers are written with a comma; a scene is the same everywhere");
    host.release();
    (void)loaded(world, saved.block);
}

}  // namespace ond::validate::tests

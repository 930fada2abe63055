#include "validate/Scenarios.h"

#include <algorithm>
#include <cmath>

namespace ond::validate {

namespace {

/// A value within the range that is not the present one, and not far from it.
double neighbour(const Item& item) {
    const double value = item.value();
    if (item.kind == Item::Kind::checkBox) return value == 0.0 ? 1.0 : 0.0;
    if (item.kind == Item::Kind::integer)
        return value + 1.0 <= item.max ? value + 1.0 : std::max(item.min, value - 1.0);
    const double step = 0.1 * std::min(item.max - item.min, std::abs(value) + 0.1);
    return value + step <= item.max ? value + step : std::max(item.min, value - step);
}

void deleteOne(World& world, StrictHost& host) {
    const std::vector<stage::Element*> own = host.ownElements();
    if (own.empty()) return;
    stage::Element& gone = *own[world.check.below(own.size())];
    world.scene.remove(gone);
    world.run(host, 20, 3);
    host.showFrame(0.5);
    world.scene.revive(gone);
    world.run(host, 23, 2);
}

void loadAndGoOn(World& world, const Bytes& block) {
    StrictHost& second = world.add("car");
    second.declare();
    if (second.load(block) == 0) {
        second.showFrame(0.2);
        world.run(second, 12, 3);
        second.undo();
        second.redo();
        (void)second.save();
    }
    second.release();
}

void loadHalf(World& world, const Bytes& block) {
    StrictHost& third = world.add("car");
    third.expectsFinite = false;
    third.declare();
    (void)third.load(Bytes(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(block.size() / 2)));
    third.release();
}

}  // namespace

void change(StrictHost& host, const Item& item) {
    if (item.hasValue())
        host.edit(item, neighbour(item));
    else
        host.tell(item, item.label);
}

void changeEach(StrictHost& host, bool numbersToo, const std::function<void()>& between) {
    const std::vector<Item> items = host.items;
    for (const Item& item : items) {
        const bool isNumber = item.kind == Item::Kind::number || item.kind == Item::Kind::integer;
        if ((isNumber && !numbersToo) || (item.hasValue() && !host.isEditable(item))) continue;
        const double before = item.value();
        change(host, item);
        between();
        if (item.hasValue()) host.edit(item, before);
    }
}

void wholeLife(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    fullLife(world);
}

void fullLife(World& world) {
    StrictHost& host = world.addRigged("car");
    StrictHost& other = world.addRigged("another car");
    host.showFrame(0.0);
    world.run(0, 3);
    other.release();
    world.run(host, 0, 0);
    world.run(host, 0, 6);
    host.showFrame(0.1);
    host.refreshOutputs();
    host.undo();
    host.redo();
    int at = 6;
    changeEach(host, false, [&] { world.run(host, at++ % 12, 2); });
    changeEach(host, true, [] {});
    host.undo();
    host.redo();
    host.dropRecords();
    world.run(host, 10, 3);
    const Bytes block = host.save();
    deleteOne(world, host);
    host.release();
    if (block.empty()) return;
    loadAndGoOn(world, block);
    loadHalf(world, block);
}

}  // namespace ond::validate

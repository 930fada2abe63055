// Undo records: what a run and an edit push, and what comes of running them.
#include <algorithm>
#include <map>

#include "ond/util/DataChunk.h"
#include "validate/Scenarios.h"
#include "validate/Tests.h"

namespace ond::validate::tests {

namespace {

constexpr View kLooks{false, true, false, false};

/// The part of a picture that another one does not show likewise.
Picture changedPart(const Picture& picture, const Picture& other) {
    Picture part;
    for (const auto& [name, values] : picture.values)
        if (const auto found = other.values.find(name); found != other.values.end() && found->second != values)
            part.values[name] = values;
    return part;
}

/// The first value of `wanted` that is not so now, for a sentence; empty if all are.
std::string missing(const Picture& wanted, const Picture& now) {
    Picture same;
    for (const auto& [name, values] : wanted.values)
        if (const auto found = now.values.find(name); found != now.values.end()) same.values[name] = found->second;
    return wanted.difference(same);
}

void addLeaves(const util::DataChunk& chunk, const std::string& path, std::map<std::string, Bytes>& leaves) {
    const auto* bytes = static_cast<const unsigned char*>(chunk.getData());
    leaves[path] = bytes == nullptr ? Bytes() : Bytes(bytes, bytes + chunk.getSize());
    for (int i = 0; i < chunk.getNumChildren(); ++i)
        addLeaves(chunk.getChild(i), path + "/" + chunk.getChild(i).getName() + " " + std::to_string(i), leaves);
}

/// The payloads of a block by their places; of one that is no chunk, the block as one.
std::map<std::string, Bytes> leavesOf(const Bytes& block) {
    util::DataChunk root;
    if (root.deserialize(block.data(), block.size()) == nullptr) return {{"the block", block}};
    std::map<std::string, Bytes> leaves;
    addLeaves(root, root.getName(), leaves);
    return leaves;
}

/// What undo left neither as it was before the run nor as it was behind it. A run may also change what no record is
/// about, as the measures of the rig.
std::string neither(const Bytes& before, const Bytes& after, const Bytes& undone) {
    const std::map<std::string, Bytes> first = leavesOf(before);
    const std::map<std::string, Bytes> second = leavesOf(after);
    for (const auto& [path, bytes] : leavesOf(undone)) {
        const auto a = first.find(path);
        const auto b = second.find(path);
        if ((a == first.end() || a->second != bytes) && (b == second.end() || b->second != bytes)) return path;
    }
    return {};
}

/// A part of the block that became longer or shorter by the run, as a history does, and that undo left as it was behind
/// the run; empty if there is none. Any other part may be what no record is about.
std::string notTakenBack(const Bytes& before, const Bytes& after, const Bytes& undone) {
    const std::map<std::string, Bytes> first = leavesOf(before);
    const std::map<std::string, Bytes> last = leavesOf(undone);
    for (const auto& [path, bytes] : leavesOf(after)) {
        const auto a = first.find(path);
        const auto b = last.find(path);
        if (a != first.end() && b != last.end() && a->second.size() != bytes.size() && b->second == bytes) return path;
    }
    return {};
}

/// What undo of a run has to come to. `before`, `after` and `undone` are blocks.
void expectTakenBack(Check& check, const Bytes& before, const Bytes& after, const Bytes& undone) {
    if (before != after)
        check.expect(undone != after,
                     "undoing every record of a run left the object as it was; undo takes the change back");
    const std::string odd = neither(before, after, undone);
    check.expect(odd.empty(), "undoing every record of a run left " + cited(odd) +
                                  " of the saved block neither as it was before the run nor as it was behind it; undo "
                                  "takes the change back");
    const std::string kept = notTakenBack(before, after, undone);
    check.expect(kept.empty(), "undoing every record of a run left " + cited(kept) +
                                   " of the saved block, which the run had made longer or shorter, as the run left it; "
                                   "there is a record for each history, and undo takes the change back");
}

/// Two runs on the undo stack, taken back and made again one after the other.
void undoTwoRuns(Check& check, World& world, StrictHost& host) {
    host.dropRecords();
    const Bytes before = host.save();
    world.run(host, 12, 5);
    const std::size_t first = host.records.size();
    const Bytes between = host.save();
    world.run(host, 14, 6);
    const Bytes after = host.save();
    if (first == 0 || host.records.size() == first) return;
    host.undo(first);
    const Bytes undoneOnce = host.save();
    expectTakenBack(check, between, after, undoneOnce);
    host.undo(0, first);
    expectTakenBack(check, before, undoneOnce, host.save());
    host.redo(0, first);
    std::string different = difference(undoneOnce, host.save());
    check.expect(different.empty(),
                 "undo and redo of the first of two runs do not make a pair: behind them the saved "
                 "block differs in " +
                     different + "; redo makes the change again");
    host.redo(first);
    different = difference(after, host.save());
    check.expect(different.empty(), "redo of two runs did not make them again: the saved block differs in " +
                                        different + "; redo makes the change again");
    host.dropRecords();
}

void expectUntouched(Check& check, const Item& item, double value, const std::string& what) {
    check.expect(item.value() == value, what + " changed the field from " + shown(value) + " to " +
                                            shown(item.value()) +
                                            "; the host sets the field, and does it around the "
                                            "record");
}

/// An edit of one item, taken back and made again as a host does: the object's records lie above the host's own, which
/// restores the field. What the edit did not change is left to the object.
void undoEdit(Check& check, World& world, StrictHost& host, const Item& item) {
    const double before = item.value();
    const Picture looksBefore = world.picture(host, 0, 0, kLooks);
    const std::size_t bottom = host.records.size();
    const int redraws = host.redraws;
    change(host, item);
    const double after = item.value();
    const Picture looksAfter = world.picture(host, 0, 0, kLooks);
    const Picture lost = changedPart(looksBefore, looksAfter);
    const Picture won = changedPart(looksAfter, looksBefore);
    if (!won.values.empty() && host.redraws == redraws)
        check.complain(check.id,
                       "the edit of " + cited(item.label) + " changed " + won.values.begin()->first +
                           " without redrawViews(); what became visible or invisible shows from the next redraw on",
                       check.level >= Level::strict ? Severity::failure : Severity::warning);
    if (host.records.size() > bottom) {
        const std::string of = "of the edit of " + cited(item.label);
        for (int round = 0; round < 2; ++round) {
            host.undo(bottom);
            expectUntouched(check, item, after, "undo " + of);
            item.write(before);
            std::string different = missing(lost, world.picture(host, 0, 0, kLooks));
            check.expect(different.empty(), std::string("undo ")
                                                .append(of)
                                                .append(" did not bring back ")
                                                .append(different)
                                                .append("; undo takes the change back"));
            item.write(after);
            host.redo(bottom);
            expectUntouched(check, item, after, "redo " + of);
            different = missing(won, world.picture(host, 0, 0, kLooks));
            check.expect(different.empty(), std::string("redo ")
                                                .append(of)
                                                .append(" did not bring back ")
                                                .append(different)
                                                .append("; redo makes the change again"));
        }
        host.undo(bottom);
    }
    item.write(before);
    if (host.records.size() == bottom) host.tell(item, item.label);
}

}  // namespace

void undoRecords(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    world.run(host, 0, 4);
    changeEach(host, true, [] {});
    world.run(host, 2, 3);
    if (host.records.empty()) check.skip("the module pushes no undo records");
    const std::size_t count = host.records.size();
    host.undo();
    host.redo();
    host.undo(count / 2);
    host.redo(count / 2);
    // A host forgets records at either end of its stack, in any state of theirs, and then what is left goes on.
    host.undo();
    std::shuffle(host.records.begin(), host.records.end(), check.random);
    host.dropRecords();
    world.run(host, 0, 2);
    const Bytes before = host.save();
    host.dropRecords();
    const std::string different = difference(before, host.save());
    check.expect(different.empty(), "the release of undo records changed the object: the saved block differs in " +
                                        different + "; a record that goes touches nothing");
    world.run(host, 2, 2);
    host.undo();
    host.release();
}

void undoOfARun(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    StrictHost& other = world.addRigged("a bystander");
    world.run(other, 0, 6);
    const Bytes bystander = other.save();
    // The first run measures the rig, which no record takes back.
    world.run(host, 0, 6);
    host.dropRecords();
    const Bytes before = host.save();
    world.run(host, 6, 6);
    if (host.records.empty()) check.skip("the module pushes no undo records in a run");
    const Bytes after = host.save();
    host.undo();
    const Bytes undone = host.save();
    expectTakenBack(check, before, after, undone);
    for (int round = 0; round < 2; ++round) {
        host.redo();
        std::string different = difference(after, host.save());
        check.expect(different.empty(),
                     "undo and redo of a run do not make a pair: behind them the saved block differs in " + different +
                         "; redo makes the change again");
        host.undo();
        different = difference(undone, host.save());
        check.expect(different.empty(),
                     "undoing a run a second time came out differently: the saved block differs in " + different +
                         "; undo takes the same change back each time");
    }
    host.redo();
    undoTwoRuns(check, world, host);
    const std::string different = difference(bystander, other.save());
    check.expect(different.empty(),
                 "undo and redo of an object's run changed another object: its saved block differs in " + different +
                     "; objects are independent of each other");
    world.run(host, 12, 2);
    host.undo();
    world.run(host, 3, 2);
}

void undoOfEdits(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    world.run(host, 0, 2);
    host.dropRecords();
    std::size_t pushed = 0;
    const std::vector<Item> items = host.items;
    for (const Item& item : items) {
        if (!item.hasValue() || !host.isEditable(item) || item.callback == nullptr) continue;
        undoEdit(check, world, host, item);
        pushed += host.records.size();
        host.dropRecords();
    }
    if (pushed == 0) check.skip("the module pushes no undo records in edits");
}

}  // namespace ond::validate::tests

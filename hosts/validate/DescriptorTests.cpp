// What a module tells about itself.
#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include "validate/ModuleFile.h"
#include "validate/Tests.h"
#include "validate/Text.h"
#include "validate/World.h"

namespace ond::validate::tests {

namespace {

using ovs::CCameraPlugin;

struct DescriptorText {
    const char* operation;
    std::string (CCameraPlugin::*get)() const;
    bool maybeEmpty;
};

constexpr DescriptorText kTexts[] = {
    {"getPluginName", &CCameraPlugin::getPluginName, false},   {"getTypeName", &CCameraPlugin::getTypeName, false},
    {"getDisplayName", &CCameraPlugin::getDisplayName, false}, {"getCategory", &CCameraPlugin::getCategory, false},
    {"getDescription", &CCameraPlugin::getDescription, true},  {"getAuthor", &CCameraPlugin::getAuthor, true},
    {"getAccessToken", &CCameraPlugin::getAccessToken, false},
};

/// How often a descriptor is asked again: a host does at any time.
constexpr int kRounds = 50;

std::string ask(Check& check, CCameraPlugin& plugin, const DescriptorText& text) {
    std::string answer;
    check.inside(std::string(text.operation) + "()", [&] { answer = (plugin.*text.get)(); });
    return answer;
}

std::vector<std::uint32_t> idsOf(Check& check, const CCameraPlugin& plugin) {
    std::vector<std::uint32_t> ids;
    check.inside("getExtensionIds()", [&] { ids = plugin.getExtensionIds(); });
    return ids;
}

bool has(Check& check, const CCameraPlugin& plugin, std::uint32_t id) {
    bool answer = false;
    check.inside("hasExtension(" + std::to_string(id) + ")", [&] { answer = plugin.hasExtension(id); });
    return answer;
}

/// Ends a descriptor with the test.
class Descriptor {
  public:
    Descriptor(Check& check, const ModuleFile& module) : m_check(check), m_plugin(module.firstPlugin()) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        try {
            m_check.inside("CCameraPlugin::release()", [&] { m_plugin.release(); });
        } catch (const Abandoned&) {  // told already
        }
    }
    [[nodiscard]] CCameraPlugin& operator*() const { return m_plugin; }

  private:
    Check& m_check;
    CCameraPlugin& m_plugin;
};

/// All that a descriptor tells, by the operation that tells it.
std::map<std::string, std::string> allAnswers(Check& check, CCameraPlugin& plugin) {
    std::map<std::string, std::string> all;
    for (const DescriptorText& text : kTexts) all[text.operation] = ask(check, plugin, text);
    for (const std::uint32_t id : idsOf(check, plugin)) all["getExtensionIds"] += std::to_string(id) + " ";
    check.inside("getDependencyList()", [&] {
        for (const std::string& name : plugin.getDependencyList()) all["getDependencyList"] += name + "\n";
    });
    check.inside("getInterfaceStamp()", [&] { all["getInterfaceStamp"] = std::to_string(plugin.getInterfaceStamp()); });
    ovs::PluginStatus status;
    check.inside("queryStatus()", [&] { all["queryStatus"] = plugin.queryStatus(&status) ? "true" : "false"; });
    all["queryStatus"] += std::to_string(status.code) + status.message;
    return all;
}

/// Extension 16, where there is one: the types of objects that the plug-in makes take the place of a list's content.
void requireTypes(Check& check, CCameraPlugin& plugin) {
    const auto typesBehind = [&](std::vector<std::string> list) {
        std::uint64_t answer = 0;
        check.inside("callExtension(16) of the descriptor", [&] { answer = plugin.callExtension(16, &list); });
        check.expect(answer == 0, "callExtension(16) of the descriptor answered " + std::to_string(answer) +
                                      "; the list is the answer, and what is returned is 0");
        return list;
    };
    const std::vector<std::string> types = typesBehind({});
    check.expect(typesBehind({"what", "was", "there"}) == types && typesBehind(types) == types,
                 "callExtension(16) of the descriptor left something of what was in the list; it replaces the content");
    check.expect(std::all_of(types.begin(), types.end(),
                             [](const std::string& type) { return !type.empty() && isPlainText(type); }),
                 "callExtension(16) of the descriptor named a type with an empty text, or one that cannot be shown");
}

}  // namespace

void descriptorTexts(Check& check) {
    const ModuleFile module(check);
    const Descriptor plugin(check, module);
    const Descriptor other(check, module);
    for (const DescriptorText& text : kTexts) {
        const std::string operation = std::string(text.operation) + "()";
        const std::string answer = ask(check, *plugin, text);
        check.expect(text.maybeEmpty || !answer.empty(), operation + " answered an empty text; it names something");
        check.expect(isPlainText(answer),
                     operation + " answered " + cited(answer) + ", which is no UTF-8 text that can be shown");
        for (int round = 0; round < kRounds; ++round)
            if (!check.expect(ask(check, *plugin, text) == answer && ask(check, *other, text) == answer,
                              operation + " gave two answers; what a descriptor tells does not change"))
                break;
    }
}

void accessToken(Check& check) {
    const ModuleFile module(check);
    const Descriptor plugin(check, module);
    std::string token;
    check.inside("getAccessToken()", [&] { token = (*plugin).getAccessToken(); });
    check.expect(token.size() == 16,
                 "getAccessToken() answered " + counted(token.size(), "character") + "; the token has 16 characters");
}

void descriptorLists(Check& check) {
    const ModuleFile module(check);
    const Descriptor plugin(check, module);
    const auto dependencies = [&] {
        std::vector<std::string> names;
        check.inside("getDependencyList()", [&] { names = (*plugin).getDependencyList(); });
        return names;
    };
    std::vector<std::string> first = dependencies();
    for (const std::string& name : first)
        check.expect(!name.empty() && isPlainText(name),
                     "getDependencyList() has the entry " + cited(name) + "; entries are names of plug-ins");
    check.expect(std::find(first.begin(), first.end(), ask(check, *plugin, kTexts[0])) == first.end(),
                 "getDependencyList() names the plug-in itself; it names those that must be loaded first");
    std::vector<std::uint32_t> ids = idsOf(check, *plugin);
    const std::vector<std::uint32_t> idsBefore = ids;
    const std::vector<std::string> before = first;
    // The lists are the caller's own.
    first.push_back("changed by the host");
    ids.push_back(987654321U);
    for (int round = 0; round < kRounds; ++round)
        if (!check.expect(dependencies() == before,
                          "getDependencyList() gave two answers; what a descriptor tells does not change") ||
            !check.expect(idsOf(check, *plugin) == idsBefore,
                          "getExtensionIds() of the descriptor gave two answers; what a descriptor tells does not "
                          "change"))
            break;
    check.expect(std::set<std::uint32_t>(idsBefore.begin(), idsBefore.end()).size() == idsBefore.size(),
                 "getExtensionIds() of the descriptor names a number twice; a list of numbers has each once");
}

void pluginStatus(Check& check) {
    const ModuleFile module(check);
    const Descriptor plugin(check, module);
    ovs::PluginStatus status;
    status.code = 77;
    status.message = "what a host may have left in the record, longer than a short text";
    bool answer = false;
    check.inside("queryStatus()", [&] { answer = (*plugin).queryStatus(&status); });
    check.expect(answer, "queryStatus() answered false; it answers true");
    check.expect(status.code == 0 && status.message.empty(),
                 "queryStatus() left the code " + std::to_string(status.code) + " and the text " +
                     cited(status.message) + "; it sets 0 and an empty text");
    answer = false;
    check.inside("queryStatus(null)", [&] { answer = (*plugin).queryStatus(nullptr); });
    check.expect(answer, "queryStatus(null) answered false; without a record it answers true and sets nothing");
}

void interfaceStamp(Check& check) {
    const ModuleFile module(check);
    const Descriptor plugin(check, module);
    const auto stamp = [&] {
        std::uint64_t number = 0;
        check.inside("getInterfaceStamp()", [&] { number = (*plugin).getInterfaceStamp(); });
        return number;
    };
    const std::uint64_t first = stamp();
    for (int round = 0; round < kRounds; ++round)
        if (!check.expect(stamp() == first, "getInterfaceStamp() gave two answers; saved blocks are named after it"))
            break;
    if (first != 9201)
        check.complain(
            check.id,
            "getInterfaceStamp() answered " + std::to_string(first) + "; this edition of the contract is 9201",
            check.level == Level::strict ? Severity::failure : Severity::warning);
}

void descriptorExtensions(Check& check) {
    const ModuleFile module(check);
    const Descriptor plugin(check, module);
    const std::vector<std::uint32_t> ids = idsOf(check, *plugin);
    for (const std::uint32_t id : ids)
        check.expect(has(check, *plugin, id), "hasExtension(" + std::to_string(id) +
                                                  ") of the descriptor answered false, but the number is in "
                                                  "getExtensionIds(); the two agree");
    if (std::find(ids.begin(), ids.end(), 16U) != ids.end()) requireTypes(check, *plugin);
    for (int i = 0; i < 4200; ++i) {
        const std::uint32_t id = i < 4100 ? static_cast<std::uint32_t>(i) : static_cast<std::uint32_t>(check.random());
        if (std::find(ids.begin(), ids.end(), id) != ids.end()) continue;
        if (!check.expect(!has(check, *plugin, id), "hasExtension(" + std::to_string(id) +
                                                        ") of the descriptor answered true, but the number is not in "
                                                        "getExtensionIds(); the two agree"))
            return;
    }
}

void unknownDescriptorExtensions(Check& check) {
    const ModuleFile module(check);
    const Descriptor plugin(check, module);
    const std::vector<std::uint32_t> ids = idsOf(check, *plugin);
    const std::vector<std::string> before = {"left", "alone"};
    for (int i = 0; i < 4200; ++i) {
        const std::uint32_t id = i < 4100 ? static_cast<std::uint32_t>(i) : static_cast<std::uint32_t>(check.random());
        if (std::find(ids.begin(), ids.end(), id) != ids.end()) continue;
        std::vector<std::string> argument = before;
        std::uint64_t answer = 0;
        const std::string call = "callExtension(" + std::to_string(id) + ") of the descriptor";
        check.inside(call, [&] { answer = (*plugin).callExtension(id, &argument); });
        const bool fine =
            check.expect(answer == 0, call + " answered " + std::to_string(answer) +
                                          "; a number that the descriptor does not know answers 0") &&
            check.expect(argument == before,
                         call + " changed its argument; a number that the descriptor does not know has no effect");
        check.inside(call + " with null", [&] { (*plugin).callExtension(id, nullptr); });
        if (!fine) return;
    }
}

void descriptorAtAnyTime(Check& check) {
    ModuleFile module(check);
    World world(check, module);
    StrictHost& host = world.addRigged("car");
    const std::map<std::string, std::string> before = allAnswers(check, world.plugin);
    const auto askAll = [&](const char* when) {
        for (const auto& [operation, answer] : allAnswers(check, world.plugin))
            check.expect(before.count(operation) == 1 && before.at(operation) == answer,
                         operation + "() gave another answer " + when + "; a descriptor answers the same at any time");
    };
    askAll("while an object lives");
    world.begin(0);
    host.startRun(0);
    askAll("during a run");
    world.frame(1);
    host.updateFrame(1);
    StrictHost& second = world.add("made during a run");
    second.declare();
    askAll("while a second object is declared");
    host.stopRun(1);
    world.end();
    host.release();
    second.release();
    askAll("behind the release of its objects");
}

}  // namespace ond::validate::tests

// The module as a file, and its two functions.
#include <algorithm>
#include <cctype>
#include <set>

#include "validate/ModuleFile.h"
#include "validate/Tests.h"
#include "validate/World.h"

namespace ond::validate::tests {

namespace {

/// A name that a compiler made from a C++ function or type.
bool isMangled(const std::string& name) { return name.rfind("_Z", 0) == 0; }

std::string listed(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size() && i < 5; ++i) text += (i == 0 ? "" : ", ") + names[i];
    return names.size() > 5 ? text + " and " + std::to_string(names.size() - 5) + " more" : text;
}

}  // namespace

void loads(Check& check) { const ModuleFile module(check); }

void exportsTwoFunctions(Check& check) {
    const ModuleFile module(check);
    for (const char* name : {"getVersion", "getPlugin"})
        check.expect(module.has(name), std::string("the module exports no ") + name +
                                           "; it exports getVersion and getPlugin with C linkage");
    std::vector<std::string> plain;
    std::vector<std::string> mangled;
    for (const std::string& name : exportedNames(check.modulePath))
        if (name != "getVersion" && name != "getPlugin") (isMangled(name) ? mangled : plain).push_back(name);
    const std::string wants = "; it exports getVersion and getPlugin and nothing else";
    if (!plain.empty()) check.fail("the module exports " + listed(plain) + wants);
    if (!mangled.empty())
        check.complain(check.id, "the module exports names of its own classes: " + listed(mangled) + wants,
                       check.level == Level::strict ? Severity::failure : Severity::warning);
}

void version(Check& check) {
    const ModuleFile module(check);
    const std::uint32_t first = module.version();
    check.expect(first == 250,
                 "getVersion() answered " + std::to_string(first) + "; the version of this contract is 250");
    for (int i = 0; i < 50; ++i)
        if (!check.expect(module.version() == first, "getVersion() gave two answers; it is the same at all times"))
            return;
}

void firstPlugin(Check& check) {
    const ModuleFile module(check);
    ovs::CCameraPlugin& first = module.firstPlugin();
    ovs::CCameraPlugin* second = module.plugin(0);
    if (second == nullptr)
        check.give(check.id, "getPlugin(0) answered null the second time; it makes a new descriptor each time");
    if (second == &first)
        check.give(check.id,
                   "getPlugin(0) gave the same descriptor twice; each is the host's own and is released by "
                   "itself, so it is a new one each time");
    const std::string name = second->getPluginName();
    check.inside("CCameraPlugin::release()", [&] { first.release(); });
    std::string after;
    check.inside("getPluginName() of another descriptor", [&] { after = second->getPluginName(); });
    check.expect(after == name, "the release of one descriptor changed another; each stands by itself");
    check.inside("CCameraPlugin::release()", [&] { second->release(); });
}

void pluginListEnds(Check& check) {
    const ModuleFile module(check);
    {
        // Of another version, or without a plug-in, the rest says nothing.
        ovs::CCameraPlugin& first = module.firstPlugin();
        check.inside("CCameraPlugin::release()", [&] { first.release(); });
    }
    constexpr std::uint32_t kMost = 64;
    std::uint32_t count = 0;
    std::set<std::string> names;
    for (; count < kMost; ++count) {
        ovs::CCameraPlugin* plugin = module.plugin(count);
        if (plugin == nullptr) break;
        std::string name;
        check.inside("getPluginName()", [&] { name = plugin->getPluginName(); });
        check.expect(names.insert(name).second, "the module has two plug-ins called " + cited(name) +
                                                    "; the name of a plug-in is unique among plug-ins");
        check.inside("CCameraPlugin::release()", [&] { plugin->release(); });
    }
    if (count == kMost) check.give(check.id, "getPlugin() has no end; it answers null behind the last plug-in");
    std::vector<std::uint32_t> behind = {65535U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU};
    for (std::uint32_t index = count; index < count + 300; ++index) behind.push_back(index);
    for (int i = 0; i < 64; ++i) behind.push_back(static_cast<std::uint32_t>(check.random()));
    for (const std::uint32_t index : behind)
        if (index >= count)
            check.expect(module.plugin(index) == nullptr,
                         "getPlugin(" + std::to_string(index) + ") gave a descriptor although getPlugin(" +
                             std::to_string(count) + ") gave none; it answers null behind the last plug-in");
}

void loadsAgain(Check& check) {
    for (int round = 0; round < 3; ++round) {
        ModuleFile module(check);
        {
            World world(check, module);
            StrictHost& host = world.addRigged("car");
            world.run(host, 0, 3);
        }
        module.unload();
    }
}

}  // namespace ond::validate::tests

#include "validate/CarWorld.h"

#include <algorithm>

namespace ond::validate {

namespace {

struct Phrase {
    std::string_view service;  ///< as the log begins
    std::string_view act;
};

constexpr Phrase kPhrases[] = {
    {"createMeshElement of ", "make "},
    {"createCameraElement of ", "make "},
    {"deleteElement of ", "delete "},
    {"MeshHandle::show of ", "show "},
    {"MeshHandle::hide of ", "hide "},
    {"MeshHandle::rigBuilt of ", "rig built "},
    {"TransformObject::setLocalMatrix of ", "set "},
    {"TransformObject::setWorldMatrix of ", "set "},
    {"AppearanceObject::setWireframe of ", "wireframe "},
    {"pushUndo", "push"},
    {"redrawViews", "redraw"},
    {"refreshDialog", "refresh"},
    {"messageBox ", "message "},
};

/// Of "MeshHandle::callExtension of TargetMesh with 17"; empty for those that only ask.
std::string sent(std::string_view service) {
    constexpr std::string_view of = "MeshHandle::callExtension of ";
    if (!service.starts_with(of)) return {};
    service.remove_prefix(of.size());
    for (const char* const id : {"17", "57"})
        if (const std::string with = std::string(" with ") + id; service.ends_with(with))
            return std::string("send ") + id + " to " + std::string(service.substr(0, service.size() - with.size()));
    return {};
}

std::string actOf(std::string_view service) {
    for (const Phrase& phrase : kPhrases)
        if (service.starts_with(phrase.service))
            return std::string(phrase.act) + std::string(service.substr(phrase.service.size()));
    return sent(service);
}

}  // namespace

Car::Car(Check& check, stage::FrameRate rate) : module(check), world(check, module, rate) {
    if (!isCar(world.plugin)) check.skip("the module is not the four-wheeled vehicle");
}

Acts actsOf(StrictHost& host, const std::function<void()>& work) {
    host.services.clear();
    host.logs = true;
    work();
    host.logs = false;
    Acts acts;
    for (const std::string& service : host.services)
        if (std::string act = actOf(service); !act.empty()) acts.push_back(std::move(act));
    return acts;
}

Acts only(const Acts& acts, std::initializer_list<std::string_view> beginnings) {
    Acts some;
    for (const std::string& act : acts)
        if (std::any_of(beginnings.begin(), beginnings.end(),
                        [&](std::string_view beginning) { return act.starts_with(beginning); }))
            some.push_back(act);
    return some;
}

Acts sorted(Acts acts) {
    std::sort(acts.begin(), acts.end());
    return acts;
}

void expectActs(Check& check, const std::string& when, const Acts& got, const Acts& wanted) {
    const auto name = [](const Acts& acts, std::size_t i) { return i < acts.size() ? cited(acts[i]) : "nothing more"; };
    for (std::size_t i = 0; i < std::max(got.size(), wanted.size()); ++i)
        if (i >= got.size() || i >= wanted.size() || got[i] != wanted[i]) {
            check.fail(when + " did " + name(got, i) + " as number " + std::to_string(i + 1) +
                       " of what it does; it is " + name(wanted, i));
            return;
        }
}

const Item& rowOf(StrictHost& host, const std::string& label) {
    const Item* row = host.item(label);
    if (row == nullptr) host.check.give("car-dialog", "the dialog has no row " + cited(label));
    return *row;
}

}  // namespace ond::validate

// Between a stage and the contents of its take.
#include "stage/TakeContents.h"

#include <algorithm>
#include <utility>

#include "stage/Recording.h"
#include "stage/StageError.h"

namespace ond::stage {

namespace {

TakeElement elementOf(const Element& element, ElementState state) {
    TakeElement out;
    out.name = element.name;
    out.identifier = element.identifier;
    out.vehicle = element.vehicle;
    out.state = std::move(state);
    out.ownColour = element.ownColour;
    out.wireframe = element.wireframe;
    std::copy(std::begin(element.colour), std::end(element.colour), std::begin(out.colour));
    out.isCamera = element.isCamera;
    out.fieldOfView = element.fieldOfView;
    out.surface = element.surface;
    out.shape = element.shape;
    out.placedByUser = element.placedByUser;
    out.selected = element.selected;
    return out;
}

void addElement(Scene& scene, TakeElement& from) {
    Element& element = scene.add(from.name);
    element.identifier = std::move(from.identifier);
    element.vehicle = std::move(from.vehicle);
    element.track = std::move(from.state.track);
    element.deleted = from.state.deleted;
    element.shown = from.state.shown;
    element.ownColour = from.ownColour;
    element.wireframe = from.wireframe;
    std::copy(std::begin(from.colour), std::end(from.colour), std::begin(element.colour));
    element.isCamera = from.isCamera;
    element.fieldOfView = from.fieldOfView;
    element.surface = from.surface;
    element.shape = from.shape;
    element.placedByUser = from.placedByUser;
    element.selected = from.selected;
}

void linkElements(Scene& scene, const std::vector<TakeElement>& from) {
    const auto at = [&](int place) { return scene.elements[static_cast<std::size_t>(place)].get(); };
    for (std::size_t i = 0; i < from.size(); ++i) {
        Element& element = *scene.elements[i];
        if (from[i].state.parent >= 0) element.parent = at(from[i].state.parent);
        for (const int child : from[i].state.children) element.children.push_back(at(child));
    }
}

}  // namespace

TakeContents contentsOf(Stage& stage) {
    if (stage.isRunning()) throw StageError("a take cannot be saved while a run is under way; stop the run first");
    for (const auto& vehicle : stage.vehicles)
        if (vehicle->life != Vehicle::Life::rigged)
            throw StageError("the vehicle '" + vehicle->name +
                             "' is not rigged or did not load its saved state; remove it before the take is saved");
    TakeContents contents;
    Snapshot snapshot = stage.snapshot();
    contents.rate = stage.scene.clock.rate;
    contents.now = snapshot.now;
    contents.plugin = {stage.plugin->getTypeName(), stage.module.version(), stage.plugin->getInterfaceStamp()};
    for (std::size_t i = 0; i < snapshot.elements.size(); ++i)
        contents.elements.push_back(elementOf(*stage.scene.elements[i], std::move(snapshot.elements[i])));
    contents.vehicles = std::move(snapshot.vehicles);
    contents.curves = stage.curves;
    contents.messages = stage.messages;
    contents.journal = stage.journal;
    return contents;
}

std::unique_ptr<Stage> stageOf(TakeContents contents, const Module& module) {
    auto stage = std::make_unique<Stage>(module, contents.rate);
    const std::string type = stage->plugin->getTypeName();
    if (contents.plugin.type != type)
        throw StageError("its vehicles are of the type '" + contents.plugin.type + "', the module makes '" + type +
                         "'");
    for (TakeElement& element : contents.elements) addElement(stage->scene, element);
    linkElements(stage->scene, contents.elements);
    stage->scene.clock.now = contents.now;
    for (const VehicleState& vehicle : contents.vehicles) {
        if (vehicle.block.empty()) throw StageError("it has no saved state of the vehicle '" + vehicle.name + "'");
        stage->addVehicle(vehicle);
    }
    stage->wireChannels(contents.vehicles);
    stage->keepsJournal = true;
    stage->journal = std::move(contents.journal);
    stage->curves = std::move(contents.curves);
    // A vehicle that was never driven has columns without rows, which the file leaves out.
    for (std::size_t i = 0; i < stage->curves.size(); ++i)
        if (stage->curves[i].columns.empty()) stage->curves[i].columns = columnsOf(*stage->vehicles[i]);
    stage->messages = std::move(contents.messages);
    return stage;
}

bool isSoundTree(const std::vector<const ElementState*>& states) {
    const int count = static_cast<int>(states.size());
    std::size_t parented = 0;
    std::vector<bool> isChild(states.size(), false);
    for (const ElementState* state : states) {
        if (state->parent < -1 || state->parent >= count) return false;
        parented += state->parent >= 0 ? 1U : 0U;
    }
    std::size_t children = 0;
    for (int i = 0; i < count; ++i)
        for (const int child : states[static_cast<std::size_t>(i)]->children) {
            if (child < 0 || child >= count || isChild[static_cast<std::size_t>(child)]) return false;
            if (states[static_cast<std::size_t>(child)]->parent != i) return false;
            isChild[static_cast<std::size_t>(child)] = true;
            ++children;
        }
    if (children != parented) return false;
    for (const ElementState* state : states) {
        int depth = 0;
        for (int up = state->parent; up >= 0; up = states[static_cast<std::size_t>(up)]->parent)
            if (++depth >= kDeepestNesting) return false;
    }
    return true;
}

}  // namespace ond::stage

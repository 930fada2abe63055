// A module, a scene and the objects in it, and how a validation drives them.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "validate/ModuleFile.h"
#include "validate/StrictHost.h"

namespace ond::validate {

/// Everything that can be seen of objects: poses, looks, rows and channels, each under a name for sentences.
class Picture {
  public:
    std::map<std::string, std::vector<double>> values;

    /// The first value that is not the same to the bit, for a sentence; empty if there is none.
    [[nodiscard]] std::string difference(const Picture& other) const;
};

/// What a picture shows.
struct View {
    bool poses = true;
    bool looks = true;  ///< visibility, wireframe, colour
    bool rows = true;
    bool outputs = true;
};

class World {
  public:
    /// @param module outlives the world
    World(Check& worldCheck, ModuleFile& module, stage::FrameRate rate = {25, 1});
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    /// Releases the objects and then the descriptor.
    ~World();

    /// A new object, in the state [created].
    StrictHost& add(const std::string& name, const Lacks& lacks = {});
    /// A new object with its rig, on the ground.
    StrictHost& addRigged(const std::string& name, const Lacks& lacks = {});
    /// Links the ground to what an object made: below the parent and among the children of the element that tells the
    /// direction of gravity where there is one, otherwise above all that stand at the root.
    void putOnGround(StrictHost& host);

    /// A run of all objects, or of one: start, `frames` frames, stop.
    void run(int first, int frames);
    void run(StrictHost& host, int first, int frames);
    /// What the host does at the start of a run, between its frames and at its end. [for runs of a test's own]
    void begin(int first);
    void frame(int number) { scene.beginFrame(number); }
    void end() { scene.endRun(true); }

    /// @param frames for the poses, from `first` to `last`
    [[nodiscard]] Picture picture(const StrictHost& host, int first, int last, View view = {}) const;

    Check& check;
    stage::Scene scene;
    ovs::CCameraPlugin& plugin;
    std::vector<std::unique_ptr<StrictHost>> hosts;

  private:
    stage::Element& ground(const std::string& name, double height);
};

/// "byte 17 of 4096", where two blocks differ first; empty if they do not.
[[nodiscard]] std::string difference(const Bytes& first, const Bytes& second);

/// Whether this is the four-wheeled vehicle, by any of the names that it goes under.
[[nodiscard]] bool isCar(ovs::CCameraPlugin& plugin);

/// The saved block of an object that has driven a little; the test is skipped if the module saves none.
[[nodiscard]] Bytes savedBlock(World& world, StrictHost& host);

}  // namespace ond::validate

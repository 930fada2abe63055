// A whole host without a window: one module, one scene, its timeline, undo stack and vehicles.
//
// Time. Seconds are frame / fps, computed anew from the whole frame each time. A time that is asked for between two
// frames is interpolated (see Track), one within a millionth of a frame of a key is that key.
//
// Runs. A run drives its armed vehicles live: startRun() at a frame, then one updateFrame() for each frame behind it.
// What they write becomes keys, which stay when the run is recorded and go with its end when it is not.
//
// Journal. With `keepsJournal` every recorded run is written down with what it started from and what the axes gave, so
// that retake() can drive the whole recording again to the bit. What a vehicle was before a run is then asked of it by
// saveState(), which such a host therefore calls at both ends of a recorded run.
//
// Numbers. A run whose frame gives an element or an output channel a number that is not finite is a breakdown: nothing
// of that frame is kept, see advance().
//
// Vehicles are replaced by new objects when they are loaded again (replace(), restore(), retake(), setState()):
// references to them are then dead, and `vehicles` has the new ones at the same places.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "stage/Curves.h"
#include "stage/Journal.h"
#include "stage/Module.h"
#include "stage/Scene.h"
#include "stage/Snapshot.h"
#include "stage/UndoStack.h"
#include "stage/Vehicle.h"

namespace ond::stage {

/// A message of a vehicle; equal ones of neighbouring frames are one.
struct StageMessage {
    int frame = 0;    ///< of the first time
    int vehicle = 0;  ///< place in Stage::vehicles
    std::string caption;
    std::string text;
    int count = 1;
};

/// Why a run ended before its last frame.
struct Breakdown {
    int frame = 0;     ///< the first frame with a number that is not finite
    std::string what;  ///< the first such value: "the place of car_CarBodyMesh", "the channel Velocity of car"
    std::vector<std::string> extremes;  ///< labels of that vehicle's dialog rows that stand at an end of their range
    /// One sentence for the user.
    [[nodiscard]] std::string sentence() const;
};

class Stage {
  public:
    explicit Stage(const Module& module, FrameRate rate = {25, 1});
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;
    ~Stage();

    /// A vehicle in the state [created].
    /// @throws StageError if another one has that name: what a vehicle makes is known by it
    Vehicle& create(const std::string& name);
    /// A new vehicle: declared and rigged.
    Vehicle& addVehicle(const std::string& name);
    /// A vehicle whose elements are in the scene, from its saved state.
    /// @throws StageError if the vehicle does not load its block
    Vehicle& addVehicle(const VehicleState& state);
    /// Releases `vehicle` and puts a new one of the same name in its place, which finds the elements of the old one and
    /// has its saved block: declared, not yet loaded. The old reference is dead.
    Vehicle& replace(Vehicle& vehicle);
    /// A new vehicle that is as `original` is: its elements are copies, which hang where those of `original` hang and
    /// are found by the new one alone. Not during a run.
    /// @throws StageError if another vehicle has that name
    Vehicle& duplicate(Vehicle& original, const std::string& name);
    /// Releases the vehicle and takes its elements out of the scene.
    void removeVehicle(Vehicle& vehicle);
    /// The place of the vehicle of that name in `vehicles`, or -1.
    [[nodiscard]] int vehicleNamed(const std::string& name) const;

    void startRun(int frame, bool recorded = true);
    /// The next `frames` frames of the run, or fewer: a breakdown ends it. With a journal the run is then driven again
    /// up to the frame before, so that neither tracks nor vehicles keep anything of the broken frame, and is over.
    /// Without a journal the broken frame's keys are removed, and the caller stops the run.
    /// @return false after a breakdown
    bool advance(int frames);
    void stopRun();
    /// startRun() at `from`, all frames to `to`, stopRun().
    /// @return false if a breakdown ended it early
    bool run(int from, int to, bool recorded = true);
    [[nodiscard]] bool isRunning() const { return scene.isRunning(); }
    /// The breakdown of the last run, if it had one.
    [[nodiscard]] const std::optional<Breakdown>& breakdown() const { return m_breakdown; }
    /// The timeline shows `frame`.
    void show(int frame);

    /// What the vehicles and the elements are now. Not during a run.
    [[nodiscard]] Snapshot snapshot();
    /// Makes everything what it was. Elements that came behind the snapshot are deleted. Drops all undo steps.
    /// @throws StageError if a vehicle does not load its block
    void restore(const Snapshot& snapshot);
    /// Changes values of the vehicle's saved state by their keys, for those that the dialog does not have, by saving
    /// the vehicle and loading it again.
    /// @param value true and false are 1 and 0
    /// @throws StageError for a key that the block does not have or that holds no single number
    void setState(int vehicle, const std::map<std::string, double>& values);

    /// What an axis gives instead of what was recorded: vehicle, channel, frame. Empty where the recorded value stands.
    using Override = std::function<std::optional<double>(int, int, int)>;
    /// Where a recording is taken over, and by what.
    struct TakeOver {
        int at = 0;  ///< the last frame that is fed as recorded
        int to = 0;  ///< the last frame to drive; axes without other input hold what they gave last
        Override input;
    };
    /// Drives every run of `journal` again from its start, in a scene that holds the elements of the recording. With
    /// `other`, the last run that begins at or before `other->at` is taken over there, and later runs are left out.
    /// @param progress called with the frame in each frame; may be empty
    /// @return false if a breakdown ended the last run early
    /// @throws StageError if there is nothing recorded at the frame of the take-over
    bool retake(const Journal& journal, const std::optional<TakeOver>& other,
                const std::function<void(int)>& progress = {});

    /// Complaints of all vehicles, and what they did not give back; empty when all is well.
    [[nodiscard]] std::vector<std::string> complaints() const;
    /// Makes `curves` one per vehicle, with the columns that its channels call for; what is there stays.
    void prepareCurves();
    /// First and last frame of what is recorded; nothing before the first recorded run.
    [[nodiscard]] std::optional<std::pair<int, int>> recorded() const;

    const Module& module;
    ovs::CCameraPlugin* plugin;
    Scene scene;
    UndoStack undo;
    std::vector<std::unique_ptr<Vehicle>> vehicles;  ///< in the order in which frames come to them
    /// Whether vehicles that are made from now on log their calls, which a long run cannot afford.
    bool logsCalls = true;
    bool keepsJournal = false;
    Journal journal;
    std::vector<Curves> curves;  ///< of recorded runs, one per vehicle; kept with the journal only
    std::vector<StageMessage> messages;
    std::function<void(int)> progress;  ///< called behind each frame of a run; may be empty

  private:
    void showToAll(int frame);
    void noteRunStart(int frame);
    void noteInputs();
    void noteRunEnd();
    void collectMessages();
    [[nodiscard]] std::optional<Breakdown> findBreakdown() const;
    void driveAgainTo(int frame);
    void driveRecorded(const RunRecord& run, int to, const TakeOver* other);
    void feed(const RunRecord& run, const TakeOver* other);

    bool m_recorded = false;
    bool m_drivingAgain = false;
    std::shared_ptr<std::vector<Track>> m_tracksBefore;
    std::shared_ptr<const Snapshot> m_before;  ///< of the present run
    RunRecord m_run;                           ///< the present one
    std::optional<Breakdown> m_breakdown;
};

}  // namespace ond::stage

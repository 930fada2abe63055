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
// Numbers. A run whose frame gives an element, a channel or a row of a dialog a number that a take cannot hold is a
// breakdown: nothing of that frame is kept, see advance().
//
// Order. A call that does not fit to whether a run is under way is a StageError and changes nothing.
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

/// A message of a vehicle. One that comes again, in whichever frame, is counted with the first.
struct StageMessage {
    int frame = 0;    ///< of the first time
    int vehicle = 0;  ///< place in Stage::vehicles
    std::string caption;
    std::string text;
    int count = 1;
};

/// Why a run ended before its last frame.
struct Breakdown {
    int frame = 0;     ///< the first frame with a number that is not finite or too large for a take
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
    /// A vehicle whose elements are in the scene, from its saved state. Channels that axes of vehicles to come feed are
    /// unwired until wireChannels().
    /// @throws StageError if the vehicle does not load its block; it is then not there
    Vehicle& addVehicle(const VehicleState& state);
    /// Wires the channels of the vehicles as their states tell, which do not have to be all of them. A channel whose
    /// axis is not there is left unwired.
    void wireChannels(const std::vector<VehicleState>& states);
    /// Releases `vehicle` and puts a new one of the same name in its place, which finds the elements of the old one and
    /// has its saved block: declared, not yet loaded. The old reference is dead.
    Vehicle& replace(Vehicle& vehicle);
    /// A new vehicle that is as `original` is: its elements are copies, which hang where those of `original` hang and
    /// are found by the new one alone.
    /// @throws StageError during a run, or if another vehicle has that name
    Vehicle& duplicate(Vehicle& original, const std::string& name);
    /// Releases the vehicle and takes its elements out of the scene, and its curves and messages. The journal keeps the
    /// runs that it took part in, so retake() brings it back.
    /// @throws StageError during a run that goes into the journal
    void removeVehicle(Vehicle& vehicle);
    /// The place of the vehicle of that name in `vehicles`, or -1.
    [[nodiscard]] int vehicleNamed(const std::string& name) const;

    /// @throws StageError during a run
    void startRun(int frame, bool recorded = true);
    /// The next `frames` frames of the run, or fewer: a breakdown ends the run. A recorded run of a stage with a
    /// journal is then driven again up to the frame before, so that neither tracks nor vehicles keep anything of the
    /// broken frame. Otherwise only what the run wrote ends with the frame before, and the vehicles are left as the
    /// broken frame made them. A run that broke in its start or in its first frame leaves the recording as it was.
    /// @return false after a breakdown: the run is over
    /// @throws StageError without a run
    bool advance(int frames);
    /// @throws StageError without a run
    void stopRun();
    /// startRun() at `from`, all frames to `to`, stopRun().
    /// @return false if a breakdown ended it early
    /// @throws StageError during a run
    bool run(int from, int to, bool recorded = true);
    [[nodiscard]] bool isRunning() const { return scene.isRunning(); }
    /// The breakdown of the last run, if it had one.
    [[nodiscard]] const std::optional<Breakdown>& breakdown() const { return m_breakdown; }
    /// The timeline shows `frame`. A run that is under way goes on from its own frame.
    void show(int frame);

    /// What the vehicles and the elements are now.
    /// @throws StageError during a run
    [[nodiscard]] Snapshot snapshot();
    /// Makes everything what it was. Elements that came behind the snapshot are deleted. Drops all undo steps.
    /// @throws StageError during a run, or if a vehicle does not load its block: scene and vehicles then stay as they
    /// are, but for the undo steps
    void restore(const Snapshot& snapshot);
    /// Changes values of the vehicle's saved state by their keys, for those that the dialog does not have, by saving
    /// the vehicle and loading it again.
    /// @param value true and false are 1 and 0
    /// @throws StageError for a key that the block does not have or that holds no single number, and as restore() does
    void setState(int vehicle, const std::map<std::string, double>& values);

    /// What an axis gives instead of what was recorded: vehicle, channel, frame. Empty where the recorded value stands.
    /// The vehicle is told by its place when retake() is called, though the recording may begin with others.
    /// An axis is known by the channels that it feeds; where it feeds several, all of them get the value.
    using Override = std::function<std::optional<double>(int, int, int)>;
    /// Where a recording is taken over, and by what.
    struct TakeOver {
        int at = 0;  ///< the last frame that is fed as recorded
        int to = 0;  ///< the last frame to drive; axes without other input hold what they gave last
        Override input;
        int vehicle = -1;  ///< place of the one that is taken over; -1 for any
    };
    /// Drives every run of `journal` again from its start, in a scene that holds the elements of the recording. With
    /// `other`, the last run that drove its vehicle through the frame `other->at` is taken over there, and later runs
    /// are left out.
    /// @param progress called with the frame in each frame, instead of the member of that name; may be empty
    /// @return false if a breakdown ended the last run early
    /// @throws StageError during a run, if there is nothing recorded at the frame of the take-over, or if a vehicle
    /// does not load its block. Whatever is thrown, also by `progress`, the stage is then what it was, but for the undo
    /// steps
    bool retake(const Journal& journal, const std::optional<TakeOver>& other,
                const std::function<void(int)>& progress = {});

    /// Complaints of all vehicles and of the undo stack, and what was not given back; empty when all is well.
    [[nodiscard]] std::vector<std::string> complaints() const;
    /// Makes `curves` one per vehicle, with the columns that its channels call for, before rows from `frame` on are
    /// written. What is there stays, unless it lacks columns and the vehicle takes part in the run.
    void prepareCurves(int frame);
    /// First and last frame of what is recorded of any vehicle; nothing before the first recorded run.
    [[nodiscard]] std::optional<std::pair<int, int>> recorded() const;
    /// The same of the vehicle at a place.
    [[nodiscard]] std::optional<std::pair<int, int>> recorded(int vehicle) const;

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
    /// What a recording shows besides motion, with the names of the vehicles that its places mean.
    struct Shown {
        std::vector<std::string> names;
        std::vector<Curves> curves;
        std::vector<StageMessage> messages;
    };
    /// What a run changed, for its undo.
    struct RunChange;

    void requireNoRun(const std::string& what) const;
    void requireRun(const std::string& what) const;
    [[nodiscard]] std::vector<std::string> names() const;
    void showToAll(int frame);
    void collectMessages();
    void endRun(int last);
    void endBrokenRun();
    [[nodiscard]] std::optional<Breakdown> findBreakdown() const;
    [[nodiscard]] std::optional<Breakdown> findBrokenRow() const;

    [[nodiscard]] bool keepsRun() const { return keepsJournal && m_recorded; }
    void noteRunStart(int frame);
    void beginRecording(int frame);
    void noteInputs();
    /// @return the record of the run; nothing if it is not kept
    std::optional<RunRecord> noteRunEnd();
    [[nodiscard]] bool isCut(const StageMessage& message) const;
    void keepOldRecording();
    [[nodiscard]] Shown shown() const;
    void putShown(const Shown& from);

    void noteStartWrites();
    [[nodiscard]] bool wasWritten(std::size_t element) const;
    void takeBackTracks();
    void pushRunUndo(const std::optional<RunRecord>& record);

    void putElements(const std::vector<ElementState>& states);
    void driveAgainTo(int frame);
    void driveRecorded(const RunRecord& run, int to, const TakeOver* other);
    [[nodiscard]] std::size_t runTakenOver(const Journal& runs, const TakeOver& other) const;
    [[nodiscard]] TakeOver withPlacesOfNow(const TakeOver& other) const;
    void feed(const RunRecord& run, const TakeOver* other);

    // Of the present run.
    bool m_recorded = false;
    bool m_drivingAgain = false;
    int m_from = 0;
    int m_frame = 0;  ///< driven last; the timeline may show another
    std::vector<Track> m_tracksBefore;
    std::vector<bool> m_startWrites;  ///< the elements that its start changed
    Shown m_shownBefore;
    std::shared_ptr<const Snapshot> m_before;
    RunRecord m_run;
    std::optional<Breakdown> m_breakdown;
};

}  // namespace ond::stage

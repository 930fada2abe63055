// A whole host without a window: one module, one scene, its timeline, undo stack and vehicles.
//
// Time. Seconds are frame / fps, computed anew from the whole frame each time. A time that is asked for between two
// frames is interpolated (see Track), one within a millionth of a frame of a key is that key.
//
// A run drives its armed vehicles live: startRun() at a frame, then one updateFrame() for each frame behind it. What
// they write becomes keys, which stay when the run is recorded and go with its end when it is not.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/Scene.h"
#include "host/UndoStack.h"
#include "host/VehicleHost.h"
#include "host/VehicleModule.h"

namespace ond::test {

class RecordingHost {
  public:
    explicit RecordingHost(const VehicleModule& module, int framesPerSecond = 25);
    RecordingHost(const RecordingHost&) = delete;
    RecordingHost& operator=(const RecordingHost&) = delete;
    ~RecordingHost();

    /// A vehicle in the state [created].
    VehicleHost& create(const std::string& name);
    /// A new vehicle: declared and rigged.
    VehicleHost& addVehicle(const std::string& name);
    /// Releases `vehicle` and puts a new one of the same name in its place, which finds the elements of the old one and
    /// has its saved block: declared, not yet loaded. The old reference is dead.
    VehicleHost& replace(VehicleHost& vehicle);
    /// Releases the vehicle and takes its elements out of the scene.
    void removeVehicle(VehicleHost& vehicle);

    void startRun(int frame, bool recorded = true);
    /// The next `frames` frames of the run.
    void advance(int frames);
    void stopRun();
    /// startRun() at `from`, all frames to `to`, stopRun().
    void run(int from, int to, bool recorded = true);
    /// The timeline shows `frame`.
    void show(int frame);

    /// Complaints of all vehicles, and what they did not give back; empty when all is well.
    [[nodiscard]] std::vector<std::string> complaints() const;

    ovs::CCameraPlugin* plugin;
    Scene scene;
    UndoStack undo;
    std::vector<std::unique_ptr<VehicleHost>> vehicles;  ///< in the order in which frames come to them

  private:
    bool m_recorded = false;
    std::shared_ptr<std::vector<Track>> m_tracksBefore;
};

}  // namespace ond::test

// A vehicle that keeps the contract: a sledge that is pushed along the ground. Unless the module is told to misbehave.
#pragma once

#include <string>

#include "ond/ovs/CCamera.h"
#include "ond/ovs/CInterface.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/TransformObject.h"
#include "ond/unidevice/Property.h"
#include "ond/util/AVar.h"
#include "ond/util/Matrix4.h"

namespace ond::test {

/// Extension of a vehicle: stores the value of the output channel that is the argument.
inline constexpr std::uint32_t kStoreOutput = 40;

/// Vehicles that live.
[[nodiscard]] int numberOfVehicles();

class GoodVehicle final : public ovs::CCamera, public ovs::CInterface::Callback {
  public:
    /// Vehicles that are in a run.
    static inline int s_running = 0;

    explicit GoodVehicle(const ovs::CameraCreationRecord& record);
    ~GoodVehicle() override { leaveList(); }

    std::uint64_t callExtension(std::uint32_t id, void* argument) override;
    [[nodiscard]] std::vector<std::uint32_t> getExtensionIds() const override;
    [[nodiscard]] bool hasExtension(std::uint32_t id) const override;

    // Declaration and rig: GoodVehicle.cpp.
    std::uint64_t declareParameters() override;
    std::uint64_t createRig() override;
    void release() override;

    // Runs and events: GoodVehicleRun.cpp.
    void startRun(double time) override;
    void updateFrame(double time) override;
    void showFrame(double time) override;
    void stopRun(double time) override;
    void onParameterChanged(std::string label) override;

    // The saved block: GoodVehicleState.cpp.
    std::uint64_t loadState() override;
    std::uint64_t saveState() override;

  private:
    void declareChannels();
    void declareDriving();
    void declareLooks();
    void makeElements();
    void misuseServicesInRig();
    void dress(ovs::MeshHandle* element, float red, float green, float blue);
    bool bindElements();

    void pushHistories();
    void settle(double time);
    void drive(double time);
    void placeBody(double time, const util::Matrix4& world);
    void spinWheel(double time);
    /// Height of the ground below the place; the place's own where there is none.
    double groundBelow(const util::Vector3<double>& place, double time);
    bool heightOn(ovs::MeshHandle* ground, double time, util::Vector3<double> place, double* height);
    void lookAtGround(double time);
    void tell(const char* text);
    void misuseServicesInFrame(double time);
    void react(const std::string& label, bool hides);
    void store();
    bool readBlock(const void* block);
    [[nodiscard]] double speedAt(double time) const;

    // For misbehaviour only: GoodVehicleMisuse.cpp.
    void enterList();
    void leaveList();
    void minglesWithOthers();
    void misuseElementsInRig();
    void misuseChannels();
    void misuseGround(double time);
    void trustGround(double time);
    void goTooFar(double gas, double time);
    [[nodiscard]] bool bearsBlock(const void* block) const;

    [[nodiscard]] util::Matrix4 worldOf(ovs::MeshHandle* element, double time);

    // What a user sets.
    std::int32_t m_gear = 1;
    double m_topSpeed = 10.0;  ///< units per second
    bool m_bKeepsHistory = true;
    bool m_bHidesArrow = false;
    double m_speedGauge = 0.0;

    // What a run keeps.
    util::AVar_Linear<double> m_speeds;
    util::AVar_Linear<double> m_turns;
    double m_startTime = 0.0;
    bool m_bFresh = true;
    bool m_bRunning = false;
    double m_speed = 0.0;
    double m_turned = 0.0;
    util::Matrix4 m_place;

    ovs::MeshHandle* m_body = nullptr;
    ovs::MeshHandle* m_wheel = nullptr;
    ovs::MeshHandle* m_arrow = nullptr;
    ovs::MeshHandle* m_camera = nullptr;
    unidevice::Property* m_gas = nullptr;
    unidevice::Property* m_steering = nullptr;
    unidevice::Property* m_output = nullptr;

    // For misbehaviour only.
    char m_label[32] = {};
    bool m_bHadParent = false;
    ovs::TransformObject* m_kept = nullptr;
    const ovs::CameraCreationRecord* m_record = nullptr;
    const void* m_keptBlock = nullptr;
    int m_runs = 0;
    int m_others = 0;
    int m_framesOfRun = 0;
    ovs::MeshHandle* m_ground = nullptr;
    /// As the one that all share, but gone with the vehicle.
    struct OwnFactory final {
        virtual unidevice::Property* create(std::string channel, std::int32_t type);
    } m_channels;
};

}  // namespace ond::test

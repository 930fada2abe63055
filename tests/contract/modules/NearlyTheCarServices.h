// What stands between the vehicle's own module and its host, for NearlyTheCar.cpp: passes everything on, but for one
// thing that the file name of the module tells.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "Misbehaviour.h"
#include "NearlyTheCarMoves.h"
#include "PassedOnServices.h"
#include "ond/ovs/CUndo.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/TransformObject.h"
#include "ond/util/Matrix4.h"

namespace ond::test {

/// Where a call of the host into the object is.
enum class During { nothing, declaring, rig, start, frame, stop, showing, event, saving, loading };

class CarServices final : public PassedOnServices {
  public:
    using Callback = ovs::CInterface::Callback;

    /// Hears of the rows in place of the car, and passes it on.
    class Listener final : public Callback {
      public:
        Listener(CarServices& services, Callback* inner) : m_services(services), m_inner(inner) {}
        void onParameterChanged(std::string label) override { m_services.hear(*m_inner, label); }
        [[nodiscard]] Callback* inner() const { return m_inner; }

      private:
        CarServices& m_services;
        Callback* m_inner;
    };

    // The host's services, passed on.
    void* callExtension(std::uint32_t id, void* argument) override;
    void pushUndo(ovs::CUndo* record, std::int32_t reserved) override;
    unidevice::Property* createInputProperty(std::string name, std::uint32_t type, Factory* factory) override;
    void endInputProperties() override;
    void endParameters() override;
    void beginGroup(std::string title, std::string description) override;
    void addIntParameter(std::string label, std::string description, std::int32_t* field, std::int32_t min,
                         std::int32_t max, std::int32_t step, std::int32_t hint, bool flag,
                         const Converter<std::int32_t>* converter, Callback* callback) override;
    void addDoubleParameter(std::string label, std::string description, double* field, double min, double max,
                            double step, std::int32_t hint, bool flag, const Converter<double>* converter,
                            Callback* callback) override;
    void addBoolParameter(std::string label, std::string description, bool* field, Callback* callback) override;
    void addButton(std::string label, std::string description, Callback* callback) override;
    void refreshDialog() override;
    void redrawViews() override;
    void messageBox(std::string text, std::string caption, std::int32_t reserved) override;
    void storeChunk(const void* data, std::uint64_t length) override;
    const void* getChunk(std::int32_t reserved) override;
    ovs::MeshHandle* findElement(std::string identifier) override;
    ovs::MeshHandle* createMeshElement(std::string name, ovs::MeshHandle* parent, const util::CMesh* mesh,
                                       std::int32_t reserved) override;
    ovs::MeshHandle* createCameraElement(std::string name, ovs::MeshHandle* parent, bool reserved) override;
    void releaseElementData(ovs::MeshHandle* element) override;
    ovs::TransformObject* getTransformObject(ovs::MeshHandle* element, double time) override;
    void releaseTransformObject(ovs::TransformObject* transform) override;
    ovs::SurfaceObject* getSurfaceObject(ovs::MeshHandle* element, double time) override;
    double getFrameStep() override;

    // What the module does of its own before a call and behind it.
    void beforeStart();
    void beforeFrame();
    void behindRig();
    void behindStart();
    void behindFrame(double time);
    void behindStop();
    void behindShowing(double time);
    [[nodiscard]] std::uint64_t behindLoading(std::uint64_t answer);
    void behindOutput(void* channel);
    [[nodiscard]] bool hasOutput(void* channel) const;
    void moveBody(double time, double by);
    /// What the host shows in place of `time`.
    [[nodiscard]] double shownTime(double time) const;

    During during = During::nothing;

  private:
    void hear(Callback& inner, const std::string& label);
    void behindEvent(const std::string& label);
    [[nodiscard]] Callback* listen(Callback* callback);
    [[nodiscard]] double& number(const std::string& label) { return *m_numbers.at(label); }
    [[nodiscard]] bool& flag(const std::string& label) { return *m_flags.at(label); }
    void dress(const char* element, float red, bool wireframe);
    void widenLens();
    void moveCamera();
    void hold(const char* label, double value);
    void takeRowsOfTheStart();
    void loseGrip();
    void changeOutputs();

    std::vector<unidevice::Property*> m_channels;
    std::vector<unidevice::Property*> m_outputs;
    std::map<std::string, ovs::MeshHandle*> m_elements;
    std::map<std::string, double*> m_numbers;
    std::map<std::string, bool*> m_flags;
    std::deque<Listener> m_listeners;
    Callback* m_callback = nullptr;
    std::vector<unsigned char> m_block;
    ovs::CUndo* m_late = nullptr;
    bool m_bTurnBaseHeard = false;
    bool m_bSpoke = false;
    int m_pushed = 0;
    double m_lastTime = 0.0;
    double m_lastSpeed = 0.0;
    int m_frames = 0;                             ///< of the run
    std::map<std::string, double> m_rowsOfStart;  ///< or, when a frame is over, what was in their place
    std::map<std::string, double> m_held;         ///< rows that are otherwise during a frame, as they were
    std::vector<double> m_lastOutputs;
    CarMoves m_moves;
    std::deque<MisplacingTransform> m_misplacing;  ///< of the frame
};

}  // namespace ond::test

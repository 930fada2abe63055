// Implementations of every contract class that note which of their operations ran, with which arguments.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "contract/RawTable.h"
#include "ond/ovs/AppearanceObject.h"
#include "ond/ovs/CCamera.h"
#include "ond/ovs/CCameraPlugin.h"
#include "ond/ovs/CInterface.h"
#include "ond/ovs/CUndo.h"
#include "ond/ovs/CameraObject.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/ovs/TransformObject.h"

namespace contract {

using namespace ond::ovs;
using ond::util::Matrix4;

/// An address to be handed around and never looked at.
template <typename T>
T* mark(std::uintptr_t number) {
    return reinterpret_cast<T*>(number);
}

class RecordingPlugin : public CCameraPlugin {
  public:
    explicit RecordingPlugin(CallLog& l) : log(l) {}
    std::uint64_t callExtension(std::uint32_t id, void* argument) override {
        log.note("callExtension", id, argument);
        return 0x1122334455667788u;
    }
    std::vector<std::uint32_t> getExtensionIds() const override {
        log.note("getExtensionIds");
        return {7, 8};
    }
    bool hasExtension(std::uint32_t id) const override {
        log.note("hasExtension", id);
        return true;
    }
    CCamera* createCamera(const CameraCreationRecord& record) override {
        log.note("createCamera", &record);
        return mark<CCamera>(0x3300);
    }
    std::string getPluginName() const override { return say("getPluginName"); }
    std::string getTypeName() const override { return say("getTypeName"); }
    std::string getDisplayName() const override { return say("getDisplayName"); }
    std::string getCategory() const override { return say("getCategory"); }
    std::string getDescription() const override { return say("getDescription"); }
    std::string getAuthor() const override { return say("getAuthor"); }
    std::string getAccessToken() const override { return say("getAccessToken"); }
    std::vector<std::string> getDependencyList() const override { return {say("getDependencyList")}; }
    bool queryStatus(PluginStatus* status) const override {
        log.note("queryStatus", status);
        return true;
    }
    std::uint64_t getInterfaceStamp() const override {
        log.note("getInterfaceStamp");
        return 0x8877665544332211u;
    }
    void release() override { log.note("release"); }
    ~RecordingPlugin() override { log.note("destructor"); }

  private:
    std::string say(const char* name) const {
        log.note(name);
        return std::string("a text too long to be kept in place by ") + name;
    }
    CallLog& log;
};

class RecordingCamera : public CCamera, public CInterface::Callback {
  public:
    RecordingCamera(const CameraCreationRecord& record, CallLog& l) : CCamera(record), log(l) {}
    std::uint64_t callExtension(std::uint32_t id, void* argument) override {
        log.note("callExtension", id, argument);
        return 5;
    }
    std::vector<std::uint32_t> getExtensionIds() const override {
        log.note("getExtensionIds");
        return {40};
    }
    bool hasExtension(std::uint32_t id) const override {
        log.note("hasExtension", id);
        return true;
    }
    void startRun(double time) override { log.note("startRun", time); }
    void stopRun(double time) override { log.note("stopRun", time); }
    void updateFrame(double time) override { log.note("updateFrame", time); }
    void showFrame(double time) override { log.note("showFrame", time); }
    std::uint64_t declareParameters() override { return answer("declareParameters", 7); }
    std::uint64_t createRig() override { return answer("createRig", 8); }
    std::uint64_t loadState() override { return answer("loadState", 9); }
    std::uint64_t saveState() override { return answer("saveState", 10); }
    void release() override { log.note("release"); }
    ~RecordingCamera() override { log.note("destructor"); }

    void onParameterChanged(std::string label) override { log.note("onParameterChanged", label); }
    void reserved1(std::uintptr_t value) override { log.note("reserved1", value); }
    void reserved2(std::uintptr_t value) override { log.note("reserved2", value); }

  private:
    std::uint64_t answer(const char* operation, std::uint64_t result) {
        log.note(operation);
        return result;
    }
    CallLog& log;
};

class RecordingInterface : public CInterface {
  public:
    explicit RecordingInterface(CallLog& l) : log(l) {}
    void* callExtension(std::uint32_t id, void* argument) override {
        log.note("callExtension", id, argument);
        return mark<void>(0x100);
    }
    void reserved1() override { log.note("reserved1"); }
    bool hasExtension(std::uint32_t id) override {
        log.note("hasExtension", id);
        return true;
    }
    void pushUndo(CUndo* record, std::int32_t zero) override { log.note("pushUndo", record, zero); }
    ond::unidevice::Property* createInputProperty(std::string name, std::uint32_t type,
                                                  ond::unidevice::Property::Factory* factory) override {
        log.note("createInputProperty", name, type, factory);
        return mark<ond::unidevice::Property>(0x104);
    }
    void reserved5() override { log.note("reserved5"); }
    void endInputProperties() override { log.note("endInputProperties"); }
    void endParameters() override { log.note("endParameters"); }
    void beginGroup(std::string title, std::string description) override { log.note("beginGroup", title, description); }
    void endGroup() override { log.note("endGroup"); }
    void addIntParameter(std::string label, std::string description, std::int32_t* field, std::int32_t min,
                         std::int32_t max, std::int32_t step, std::int32_t hint, bool flag,
                         const CS::Converter<std::int32_t>* converter, Callback* callback) override {
        log.note("addIntParameter", label, description, field, min, max, step, hint, flag, converter, callback);
    }
    void addDoubleParameter(std::string label, std::string description, double* field, double min, double max,
                            double step, std::int32_t hint, bool flag, const CS::Converter<double>* converter,
                            Callback* callback) override {
        log.note("addDoubleParameter", label, description, field, min, max, step, hint, flag, converter, callback);
    }
    void addBoolParameter(std::string label, std::string description, bool* field, Callback* callback) override {
        log.note("addBoolParameter", label, description, field, callback);
    }
    void reserved13() override { log.note("reserved13"); }
    void reserved14() override { log.note("reserved14"); }
    void addButton(std::string label, std::string description, Callback* callback) override {
        log.note("addButton", label, description, callback);
    }
    void reserved16() override { log.note("reserved16"); }
    void refreshDialog() override { log.note("refreshDialog"); }
    void reserved18() override { log.note("reserved18"); }
    void reserved19() override { log.note("reserved19"); }
    void storeChunk(const void* data, std::uint64_t length) override { log.note("storeChunk", data, length); }
    const void* getChunk(std::int32_t zero) override {
        log.note("getChunk", zero);
        return mark<void>(0x121);
    }
    void reserved22() override { log.note("reserved22"); }
    void deleteElement(MeshHandle* element, std::int32_t zero1, std::int32_t zero2) override {
        log.note("deleteElement", element, zero1, zero2);
    }
    MeshHandle* findElement(std::string identifier) override {
        log.note("findElement", identifier);
        return mark<MeshHandle>(0x124);
    }
    MeshHandle* createCameraElement(std::string name, MeshHandle* parent, bool no) override {
        log.note("createCameraElement", name, parent, no);
        return mark<MeshHandle>(0x125);
    }
    MeshHandle* createMeshElement(std::string name, MeshHandle* parent, const ond::util::CMesh* mesh,
                                  std::int32_t zero) override {
        log.note("createMeshElement", name, parent, static_cast<const void*>(mesh), zero);
        return mark<MeshHandle>(0x126);
    }
    void reserved27() override { log.note("reserved27"); }
    TransformObject* getTransformObject(MeshHandle* element, double time) override {
        log.note("getTransformObject", element, time);
        return mark<TransformObject>(0x128);
    }
    AppearanceObject* getAppearanceObject(MeshHandle* element) override {
        log.note("getAppearanceObject", element);
        return mark<AppearanceObject>(0x129);
    }
    SurfaceObject* getSurfaceObject(MeshHandle* element, double time) override {
        log.note("getSurfaceObject", element, time);
        return mark<SurfaceObject>(0x130);
    }
    CameraObject* getCameraObject(MeshHandle* element, double time) override {
        log.note("getCameraObject", element, time);
        return mark<CameraObject>(0x131);
    }
    void releaseElementData(MeshHandle* element) override { log.note("releaseElementData", element); }
    void releaseCameraObject(CameraObject* object) override { log.note("releaseCameraObject", object); }
    void releaseSurfaceObject(SurfaceObject* object) override { log.note("releaseSurfaceObject", object); }
    void releaseAppearanceObject(AppearanceObject* object) override { log.note("releaseAppearanceObject", object); }
    void releaseTransformObject(TransformObject* object) override { log.note("releaseTransformObject", object); }
    double getCurrentTime() override {
        log.note("getCurrentTime");
        return 37.5;
    }
    void reserved38() override { log.note("reserved38"); }
    double getFrameStep() override {
        log.note("getFrameStep");
        return 39.5;
    }
    void redrawViews() override { log.note("redrawViews"); }
    void messageBox(std::string text, std::string caption, std::int32_t zero) override {
        log.note("messageBox", text, caption, zero);
    }
    ~RecordingInterface() override { log.note("destructor"); }

  private:
    CallLog& log;
};

class RecordingMeshHandle : public MeshHandle {
  public:
    explicit RecordingMeshHandle(CallLog& l) : log(l) {}
    void* callExtension(std::uint32_t id, void* argument) override {
        log.note("callExtension", id, argument);
        return mark<void>(0x200);
    }
    void reserved1() override { log.note("reserved1"); }
    bool hasExtension(std::uint32_t id) override {
        log.note("hasExtension", id);
        return true;
    }
    void show() override { log.note("show"); }
    void hide() override { log.note("hide"); }
    bool isShown() override {
        log.note("isShown");
        return true;
    }
    void rigBuilt() override { log.note("rigBuilt"); }
    void reserved7() override { log.note("reserved7"); }
    MeshHandle* getParent() override {
        log.note("getParent");
        return mark<MeshHandle>(0x208);
    }
    std::int32_t getNumChildren() override {
        log.note("getNumChildren");
        return 9;
    }
    MeshHandle* getChild(std::int32_t index) override {
        log.note("getChild", index);
        return mark<MeshHandle>(0x210);
    }
    void releaseHandle(MeshHandle* handle) override { log.note("releaseHandle", handle); }
    std::string getName() override {
        log.note("getName");
        return "a name that is too long to be kept in place";
    }
    ~RecordingMeshHandle() override { log.note("destructor"); }

  private:
    CallLog& log;
};

class RecordingTransform : public TransformObject {
  public:
    explicit RecordingTransform(CallLog& l) : log(l) {}
    void reserved0() override { log.note("reserved0"); }
    void reserved1() override { log.note("reserved1"); }
    void reserved2() override { log.note("reserved2"); }
    void readLocalMatrix(Matrix4& out) override { log.note("readLocalMatrix", &out); }
    void setLocalMatrix(const Matrix4& matrix) override { log.note("setLocalMatrix", &matrix); }
    void readWorldMatrix(Matrix4& out) override { log.note("readWorldMatrix", &out); }
    void setWorldMatrix(const Matrix4& matrix) override { log.note("setWorldMatrix", &matrix); }
    ~RecordingTransform() override { log.note("destructor"); }

  private:
    CallLog& log;
};

class RecordingAppearance : public AppearanceObject {
  public:
    explicit RecordingAppearance(CallLog& l) : log(l) {}
    void reserved0() override { log.note("reserved0"); }
    void reserved1() override { log.note("reserved1"); }
    void reserved2() override { log.note("reserved2"); }
    void reserved3() override { log.note("reserved3"); }
    void useOwnColour(bool on) override { log.note("useOwnColour", on); }
    void setWireframe(bool on) override { log.note("setWireframe", on); }
    void setColour(float red, float green, float blue) override { log.note("setColour", red, green, blue); }
    ~RecordingAppearance() override { log.note("destructor"); }

  private:
    CallLog& log;
};

class RecordingSurface : public SurfaceObject {
  public:
    explicit RecordingSurface(CallLog& l) : log(l) {}
    void reserved0() override { log.note("reserved0"); }
    void reserved1() override { log.note("reserved1"); }
    void reserved2() override { log.note("reserved2"); }
    void reserved3() override { log.note("reserved3"); }
    void getMesh(ond::util::CMesh& out) override { log.note("getMesh", static_cast<const void*>(&out)); }
    bool intersect(const ond::util::Vector3<double>& origin, const ond::util::Vector3<double>& direction, double* t,
                   ond::util::Vector3<double>* normal) override {
        log.note("intersect", &origin, &direction, t, normal);
        return true;
    }
    ~RecordingSurface() override { log.note("destructor"); }

  private:
    CallLog& log;
};

class RecordingCameraObject : public CameraObject {
  public:
    explicit RecordingCameraObject(CallLog& l) : log(l) {}
    void reserved0() override { log.note("reserved0"); }
    void reserved1() override { log.note("reserved1"); }
    void reserved2() override { log.note("reserved2"); }
    void reserved3() override { log.note("reserved3"); }
    void setFieldOfView(double degrees) override { log.note("setFieldOfView", degrees); }
    ~RecordingCameraObject() override { log.note("destructor"); }

  private:
    CallLog& log;
};

class RecordingUndo : public CUndo {
  public:
    RecordingUndo(void* changed, CallLog& l) : CUndo(changed), log(l) {}
    void undo(bool firstTime) override { log.note("undo", firstTime); }
    void redo() override { log.note("redo"); }
    void release() override { log.note("release"); }
    ~RecordingUndo() override { log.note("destructor"); }

  private:
    CallLog& log;
};

}  // namespace contract

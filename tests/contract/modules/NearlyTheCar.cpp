// A module that passes everything on to the vehicle's own module and back, but for one thing that its file name tells.
#include <dlfcn.h>

#include <memory>
#include <string>
#include <vector>

#include "NearlyTheCarServices.h"
#include "ond/ovs/CCamera.h"
#include "ond/ovs/CCameraPlugin.h"

namespace ond::test {

namespace {

/// Passes on what the host calls. What the dialog tells goes through the services.
class Car final : public ovs::CCamera {
  public:
    Car(const ovs::CameraCreationRecord& record, ovs::CCamera* inner) : CCamera(record), m_inner(inner) {}

    std::uint64_t callExtension(std::uint32_t id, void* argument) override {
        if (am("car-that-stores-no-outputs")) return 0;
        const std::uint64_t answer = inner().callExtension(id, argument);
        if (id == 40 && hostInterface != nullptr && isOwnOutput(argument)) m_services.behindOutput(argument);
        return answer;
    }
    std::vector<std::uint32_t> getExtensionIds() const override {
        return am("car-with-another-extension") ? std::vector<std::uint32_t>{40, 41} : m_inner->getExtensionIds();
    }
    void startRun(double time) override {
        m_services.beforeStart();
        in(During::start, [&] { m_inner->startRun(time); });
        m_services.behindStart();
    }
    void stopRun(double time) override {
        in(During::stop, [&] { m_inner->stopRun(time); });
        m_services.behindStop();
    }
    void updateFrame(double time) override {
        m_services.beforeFrame();
        in(During::frame, [&] { m_inner->updateFrame(time); });
        m_services.behindFrame(time);
    }
    void showFrame(double time) override {
        if (!am("car-that-shows-no-gauges"))
            in(During::showing, [&] { m_inner->showFrame(m_services.shownTime(time)); });
        m_services.behindShowing(time);
    }
    std::uint64_t declareParameters() override {
        std::uint64_t answer = 0;
        in(During::declaring, [&] { answer = m_inner->declareParameters(); });
        return answer;
    }
    std::uint64_t createRig() override {
        std::uint64_t answer = 0;
        in(During::rig, [&] { answer = m_inner->createRig(); });
        m_services.behindRig();
        return answer;
    }
    std::uint64_t loadState() override {
        std::uint64_t answer = 0;
        in(During::loading, [&] { answer = m_inner->loadState(); });
        return m_services.behindLoading(answer);
    }
    std::uint64_t saveState() override {
        std::uint64_t answer = 0;
        in(During::saving, [&] { answer = m_inner->saveState(); });
        return answer;
    }
    void release() override {
        inner().release();
        delete this;
    }

  private:
    ovs::CCamera& inner() {
        if (hostInterface != nullptr) {
            m_services.follow(hostInterface);
            m_inner->hostInterface = &m_services;
        }
        return *m_inner;
    }
    template <typename Work>
    void in(During during, Work work) {
        inner();
        m_services.during = during;
        work();
        m_services.during = During::nothing;
    }
    [[nodiscard]] bool isOwnOutput(void* channel) const { return m_services.hasOutput(channel); }

    ovs::CCamera* m_inner;
    CarServices m_services;
};

class CarPlugin final : public ovs::CCameraPlugin {
  public:
    explicit CarPlugin(ovs::CCameraPlugin* inner) : m_inner(inner) {}

    std::uint64_t callExtension(std::uint32_t id, void* argument) override {
        const std::uint64_t answer = m_inner->callExtension(id, argument);
        if (am("car-of-two-types") && id == 16 && argument != nullptr)
            static_cast<std::vector<std::string>*>(argument)->emplace_back("QuadrigTruck");
        return answer;
    }
    std::vector<std::uint32_t> getExtensionIds() const override { return m_inner->getExtensionIds(); }
    ovs::CCamera* createCamera(const ovs::CameraCreationRecord& record) override {
        return new Car(record, m_inner->createCamera(record));
    }
    std::string getPluginName() const override { return m_inner->getPluginName(); }
    std::string getTypeName() const override {
        return am("car-without-type-name") ? getPluginName() : m_inner->getTypeName();
    }
    std::string getDisplayName() const override { return m_inner->getDisplayName(); }
    std::string getCategory() const override { return m_inner->getCategory(); }
    std::string getDescription() const override {
        const std::string text = m_inner->getDescription();
        return am("car-described-in-short") ? text.substr(0, text.find('.') + 1) : text;
    }
    std::string getAuthor() const override { return am("car-without-author") ? "" : m_inner->getAuthor(); }
    std::vector<std::string> getDependencyList() const override {
        return am("car-that-depends") ? std::vector<std::string>{"Bullet"} : m_inner->getDependencyList();
    }
    std::string getAccessToken() const override { return m_inner->getAccessToken(); }
    std::uint64_t getInterfaceStamp() const override { return m_inner->getInterfaceStamp(); }
    void release() override {
        m_inner->release();
        delete this;
    }

  private:
    ovs::CCameraPlugin* m_inner;
};

}  // namespace

}  // namespace ond::test

extern "C" {

__attribute__((visibility("default"))) std::uint32_t getVersion() { return 250; }

__attribute__((visibility("default"))) ond::ovs::CCameraPlugin* getPlugin(std::uint32_t index) {
    static void* const library = dlopen(VEHICLE_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) return nullptr;
    using Get = ond::ovs::CCameraPlugin*(std::uint32_t);
    ond::ovs::CCameraPlugin* inner = reinterpret_cast<Get*>(dlsym(library, "getPlugin"))(index);
    return inner == nullptr ? nullptr : new ond::test::CarPlugin(inner);
}

}  // extern "C"

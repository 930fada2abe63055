// Access to the lens of a camera element at one time.
#pragma once

namespace ond::ovs {

/// Camera of the element and time that CInterface::getCameraObject() was asked for. Implemented and owned by the host;
/// valid until CInterface::releaseCameraObject(), which the caller owes within the same function.
class CameraObject {
  public:
    CameraObject() = default;
    CameraObject(const CameraObject&) = delete;
    CameraObject& operator=(const CameraObject&) = delete;

    // Slots 0 to 3.
    virtual void reserved0() {}
    virtual void reserved1() {}
    virtual void reserved2() {}
    virtual void reserved3() {}

    // Slot 4.
    /// [declared, rigged, running] Opening angle of the picture; `degrees` is above 0 and below 180.
    virtual void setFieldOfView(double degrees) = 0;

    // Slot 5, the last place: nothing virtual may be declared behind it.
    /// For the host only.
    virtual ~CameraObject() = default;
};

}  // namespace ond::ovs

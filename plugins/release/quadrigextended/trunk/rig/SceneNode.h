// What the nodes of a rig have in common: each stands for one element of the scene and remembers where it was.
#pragma once

#include <cstdint>
#include <string>

#include "ond/ovs/MeshHandle.h"
#include "ond/util/CMesh.h"
#include "ond/util/Matrix4.h"
#include "ond/util/QTransform.h"
#include "ond/util/Vector3.h"

namespace ond::ovs::addon {

class CCarCamObject;

namespace rig {

using util::Matrix4;
using util::QTransform;
using util::Vector3;

/// A node holds no state of the simulation beyond the fields below. What it shows it takes out of the vehicle's car
/// record. Copying a node copies the handle: both then stand for the same element.
///
/// All matrices are in scene units, with the scale in the length of the axes; row 1 points up, row 3 is the position.
/// Without an element every read gives the identity and every write does nothing.
class SceneNode {
  public:
    // What each frame reads stands at the front.
    CCarCamObject* parent = nullptr;  ///< the vehicle, whose constructor sets this; not owned
    MeshHandle* pMesh = nullptr;      ///< the element; owned by the host; null until made or bound, and after destroy()
    Vector3<double> vInitScale{1.0, 1.0, 1.0};  ///< Scale() of mInit
    Matrix4 mPrev;                              ///< mCurr of the frame before
    Matrix4 mCurr;                              ///< world matrix, as this frame has made it
    Matrix4 mPrev2;                             ///< two frames ago; only wheels shift it
    Matrix4 mInit;                              ///< world matrix, as a run found it
    std::string sName;                          ///< what the element is created as, without the vehicle's name

    /// Makes the element. Answers whether it did; the wheel family is made by createAtCorner() instead.
    virtual bool create() { return false; }
    /// Has the host delete the element and forgets the handle. Answers true.
    virtual bool destroy();
    /// One frame of a run. The answer is not read.
    virtual int update(double time);
    /// Called by prepareNode() before it reads the element.
    virtual void onPrepareBegin(double time);
    /// Called by prepareNode() when the matrices are filled.
    virtual void onPrepareEnd(double time);
    virtual void show();
    virtual void hide();
    [[nodiscard]] virtual bool isShown();
    virtual void setWireframe(bool wireframe);

  protected:
    explicit SceneNode(std::string name) : sName(std::move(name)) {}
    SceneNode(const SceneNode&) = default;
    SceneNode& operator=(const SceneNode&) = default;
    ~SceneNode() = default;
};

/// Asks the host for a world matrix; answers the identity for a node without element.
void readWorldMatrix(const SceneNode& node, Matrix4& out, double time);
[[nodiscard]] Matrix4 readWorldMatrix(const SceneNode& node, double time);

/// The same for a local matrix.
[[nodiscard]] Matrix4 readLocalMatrix(const SceneNode& node, double time);

/// Hands a world matrix to the host, which keys it when recording. Gives 0, or 1 without an element.
int writeWorldMatrix(const SceneNode& node, const Matrix4& matrix, double time);

/// The same for a local matrix.
int writeLocalMatrix(const SceneNode& node, const Matrix4& matrix, double time);

/// Fills the node's matrices from the scene for a run that starts at `time`: mInit, vInitScale, mPrev (one frame
/// earlier) and mCurr, the latter two with the axis lengths of mInit.
void prepareNode(SceneNode& node, double time);

/// Name suffix of a corner: "_FL", "_FR", "_BL", "_BR", and nothing for any other number.
[[nodiscard]] std::string cornerSuffix(std::uint32_t corner);

/// How a helper element looks when it is made.
struct Colour {
    float red;
    float green;
    float blue;
};
/// A colour from bytes, each divided by 255 in single precision.
[[nodiscard]] constexpr Colour colourFromBytes(int red, int green, int blue) {
    return {static_cast<float>(red) / 255.0f, static_cast<float>(green) / 255.0f, static_cast<float>(blue) / 255.0f};
}

/// Gives the element a colour of its own and says whether it is shown as wireframe.
void setAppearance(const SceneNode& node, const Colour& colour, bool wireframe);

}  // namespace rig
}  // namespace ond::ovs::addon

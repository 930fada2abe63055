// The elements of a scene, their transforms over time, and what a run writes into them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ond/util/CMesh.h"
#include "stage/Clock.h"
#include "stage/MeshSurface.h"
#include "stage/Track.h"

namespace ond::stage {

/// What an element offers as a surface.
enum class SurfaceKind {
    none,         ///< an empty, a camera, a curve: no surface object
    mesh,         ///< its shape
    unsupported,  ///< a surface object that gives no mesh and that no ray hits
};

struct Element {
    std::string name;        ///< in the scene
    std::string identifier;  ///< bare name within the vehicle that made it; empty for content of the user
    std::string vehicle;     ///< name of that vehicle; empty for content of the user
    Element* parent = nullptr;
    std::vector<Element*> children;  ///< in order
    Track track;                     ///< local matrix
    bool deleted = false;
    std::size_t index = 0;  ///< in Scene::elements

    /// Where a deleted element hung, for Scene::revive().
    struct FormerPlace {
        Element* parent = nullptr;
        std::size_t place = 0;  ///< among its parent's children
        std::vector<Element*> children;
    } former;

    bool shown = true;
    bool ownColour = false;
    bool wireframe = false;
    float colour[3] = {0, 0, 0};

    bool isCamera = false;
    double fieldOfView = 0.0;  ///< degrees

    SurfaceKind surface = SurfaceKind::none;
    util::CMesh shape;  ///< in local coordinates; after a change call Scene::setShape()
    std::shared_ptr<const MeshSurface> rays;

    bool placedByUser = false;  ///< marked through extension 17 or 57: runs leave it alone
    bool selected = false;      ///< marked through slot 6
};

class Scene {
  public:
    explicit Scene(FrameRate rate) : clock(rate) {}

    Clock clock;
    std::vector<std::unique_ptr<Element>> elements;  ///< in the order of making, deleted ones too

    /// A new element with identity pose, shown.
    Element& add(const std::string& name, Element* parent = nullptr);
    /// A new element of the user that shows and offers `mesh`.
    Element& addMesh(const std::string& name, const util::CMesh& mesh, Element* parent = nullptr);
    void setShape(Element& element, const util::CMesh& mesh);
    /// Moves the element below `parent`, as its last child; the local matrices stay.
    /// @throws StageError if `parent` is the element or hangs below it
    void reparent(Element& element, Element* parent);
    /// Copies of the living elements of a vehicle, as elements of a vehicle of the name `copy`. Among each other they
    /// hang as the originals do; what hangs below something else, does so as its last child.
    void copyElements(const std::string& vehicle, const std::string& copy);
    /// As a user deletes it: children move to the root and keep their local matrices.
    void remove(Element& element);
    /// Brings a deleted element back to where it hung, with its children: to the root if its parent is deleted or now
    /// hangs below it, and without the children that hang elsewhere by now.
    void revive(Element& element);

    [[nodiscard]] Element* find(const std::string& sceneName) const;
    /// The living element that the vehicle made under this bare name.
    [[nodiscard]] Element* find(const std::string& vehicle, const std::string& identifier) const;
    [[nodiscard]] static bool isBelow(const Element* element, const Element* ancestor);

    [[nodiscard]] util::Matrix4 local(const Element& element, double time) const;
    [[nodiscard]] util::Matrix4 world(const Element& element, double time) const;
    /// Outside of a run: the constant pose, or the key at `time` of an element that has keys.
    /// In a frame of a run: a key at `time`, see beginFrame(); nothing for an element that the user places.
    void setLocal(Element& element, double time, const util::Matrix4& local);
    void setWorld(Element& element, double time, const util::Matrix4& world);
    /// A key of the user's own animation.
    void setUserKey(Element& element, int frame, const util::Matrix4& local);

    // A run writes into the tracks and reads them back, recorded or not.

    /// From now on sets make keys. `start` is the run's first frame: an element that has no key up to it keeps its pose
    /// there by a key, once it is written.
    void beginRun(int start);
    /// The frame that is written now. A set at its time removes the keys of older passes since the frame before.
    void beginFrame(int frame);
    /// Recorded: written elements lose their keys behind the last frame. Not recorded: their tracks become what they
    /// were at beginRun().
    void endRun(bool recorded);
    [[nodiscard]] bool isRunning() const { return m_running; }
    /// Whether the present run wrote the element, or the last one.
    [[nodiscard]] bool wrote(std::size_t element) const { return element < m_written.size() && m_written[element]; }

    /// All tracks, for the undo of a run.
    [[nodiscard]] std::vector<Track> tracks() const;

  private:
    void write(Element& element, double time, const util::Matrix4& local);

    bool m_running = false;
    int m_start = 0;
    long m_pass = 0;
    std::vector<Track> m_before;
    std::vector<bool> m_written;
};

}  // namespace ond::stage

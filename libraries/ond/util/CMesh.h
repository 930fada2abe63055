// Triangle mesh: the shape of an element that a module makes in a scene, and the form of a stored ground.
//
// Lengths in scene units, +Y up. Index lists are flat, three entries per triangle. No index is ever checked against the
// number of vertices: whoever walks the faces of a mesh from outside checks them.
#pragma once

#include <vector>

#include "ond/util/Matrix4.h"
#include "ond/util/Vector3.h"
#include "ond/util/xml/Element.h"

namespace ond::util {

class CMesh {
  public:
    /// Positions.
    std::vector<Vector3<double>> vertices;
    /// Texture coordinates, three numbers each.
    std::vector<Vector3<double>> texCoords;
    /// Three indices into `vertices` per triangle.
    std::vector<int> faces;
    /// Per corner of `faces`, an index into `texCoords`.
    std::vector<int> tFaces;

    // The assignment has the first place of the virtual table; the destructor stands behind it.

    /// Copies the four arrays.
    virtual CMesh& operator=(const CMesh& other);

    CMesh();
    CMesh(const CMesh& other);
    CMesh(CMesh&& other) noexcept;
    virtual ~CMesh();

    /// Cuts or grows `vertices` to `n`, with the origin for what is added. A negative `n` counts as 0.
    void setNumVertices(int n);
    /// Cuts or grows the two index lists to `n` triangles, with 0 for what is added. A negative `n` counts as 0.
    void setNumFaces(int n);
    /// `i` in [0, getNumVertices()).
    void setVertex(int i, double x, double y, double z);
    /// Vertex indices of triangle `i`, in [0, getNumFaces()).
    void setFace(int i, int a, int b, int c);
    /// Vertex index at `corner` (0 to 2) of triangle `face`, in [0, getNumFaces()).
    [[nodiscard]] int getFaceVertex(int face, int corner) const;
    [[nodiscard]] int getNumVertices() const;
    /// Number of whole triangles in `faces`.
    [[nodiscard]] int getNumFaces() const;

    /// A copy with every vertex transformed as a point.
    [[nodiscard]] CMesh operator*(const Matrix4& matrix) const;

    /// A tag "CMesh".
    /// Verbose: a tag per array and in it a tag per entry, numbers with six significant digits.
    /// Compact: one text, the arrays packed in base64, exact to the bit. Each array must be below 2^31 bytes.
    [[nodiscard]] xml::Element toXml(bool verbose) const;
    /// Reads either form. An element that is no "CMesh" leaves the mesh unchanged.
    ///
    /// A compact form that is damaged empties the mesh, unless the element also holds the verbose one. Damaged
    /// means: the text is no base64, one of its parts is missing, a count is negative, has fewer than four bytes or is
    /// too small for the bytes of its array; or it is larger than these bytes while above 65,536. A smaller count than
    /// that may be too large: entries without bytes are then left as they are, 0 in a new mesh.
    void fromXml(const xml::Element& element);

  private:
    [[nodiscard]] xml::Element toVerboseXml() const;
    [[nodiscard]] xml::Element toCompactXml() const;
    [[nodiscard]] bool readCompact(const std::string& base64);
    void readVerbose(const xml::Element& element);
};

}  // namespace ond::util

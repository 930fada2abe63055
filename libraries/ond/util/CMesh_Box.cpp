#include "ond/util/CMesh_Box.h"

namespace ond::util {

CMesh_Box::CMesh_Box(double x, double y, double z) {
    setNumVertices(8);
    for (int i = 0; i < 8; ++i)
        setVertex(i, (i & 1) != 0 ? x / 2 : -x / 2, (i & 2) != 0 ? y / 2 : -y / 2, (i & 4) != 0 ? z / 2 : -z / 2);

    constexpr int kTriangles[12][3] = {{0, 2, 3}, {3, 1, 0}, {4, 5, 7}, {7, 6, 4}, {0, 1, 5}, {5, 4, 0},
                                       {1, 3, 7}, {7, 5, 1}, {3, 2, 6}, {6, 7, 3}, {2, 0, 4}, {4, 6, 2}};
    setNumFaces(12);
    for (int i = 0; i < 12; ++i) setFace(i, kTriangles[i][0], kTriangles[i][1], kTriangles[i][2]);
}

}  // namespace ond::util

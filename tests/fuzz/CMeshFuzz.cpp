// A mesh read from any text. The first byte says what the rest is: 0 the XML text, 1 the text inside a "CMesh" tag,
// 2 the block inside the base64 of a compact "CMesh".
//
// An element of another name changes nothing; no array gets larger than its trusted count or the input; the compact
// form of what was read is read back to the bit; the verbose form of finite numbers is read back to the same text.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/FuzzProperty.h"
#include "ond/util/Base64Data.h"
#include "ond/util/CMesh.h"

namespace {

using ond::test::require;
using ond::util::CMesh;
using ond::util::xml::Element;
using V = ond::util::Vector3<double>;

constexpr std::size_t kTrustedCount = 65536;

Element elementOf(const std::uint8_t* data, std::size_t size) {
    const std::string rest(data + 1, data + size);
    switch (data[0]) {
        case 0: return Element(rest);
        case 1: return Element("<CMesh>" + rest + "</CMesh>");
        default: {
            const ond::util::Base64Data block(rest.data(), static_cast<int>(rest.size()));
            return Element("<CMesh>" + block.toString() + "</CMesh>");
        }
    }
}

bool sameBits(const std::vector<V>& a, const std::vector<V>& b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(V)) == 0);
}

bool sameBits(const CMesh& a, const CMesh& b) {
    return sameBits(a.vertices, b.vertices) && sameBits(a.texCoords, b.texCoords) && a.faces == b.faces &&
           a.tFaces == b.tFaces;
}

bool isFinite(const std::vector<V>& list) {
    return std::all_of(list.begin(), list.end(),
                       [](const V& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const Element element = elementOf(data, size);

    CMesh before;
    before.vertices = {V(1, 2, 3)};
    before.faces = {4};
    CMesh mesh(before);
    mesh.fromXml(element);
    require(element.text == "CMesh" || sameBits(mesh, before), "an element of another name changes nothing");
    const std::size_t most = std::max(kTrustedCount, size);
    require(mesh.vertices.size() <= most && mesh.texCoords.size() <= most, "vectors within the bound");
    require(mesh.faces.size() <= most && mesh.tFaces.size() <= most, "indices within the bound");

    // Arrays of trusted counts are long and the same again and again: too slow to go round with.
    if (mesh.vertices.size() + mesh.texCoords.size() + mesh.faces.size() + mesh.tFaces.size() > 4096) return 0;
    CMesh back;
    back.fromXml(Element(mesh.toXml(false).toString()));
    require(sameBits(back, mesh), "compact form keeps every bit");
    if (isFinite(mesh.vertices) && isFinite(mesh.texCoords)) {
        const Element verbose = mesh.toXml(true);
        back.fromXml(Element(verbose.toString()));
        require(back.toXml(true).equalsDeep(verbose), "verbose form is stable");
    }
    return 0;
}

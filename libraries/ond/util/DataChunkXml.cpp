#include <cstddef>
#include <string>
#include <vector>

#include "ond/util/DataChunk.h"
#include "ond/util/xml/Element.h"

namespace ond::util {

xml::Element DataChunk::toXml() const {
    const auto summary = [](const DataChunk& chunk) {
        xml::Tag tag("element");
        tag.setAttribute("name", chunk.name);
        tag.setAttribute("size", std::to_string(chunk.getSize()));
        return tag;
    };

    // Built from the root down: adding a finished subtree to its parent would copy each level once more.
    struct Open {
        const DataChunk* chunk;
        xml::Element* shown;
        std::size_t next;
    };
    xml::Element root(summary(*this));
    std::vector<Open> path;
    path.push_back({this, &root, 0});
    while (!path.empty()) {
        Open& open = path.back();
        if (open.next == open.chunk->children.size()) {
            path.pop_back();
            continue;
        }
        const DataChunk& child = open.chunk->children[open.next++];
        xml::Element& shown = open.shown->addChild(summary(child));
        if (!child.children.empty()) path.push_back({&child, &shown, 0});
    }
    return root;
}

}  // namespace ond::util

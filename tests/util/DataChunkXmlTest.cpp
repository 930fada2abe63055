#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

#include "ond/util/DataChunk.h"
#include "ond/util/xml/Element.h"

namespace {

using ond::util::DataChunk;
using ond::util::xml::Element;

TEST(DataChunkXml, TellsNameAndSizeOfEachChunk) {
    DataChunk chunk("root", "12", 2);
    chunk.addChild(DataChunk("a", "x", 1).addChild(DataChunk("q"))).addChild(DataChunk("b"));
    EXPECT_EQ(
        chunk.toXml().toString(),
        "<element name=\"root\" size=\"2\"><element name=\"a\" size=\"1\"><element name=\"q\" size=\"0\"/></element>"
        "<element name=\"b\" size=\"0\"/></element>");
}

TEST(DataChunkXml, UnnamedChunkHasNoNameAttribute) {
    const Element element = DataChunk("", "1234567890", 10).toXml();
    EXPECT_FALSE(element.hasAttribute("name"));
    EXPECT_EQ(element.getAttribute("size"), "10");
    EXPECT_EQ(element.getNumChildren(), 0);
}

TEST(DataChunkXml, ShowsTreesOfAnyDepth) {
    constexpr std::size_t kDepth = 100000;
    std::vector<unsigned char> block(kDepth * 12, 0);
    for (std::size_t level = 0; level + 1 < kDepth; ++level) block[level * 12 + 4] = 1;
    DataChunk chunk;
    ASSERT_NE(chunk.deserialize(block.data(), block.size()), nullptr);
    const Element element = chunk.toXml();
    std::size_t levels = 1;
    for (const Element* at = &element; at->getNumChildren() > 0; at = &at->getChild(0)) ++levels;
    EXPECT_EQ(levels, kDepth);
}

}  // namespace

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>

#include "ond/util/xml/Element.h"

namespace {

using ond::util::Vector3;
using ond::util::xml::Data;
using ond::util::xml::Element;
using ond::util::xml::Tag;
using ond::util::xml::Text;

Element family() {
    Element root{Tag("root")};
    root.setAttribute("k", "v");
    root.addChild(Tag("a")).addChild(Text("first"));
    root.addChild(Text("a"));
    root.addChild(Tag("b"));
    root.addChild(Tag("a")).addChild(Text("second"));
    return root;
}

/// `levels` tags, each inside the one before.
Element chain(int levels) {
    Element root{Tag("t")};
    Element* last = &root;
    for (int i = 1; i < levels; ++i) last = &last->addChild(Tag("t"));
    return root;
}

constexpr int kDeeperThanAnyCallStack = 1000000;

/// Place in the virtual table, from the pointer to member of the common C++ ABI of 64-bit Linux.
template <typename Member>
std::ptrdiff_t slotOf(Member member) {
    const auto image = std::bit_cast<std::array<std::ptrdiff_t, 2>>(member);
    return (image[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(XmlElement, VirtualOperationsStandInTheirFixedOrder) {
    Element& (Element::*const assign)(const Element&) = &Element::operator=;
    EXPECT_EQ(slotOf(assign), 0);
    EXPECT_EQ(slotOf(&Element::setText), 1);
    EXPECT_EQ(slotOf(&Element::addChild), 2);
}

TEST(XmlElement, DerivedClassesAddNoData) {
    EXPECT_EQ(sizeof(Tag), sizeof(Element));
    EXPECT_EQ(sizeof(Text), sizeof(Element));
    EXPECT_EQ(sizeof(Data), sizeof(Element));
}

TEST(XmlElement, NewElementIsEmptyAndOfNoType) {
    const Element e;
    EXPECT_EQ(e.type, 0);
    EXPECT_TRUE(e.isEmpty());
    EXPECT_TRUE(e.attributes.empty());
    EXPECT_EQ(e.toString(), "");
}

TEST(XmlElement, ConstructorFromTextParses) {
    const Element e("<a k='v'><b/></a>");
    EXPECT_EQ(e.text, "a");
    EXPECT_EQ(e.getAttribute("k"), "v");
    EXPECT_EQ(e.getNumChildren(), 1);
}

TEST(XmlElement, ConstructorFromTextKeepsWhatStoodBeforeAnError) {
    const Element e("<a><b/><c>");
    EXPECT_EQ(e.text, "a");
    ASSERT_EQ(e.getNumChildren(), 1);
    EXPECT_EQ(e.getChild(0).text, "b");
}

TEST(XmlElement, TagTextAndDataHaveTheirTypes) {
    EXPECT_EQ(Tag("n").type, 1);
    EXPECT_EQ(Tag("n").text, "n");
    EXPECT_EQ(Text("c").type, 2);
    EXPECT_EQ(Text("c").text, "c");
    EXPECT_EQ(Data(Vector3<double>(1, 2.5, -3)).type, 2);
    EXPECT_EQ(Data(Vector3<double>(1, 2.5, -3)).text, "1,2.5,-3");
    EXPECT_EQ(Data(-42).type, 2);
    EXPECT_EQ(Data(-42).text, "-42");
    EXPECT_EQ(Data().type, 0);
}

TEST(XmlElement, DataOfAnElementIsAPlainCopyAndReadsItsValue) {
    const Tag seven("7");
    EXPECT_EQ(Data(seven).type, 1);
    EXPECT_EQ(Data(seven).toInt(), 7);
    EXPECT_TRUE(Data(family()).equalsDeep(family()));
    EXPECT_EQ(Data(Text("1 2 3")).toVector3(), Vector3<double>(1, 2, 3));
}

TEST(XmlElement, AddChildCopiesDeeplyAndReturnsTheCopy) {
    Element parent{Tag("p")};
    Element child = family();
    Element& copy = parent.addChild(child);
    EXPECT_EQ(&copy, parent.children[0].get());
    EXPECT_TRUE(copy.equalsDeep(child));
    child.getChild(0).setText("changed");
    EXPECT_EQ(copy.getChild(0).text, "a");
}

TEST(XmlElement, AddingATextOfTheEmptyStringAddsNothing) {
    Element parent{Tag("p")};
    EXPECT_EQ(&parent.addChild(Text("")), &parent);
    EXPECT_EQ(parent.getNumChildren(), 0);
}

TEST(XmlElement, AttributesAloneDoNotMakeAChildWorthAdding) {
    Element child{Tag("")};
    child.setAttribute("k", "v");
    EXPECT_TRUE(child.isEmpty());
    Element parent{Tag("p")};
    parent.addChild(child);
    EXPECT_EQ(parent.getNumChildren(), 0);
    child.addChild(Tag("x"));
    EXPECT_FALSE(child.isEmpty());
    parent.addChild(child);
    EXPECT_EQ(parent.getNumChildren(), 1);
}

TEST(XmlElement, AddChildTakesTheElementItself) {
    Element e = family();
    const Element before = e;
    e.addChild(e);
    ASSERT_EQ(e.getNumChildren(), 5);
    EXPECT_TRUE(e.getChild(4).equalsDeep(before));
}

TEST(XmlElement, AddChildTakesAChildOfTheElement) {
    Element e = family();
    for (int i = 0; i < 20; ++i) e.addChild(*e.children[0]);
    ASSERT_EQ(e.getNumChildren(), 24);
    EXPECT_TRUE(e.getChild(23).equalsDeep(e.getChild(0)));
}

TEST(XmlElement, AssignmentIsADeepCopyAndReturnsTheElement) {
    const Element source = family();
    Element target("<old k='1'><gone/></old>");
    EXPECT_EQ(&(target = source), &target);
    EXPECT_TRUE(target.equalsDeep(source));
    EXPECT_NE(target.children[0], source.children[0]);
    target.getChild(0).setText("changed");
    EXPECT_EQ(source.getChild(0).text, "a");
}

TEST(XmlElement, AssignmentOfItselfChangesNothing) {
    Element e = family();
    const Element& same = e;
    e = same;
    EXPECT_TRUE(e.equalsDeep(family()));
}

TEST(XmlElement, AssignmentTakesAnElementFromItsOwnTree) {
    Element e = family();
    e = e.getChild(3);
    EXPECT_EQ(e.toString(), "<a>second</a>");
}

TEST(XmlElement, AssignmentWorksThroughTheBase) {
    Tag tag("old");
    Element& base = tag;
    base = Text("new");
    EXPECT_EQ(tag.type, 2);
    EXPECT_EQ(tag.text, "new");
    Tag other("other");
    other = family();
    EXPECT_TRUE(other.equalsDeep(family()));
}

TEST(XmlElement, SetTextReturnsTheField) {
    Element e{Tag("a")};
    std::string& field = e.setText("b");
    EXPECT_EQ(&field, &e.text);
    EXPECT_EQ(e.text, "b");
}

TEST(XmlElement, ClearLeavesTheType) {
    Element e = family();
    e.clear();
    EXPECT_TRUE(e.isEmpty());
    EXPECT_TRUE(e.attributes.empty());
    EXPECT_EQ(e.type, 1);
}

TEST(XmlElement, GetChildByIndexGivesASharedEmptyElementOutOfRange) {
    Element e = family();
    EXPECT_EQ(e.getChild(2).text, "b");
    EXPECT_EQ(&e.getChild(2), e.children[2].get());
    const Element& constant = e;
    EXPECT_TRUE(constant.getChild(-1).isEmpty());
    EXPECT_TRUE(constant.getChild(4).isEmpty());
    EXPECT_EQ(&constant.getChild(4), &constant.getChild(-1));
    EXPECT_TRUE(e.getChild(4).isEmpty());
    EXPECT_EQ(&e.getChild(4), &e.getChild(-1));
    EXPECT_EQ(e.getChild(4).type, 0);
}

TEST(XmlElement, GetChildByNameCountsOnlyThatName) {
    Element e = family();
    EXPECT_EQ(e.getChild("a").getTextContent(), "first");
    EXPECT_EQ(e.getChild("a", 1).type, 2);
    EXPECT_EQ(e.getChild("a", 2).getTextContent(), "second");
    EXPECT_TRUE(e.getChild("a", 3).isEmpty());
    EXPECT_TRUE(e.getChild("a", -1).isEmpty());
    EXPECT_TRUE(e.getChild("missing").isEmpty());
    const Element& constant = e;
    EXPECT_EQ(&constant.getChild("a", 2), e.children[3].get());
    EXPECT_TRUE(constant.getChild("a", 3).isEmpty());
}

TEST(XmlElement, SharedEmptyElementForgetsWhatIsWrittenToIt) {
    Element e;
    Element& shared = e.getChild("missing");
    shared.addChild(Tag("intruder"));
    shared.setAttribute("k", "v");
    shared.setText("t");
    shared.type = 1;
    const Element& again = e.getChild(7);
    EXPECT_TRUE(again.isEmpty());
    EXPECT_TRUE(again.attributes.empty());
    EXPECT_EQ(again.type, 0);
    const Element& constant = e;
    EXPECT_TRUE(constant.getChild(7).isEmpty());
}

TEST(XmlElement, CountChildrenCountsEveryTypeOfThatText) {
    const Element e = family();
    EXPECT_EQ(e.countChildren("a"), 3);
    EXPECT_EQ(e.countChildren("b"), 1);
    EXPECT_EQ(e.countChildren("c"), 0);
    EXPECT_EQ(e.getNumChildren(), 4);
}

TEST(XmlElement, TextContentIsTheFirstTextChild) {
    EXPECT_EQ(family().getTextContent(), "a");
    EXPECT_EQ(Tag("t").getTextContent(), "");
    EXPECT_EQ(&Tag("t").getTextContent(), &Tag("u").getTextContent());
}

TEST(XmlElement, RemoveChildTakesTheFirstShallowlyEqualOne) {
    Element e = family();
    EXPECT_TRUE(e.removeChild(Tag("a")));  // its children do not count
    ASSERT_EQ(e.getNumChildren(), 3);
    EXPECT_EQ(e.getChild(0).type, 2);
    EXPECT_EQ(e.getChild("a", 1).getTextContent(), "second");
    Tag withAttribute("b");
    withAttribute.setAttribute("k", "v");
    EXPECT_FALSE(e.removeChild(withAttribute));
    EXPECT_FALSE(e.removeChild(Text("b")));
    EXPECT_EQ(e.getNumChildren(), 3);
}

TEST(XmlElement, RemoveChildTakesAReferenceToTheChildItself) {
    Element e = family();
    EXPECT_TRUE(e.removeChild(e.getChild(2)));
    EXPECT_EQ(e.countChildren("b"), 0);
}

TEST(XmlElement, RemoveChildAtReturnsTheChildWithAllBelow) {
    Element e = family();
    const Element removed = e.removeChildAt(3);
    EXPECT_EQ(removed.toString(), "<a>second</a>");
    EXPECT_EQ(e.getNumChildren(), 3);
}

TEST(XmlElement, RemoveChildAtOutOfRangeReturnsAnEmptyElement) {
    Element e = family();
    EXPECT_TRUE(e.removeChildAt(4).isEmpty());
    EXPECT_TRUE(e.removeChildAt(-1).isEmpty());
    EXPECT_EQ(e.removeChildAt(4).type, 0);
    EXPECT_EQ(e.getNumChildren(), 4);
}

// ---- attributes; a doubled name can only be made through the field ----

Element doubled() {
    Element e{Tag("t")};
    e.attributes = {{"a", "first"}, {"b", "x"}, {"a", "last"}};
    return e;
}

TEST(XmlElement, GetAttributeSearchesFromTheFirst) {
    EXPECT_EQ(doubled().getAttribute("a"), "first");
    EXPECT_EQ(doubled().getAttribute("none"), "");
    EXPECT_TRUE(doubled().hasAttribute("b"));
    EXPECT_FALSE(doubled().hasAttribute("none"));
}

TEST(XmlElement, AttributeSearchesFromTheLastAndAppendsWhatIsMissing) {
    Element e = doubled();
    e.attribute("a") = "changed";
    EXPECT_EQ(e.attributes[0].second, "first");
    EXPECT_EQ(e.attributes[2].second, "changed");
    EXPECT_EQ(e.attribute("new"), "");
    ASSERT_EQ(e.attributes.size(), 4u);
    EXPECT_EQ(e.attributes[3].first, "new");
    EXPECT_TRUE(e.hasAttribute("new"));
}

TEST(XmlElement, SetAttributeAssignsToTheFirstOrAppends) {
    Element e = doubled();
    e.setAttribute("a", "changed");
    EXPECT_EQ(e.attributes[0].second, "changed");
    EXPECT_EQ(e.attributes[2].second, "last");
    e.setAttribute("c", "new");
    EXPECT_EQ(e.attributes.back(), (std::pair<std::string, std::string>("c", "new")));
}

TEST(XmlElement, SetAttributeToNothingRemovesAllOfThatName) {
    Element e = doubled();
    e.setAttribute("a", "");
    ASSERT_EQ(e.attributes.size(), 1u);
    EXPECT_EQ(e.attributes[0].first, "b");
    e.setAttribute("none", "");
    EXPECT_EQ(e.attributes.size(), 1u);
}

TEST(XmlElement, SetAttributeTakesItsOwnStrings) {
    Element e = doubled();
    e.setAttribute(e.attributes[0].first, "");
    ASSERT_EQ(e.attributes.size(), 1u);
    e.setAttribute("z", e.attributes[0].second);
    EXPECT_EQ(e.getAttribute("z"), "x");
}

// ---- comparison ----

TEST(XmlElement, ShallowComparisonIgnoresChildren) {
    const Element e = family();
    Element other = family();
    other.children.clear();
    EXPECT_TRUE(e.equalsShallow(other));
    EXPECT_FALSE(e.equalsDeep(other));
}

TEST(XmlElement, ComparisonHeedsTypeTextAndOrderOfAttributes) {
    EXPECT_FALSE(Tag("a").equalsShallow(Text("a")));
    EXPECT_FALSE(Tag("a").equalsShallow(Tag("b")));
    EXPECT_TRUE(Element("<a x='1' y='2'/>").equalsShallow(Element("<a x=\"1\" y=\"2\"/>")));
    EXPECT_FALSE(Element("<a x='1' y='2'/>").equalsShallow(Element("<a y='2' x='1'/>")));
}

TEST(XmlElement, DeepComparisonHeedsOrderAndNumberOfChildren) {
    EXPECT_TRUE(family().equalsDeep(family()));
    EXPECT_FALSE(Element("<a><b/><c/></a>").equalsDeep(Element("<a><c/><b/></a>")));
    EXPECT_FALSE(Element("<a><b/></a>").equalsDeep(Element("<a><b/><b/></a>")));
    EXPECT_FALSE(Element("<a><b>x</b></a>").equalsDeep(Element("<a><b>y</b></a>")));
}

// ---- depth ----

TEST(XmlElement, TreesOfAnyDepthAreCopiedComparedAndDestroyed) {
    const Element deep = chain(kDeeperThanAnyCallStack);
    auto copy = std::make_unique<Element>(deep);
    EXPECT_TRUE(copy->equalsDeep(deep));
    Element holder;
    holder.addChild(*copy);
    copy.reset();
    EXPECT_TRUE(holder.getChild(0).equalsDeep(deep));
    holder.clear();
    EXPECT_TRUE(holder.isEmpty());
}

TEST(XmlElement, DeepTreesThatDifferOnlyAtTheBottomAreUnequal) {
    const Element a = chain(1000);
    const Element b = chain(1001);
    EXPECT_FALSE(a.equalsDeep(b));
}

}  // namespace

#include "ond/util/xml/Element.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "ond/util/Vector3Text.h"

namespace ond::util::xml {

namespace {

using ChildList = std::vector<std::unique_ptr<Element>>;

/// Destroys the elements with what is below them. Each one dies childless, so that no destructor calls another.
void destroyTrees(ChildList trees) {
    while (!trees.empty()) {
        const std::unique_ptr<Element> last = std::move(trees.back());
        trees.pop_back();
        if (trees.empty())
            trees.swap(last->children);
        else
            std::move(last->children.begin(), last->children.end(), std::back_inserter(trees));
        last->children.clear();
    }
}

/// Gives the fresh element `to` the content of `from`.
void copyTree(const Element& from, Element& to) {
    std::vector<std::pair<const Element*, Element*>> open{{&from, &to}};
    while (!open.empty()) {
        const auto [source, target] = open.back();
        open.pop_back();
        target->attributes = source->attributes;
        target->text = source->text;
        target->type = source->type;
        target->children.reserve(source->children.size());
        for (const auto& child : source->children) {
            target->children.push_back(std::make_unique<Element>());
            open.emplace_back(child.get(), target->children.back().get());
        }
    }
}

/// What failed look-ups of changeable elements share.
Element& sharedEmptyElement() {
    static Element shared;
    if (!shared.isEmpty() || !shared.attributes.empty() || shared.type != ElementType::kNone) {
        shared.clear();
        shared.type = ElementType::kNone;
    }
    return shared;
}

const Element& constSharedEmptyElement() {
    static const Element shared;
    return shared;
}

const std::string& sharedEmptyString() {
    static const std::string shared;
    return shared;
}

template <typename Attributes>
auto findFirst(Attributes& attributes, const std::string& name) {
    return std::find_if(attributes.begin(), attributes.end(), [&](const auto& pair) { return pair.first == name; });
}

}  // namespace

Element::Element() = default;

Element::Element(const Element& other) { copyTree(other, *this); }

Element::Element(Element&& other) noexcept
    : attributes(std::move(other.attributes)),
      children(std::move(other.children)),
      text(std::move(other.text)),
      type(other.type) {}

Element::Element(const std::string& xmlText) { parse(xmlText); }

Element::~Element() { destroyTrees(std::move(children)); }

Element& Element::operator=(const Element& other) {
    if (this != &other) {
        Element copy(other);
        takeContentOf(copy);
    }
    return *this;
}

void Element::takeContentOf(Element& other) noexcept {
    attributes.swap(other.attributes);
    children.swap(other.children);
    text.swap(other.text);
    std::swap(type, other.type);
}

std::string& Element::setText(const std::string& newText) {
    text = newText;
    return text;
}

Element& Element::addChild(const Element& child) {
    if (child.isEmpty()) return *this;
    auto copy = std::make_unique<Element>(child);
    children.push_back(std::move(copy));
    return *children.back();
}

void Element::clear() {
    attributes.clear();
    text.clear();
    destroyTrees(std::move(children));
    children.clear();
}

Element* Element::findChild(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= children.size()) return nullptr;
    return children[static_cast<std::size_t>(index)].get();
}

Element* Element::findChild(const std::string& name, int nth) const {
    if (nth < 0) return nullptr;
    for (const auto& child : children)
        if (child->text == name && nth-- == 0) return child.get();
    return nullptr;
}

const Element& Element::getChild(int index) const {
    const Element* child = findChild(index);
    return child != nullptr ? *child : constSharedEmptyElement();
}

Element& Element::getChild(int index) {
    Element* child = findChild(index);
    return child != nullptr ? *child : sharedEmptyElement();
}

const Element& Element::getChild(const std::string& name, int nth) const {
    const Element* child = findChild(name, nth);
    return child != nullptr ? *child : constSharedEmptyElement();
}

Element& Element::getChild(const std::string& name, int nth) {
    Element* child = findChild(name, nth);
    return child != nullptr ? *child : sharedEmptyElement();
}

int Element::countChildren(const std::string& name) const {
    return static_cast<int>(
        std::count_if(children.begin(), children.end(), [&](const auto& child) { return child->text == name; }));
}

int Element::getNumChildren() const { return static_cast<int>(children.size()); }

const std::string& Element::getTextContent() const {
    for (const auto& child : children)
        if (child->type == ElementType::kText) return child->text;
    return sharedEmptyString();
}

bool Element::removeChild(const Element& child) {
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&](const auto& candidate) { return candidate->equalsShallow(child); });
    if (found == children.end()) return false;
    children.erase(found);
    return true;
}

Element Element::removeChildAt(int index) {
    if (findChild(index) == nullptr) return Element(std::string());
    const auto place = children.begin() + index;
    Element removed(std::move(**place));
    children.erase(place);
    return removed;
}

const std::string& Element::getAttribute(const std::string& name) const {
    const auto found = findFirst(attributes, name);
    return found != attributes.end() ? found->second : sharedEmptyString();
}

bool Element::hasAttribute(const std::string& name) const { return findFirst(attributes, name) != attributes.end(); }

std::string& Element::attribute(const std::string& name) {
    for (auto pair = attributes.rbegin(); pair != attributes.rend(); ++pair)
        if (pair->first == name) return pair->second;
    return attributes.emplace_back(name, std::string()).second;
}

void Element::setAttribute(const std::string& name, const std::string& value) {
    if (value.empty()) {
        const std::string removedName = name;  // `name` may be one of the strings that go
        std::erase_if(attributes, [&](const auto& pair) { return pair.first == removedName; });
        return;
    }
    const auto found = findFirst(attributes, name);
    if (found != attributes.end())
        found->second = value;
    else
        attributes.emplace_back(name, value);
}

bool Element::equalsShallow(const Element& other) const {
    return type == other.type && text == other.text && attributes == other.attributes;
}

bool Element::equalsDeep(const Element& other) const {
    std::vector<std::pair<const Element*, const Element*>> open{{this, &other}};
    while (!open.empty()) {
        const auto [a, b] = open.back();
        open.pop_back();
        if (!a->equalsShallow(*b) || a->children.size() != b->children.size()) return false;
        for (std::size_t i = 0; i < a->children.size(); ++i)
            open.emplace_back(a->children[i].get(), b->children[i].get());
    }
    return true;
}

Tag::Tag(std::string name) {
    text = std::move(name);
    type = ElementType::kTag;
}

Text::Text(std::string characters) {
    text = std::move(characters);
    type = ElementType::kText;
}

Data::Data(const Vector3<double>& value) {
    text = toText(value);
    type = ElementType::kText;
}

Data::Data(int value) {
    text = toText(value);
    type = ElementType::kText;
}

Data::Data(const Element& element) : Element(element) {}

Vector3<double> Data::toVector3() const { return vector3FromText(text); }

int Data::toInt() const { return intFromText(text); }

}  // namespace ond::util::xml

// Any text: the parser gives what a plain, recursive reader of the same format gives, code and partial tree alike; the
// writer gives what a plain writer gives; what was written is read again without harm; copies are equal; and escaping
// loses no byte.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/FuzzProperty.h"
#include "ond/util/xml/Element.h"
#include "ond/util/xml/Escape.h"
#include "util/NaiveXml.h"

namespace {

namespace naive = ond::test::naive;
using ond::test::require;
using ond::util::xml::Element;

constexpr std::size_t kLongestForThePlainReader = 4096;  // it recurses, and copies a subtree per level

void compareWithPlainReader(const std::string& text, const Element& element, int code) {
    naive::Node root;
    require(naive::parse(text, root) == code, "code of the plain reader");
    require(naive::same(root, element), "tree of the plain reader");
    require(element.toString("\n", "\t", "") == naive::write(root, "\n", "\t", ""), "text of the plain writer");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    Element element;
    const int code = element.parse(text);
    if (size <= kLongestForThePlainReader) compareWithPlainReader(text, element, code);

    const Element copy(element);
    require(copy.equalsDeep(element), "a copy is equal");

    const std::string written = element.toString();
    Element second;
    const int secondCode = second.parse(written);
    if (written.size() <= kLongestForThePlainReader) compareWithPlainReader(written, second, secondCode);

    require(ond::util::xml::unescape(ond::util::xml::escape(text)) == text, "escaping loses no byte");
    return 0;
}

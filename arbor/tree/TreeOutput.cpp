#include "arbor/tree/internal/TreeOutput.h"

#include "arbor/tree/BasicElement.h"
#include "arbor/tree/Element.h"
#include "arbor/tree/Text.h"

#include <cstddef>
#include <cstring>

namespace {

using Arbor::Element;
using Arbor::Node;

// The byte offset of a virtual function in the virtual table, from a pointer to it: the x86-64
// C++ ABI represents a pointer to a virtual member function as that offset plus one, followed by
// an adjustment of `this`. -1 when `member` is not of that form.
template <class Member> std::ptrdiff_t slotOffset(Member member)
{
    static_assert(sizeof(Member) == 2 * sizeof(std::ptrdiff_t), "pointer to member: two words");
    std::ptrdiff_t words[2];
    std::memcpy(words, &member, sizeof words);
    return (words[0] & 1) && words[1] == 0 ? words[0] - 1 : -1;
}

// The function in the slot at `offset` of `object`'s virtual table (its first word points to the
// table's slots), or null for an offset of -1.
const void* slotOf(const void* object, std::ptrdiff_t offset)
{
    if (offset < 0) return nullptr;
    const char* table;
    std::memcpy(&table, object, sizeof table);
    const void* function;
    std::memcpy(&function, table + offset, sizeof function);
    return function;
}

// Objects whose classes keep the library's implementations, to read them from their tables.
class PlainElement final : public Element {
public:
    PlainElement()
        : Element(nullptr)
    {
    }
    Node* cloneNode(bool) override { return nullptr; }
    Arbor::Token tagName() override { return {}; }
    Arbor::Variant getAttribute(Arbor::Token) override { return {}; }
    bool hasAttribute(Arbor::Token) override { return false; }
    void setAttributeRaw(Arbor::Token, const Arbor::Variant&) override { }
    void removeAttributeRaw(Arbor::Token) override { }
};

// The implementations the writer knows.
struct Known {
    std::ptrdiff_t putXml = slotOffset(&Node::putXml);
    std::ptrdiff_t putAttributesXml = slotOffset(&Element::putAttributesXml);
    const void* elementPutXml;
    const void* elementPutAttributesXml;
    const void* basicPutAttributesXml;
    const void* textPutXml;

    Known()
    {
        const PlainElement element;
        const Arbor::BasicElement basic(nullptr, Arbor::Token());
        const Arbor::Text text(nullptr, nullptr);
        elementPutXml = slotOf(&element, putXml);
        elementPutAttributesXml = slotOf(&element, putAttributesXml);
        basicPutAttributesXml = slotOf(&basic, putAttributesXml);
        textPutXml = slotOf(&text, putXml);
    }
};

const Known& known()
{
    static const Known table;
    return table;
}

} // namespace

void Arbor::TreeOutput::putNode(Node* node)
{
    const Known& k = known();
    const void* putXml = slotOf(node, k.putXml);
    if (putXml && putXml == k.elementPutXml) {
        putElement(static_cast<Element*>(node));
    } else if (putXml && putXml == k.textPutXml) {
        putCharacterData(static_cast<Text*>(node)->data());
    } else {
        flush();
        node->putXml(os);
    }
}

void Arbor::TreeOutput::putElement(Element* element)
{
    // The attributes and the children are separate allocations: their loads overlap the work on
    // the tags instead of following it one by one.
    if (Node* first = element->firstChild()) __builtin_prefetch(first);
    const Token name = element->nodeName();
    put('<');
    putName(name);
    putAttributes(element);
    put('>');
    for (Node* child = element->firstChild(); child; child = child->next) {
        // Siblings are separate allocations: ask for the next one while this one is written.
        if (child->next) __builtin_prefetch(child->next);
        putNode(child);
    }
    put("</", 2);
    putName(name);
    put('>');
}

void Arbor::TreeOutput::putAttributes(Element* element)
{
    const Known& k = known();
    const void* putAttributesXml = slotOf(element, k.putAttributesXml);
    if (putAttributesXml && putAttributesXml == k.elementPutAttributesXml) {
        // Writes nothing.
    } else if (putAttributesXml && putAttributesXml == k.basicPutAttributesXml && os.width() == 0) {
        static_cast<BasicElement*>(element)->putAttributes(*this);
    } else {
        flush();
        element->putAttributesXml(os);
    }
}

#ifndef ARBOR_TREE_BASIC_ELEMENT_H
#define ARBOR_TREE_BASIC_ELEMENT_H

#include "arbor/tree/Element.h"

#include <string>
#include <utility>

namespace Plinth {
class XmlOutput;
}

namespace Arbor {

class TreeOutput;

/// A ready-made element: its tag is fixed at construction and its attributes are kept in
/// insertion order with a lookup index, so hosts that need no element class of their own can use
/// it (`BasicDocument::createElement` makes it).
///
/// `putAttributesXml` writes ` name="value"` per attribute in insertion order, with the value
/// turned into text (booleans true/false, integers in decimal, floating point in the shortest form
/// that reads back to the same value, strings as UTF-8, tokens by their name, the empty variant
/// as an empty value) and escaped so that an XML parser reads back exactly that text.
///
/// Overwriting an attribute keeps its place, and so does removing it: a name set again after its
/// removal goes back to the place it had among the others, while a name never set on this element
/// goes at the end. Undoing and redoing changes therefore restores the exact order.
///
/// Memory: an element without attributes is the node and its tag. The first attribute makes one
/// heap block that holds every attribute (name and value, 32 bytes each) after an 8-byte header
/// and grows by doubling; from 16 places on it also holds a hash index of 8 bytes per place. A
/// removed attribute keeps its place in the block (so that its name can come back there), and
/// only removals cost such places; a copy made by `cloneNode` keeps no removed places.
class ARBOR_API BasicElement : public Element {
public:
    /// An element of `document` named `tag`, count 0, no attributes.
    BasicElement(Document* document, Token tag);
    ~BasicElement() override;

    /// A copy with the tag and the attributes; with `deep`, also copies of the children.
    Node* cloneNode(bool deep) override;
    /// The tag given at construction.
    Token tagName() override;
    /// The value, or an empty variant when the attribute is absent.
    Variant getAttribute(Token name) override;
    /// True when the element has an attribute named `name`.
    bool hasAttribute(Token name) override;
    void setAttributeRaw(Token name, const Variant& value) override;
    void removeAttributeRaw(Token name) override;
    std::ostream& putAttributesXml(std::ostream& os) override;

    /// Number of attributes.
    unsigned long attributeCount() const;
    /// Name and value of the attribute at `index` (below `attributeCount()`) in insertion order.
    const std::pair<Token, Variant>& attributeAt(unsigned long index) const;

    /// Writes `value` as attribute text (unescaped UTF-8), as `putAttributesXml` does before
    /// escaping.
    static void appendValueText(std::string& out, const Variant& value);

private:
    friend class TreeOutput;
    struct Store;

    Token tag;
    /// The attribute block; null until the first attribute is set.
    Store* store = nullptr;

    std::pair<Token, Variant>* find(Token name) const;
    /// Writes ` name="value"` for every attribute into `out`.
    void putAttributes(Plinth::XmlOutput& out) const;
};

} // namespace Arbor

#endif

#ifndef ARBOR_TREE_BASIC_ELEMENT_H
#define ARBOR_TREE_BASIC_ELEMENT_H

#include "arbor/tree/Element.h"

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Arbor {

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
    unsigned long attributeCount() const { return attributes.size(); }
    /// Name and value of the attribute at `index` in insertion order.
    const std::pair<Token, Variant>& attributeAt(unsigned long index) const
    {
        return attributes[index];
    }

    /// Writes `value` as attribute text (unescaped UTF-8), as `putAttributesXml` does before
    /// escaping.
    static void appendValueText(std::string& out, const Variant& value);

private:
    Token tag;
    std::vector<std::pair<Token, Variant>> attributes;
    /// Index by name, built once the element holds many attributes.
    std::unordered_map<const char*, unsigned long> index;
    /// Place of each attribute in `attributes`, ascending: the order in which names first came.
    std::vector<unsigned long> places;
    /// Places of the removed names, kept for their return.
    std::unordered_map<const char*, unsigned long> formerPlaces;
    /// Place of the next name never seen on this element.
    unsigned long nextPlace = 0;

    long find(Token name) const;
    void rebuildIndex();
};

} // namespace Arbor

#endif

#ifndef ARBOR_TREE_ELEMENT_H
#define ARBOR_TREE_ELEMENT_H

#include "arbor/tree/InnerNode.h"
#include "arbor/values/Variant.h"

namespace Arbor {

/// Base of the host's element classes. The library fixes the protocol of attribute changes
/// (checks, hooks, undoable operations); the subclass supplies the tag name and the attribute
/// store (`tagName`, `getAttribute`, `hasAttribute`, `setAttributeRaw`, `removeAttributeRaw`) and
/// `cloneNode`, and may override the `may…` checks, the four hooks and `putAttributesXml`.
class ARBOR_API Element : public InnerNode {
public:
    /// An element of `document` with no links and count 0.
    explicit Element(Document* document);
    ~Element() override;

    /// ELEMENT_NODE.
    int nodeType() override;
    /// The tag token.
    Token nodeName() override;
    /// This element.
    Element* asElement() override;
    /// Start tag with the attributes, the children, end tag.
    std::ostream& putXml(std::ostream& os) override;

    // Appended operations, in slot order.
    /// Null.
    virtual const char16_t* nodeValue();
    /// Does nothing.
    virtual void setNodeValue(const char16_t* value);
    /// The element's name.
    virtual Token tagName() = 0;
    /// The attribute's current value (an empty variant when absent, in the usual store).
    virtual Variant getAttribute(Token name) = 0;
    /// Adds or overwrites an attribute. Throws NO_MODIFICATION_ALLOWED_ERR when `readOnly()`,
    /// HIERARCHY_REQUEST_ERR when `maySetAttribute` refuses. In a document's content the change is
    /// an undoable operation that runs the hooks and fires events; elsewhere it is written at once.
    virtual void setAttribute(Token name, const Variant& value);
    /// Removes an attribute; an absent one is ignored without any check. Otherwise throws as
    /// `setAttribute` (with `mayRemoveAttribute`).
    virtual void removeAttribute(Token name);
    /// True when the element has an attribute named `name`.
    virtual bool hasAttribute(Token name) = 0;
    /// Hook: whether this element accepts setting `name` to `value` (HIERARCHY_REQUEST_ERR when it
    /// does not); true here.
    virtual bool maySetAttribute(Token name, const Variant& value);
    /// Hook: whether this element accepts removing `name` (HIERARCHY_REQUEST_ERR when it does not);
    /// true here.
    virtual bool mayRemoveAttribute(Token name);
    /// Writes into the store, adding the attribute if absent. No check, hook or event.
    virtual void setAttributeRaw(Token name, const Variant& value) = 0;
    /// Deletes from the store. No check, hook or event.
    virtual void removeAttributeRaw(Token name) = 0;
    /// Hooks told about a change of `element`'s attribute; returning true passes the notice on
    /// to this element's child elements.
    virtual bool beforeSetAttribute(Element* element, Token name, const Variant& value);
    /// Hook after an attribute of `element` was set; see `beforeSetAttribute`.
    virtual bool afterSetAttribute(Element* element, Token name);
    /// Hook before an attribute of `element` is removed; see `beforeSetAttribute`.
    virtual bool beforeRemoveAttribute(Element* element, Token name);
    /// Hook after an attribute of `element` was removed; see `beforeSetAttribute`.
    virtual bool afterRemoveAttribute(Element* element, Token name);
    /// Writes the attributes after the tag name; writes nothing here.
    virtual std::ostream& putAttributesXml(std::ostream& os);

    /// Tells this element and, as the hooks ask, its descendant elements (depth first, parent
    /// before children, skipping the subtrees of non-element children).
    void propagateBeforeSetAttribute(Element* element, Token name, const Variant& value);
    /// `afterSetAttribute`, passed down as `propagateBeforeSetAttribute` does.
    void propagateAfterSetAttribute(Element* element, Token name);
    /// `beforeRemoveAttribute`, passed down as `propagateBeforeSetAttribute` does.
    void propagateBeforeRemoveAttribute(Element* element, Token name);
    /// `afterRemoveAttribute`, passed down as `propagateBeforeSetAttribute` does.
    void propagateAfterRemoveAttribute(Element* element, Token name);
};

} // namespace Arbor

#endif

#ifndef ARBOR_TREE_DOCUMENT_FRAGMENT_H
#define ARBOR_TREE_DOCUMENT_FRAGMENT_H

#include "arbor/tree/InnerNode.h"
#include "arbor/tree/NodeAllocation.h"

namespace Arbor {

/// A lightweight holder of nodes outside any tree. Inserting it with `insertBefore`,
/// `appendChild` or `replaceChild` moves its children and leaves it empty.
class ARBOR_API DocumentFragment : public InnerNode {
public:
    ARBOR_NODE_ALLOCATION

    /// An empty fragment of `document`, count 0.
    explicit DocumentFragment(Document* document);
    ~DocumentFragment() override;

    /// A new empty fragment of the same document; with `deep`, filled with copies of the
    /// children.
    Node* cloneNode(bool deep) override;
    /// DOCUMENT_FRAGMENT_NODE.
    int nodeType() override;
    /// The token "#document-fragment".
    Token nodeName() override;
    /// This fragment.
    DocumentFragment* asFragment() override;
    /// Writes nothing, not even the children.
    std::ostream& putXml(std::ostream& os) override;

    // Appended operations, in slot order.
    /// Null: a fragment has no value.
    virtual const char16_t* nodeValue();
    /// Does nothing.
    virtual void setNodeValue(const char16_t* value);
    /// False: a fragment has no attributes.
    virtual bool hasAttributes();
};

} // namespace Arbor

#endif

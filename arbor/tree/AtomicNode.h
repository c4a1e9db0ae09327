#ifndef ARBOR_TREE_ATOMIC_NODE_H
#define ARBOR_TREE_ATOMIC_NODE_H

#include "arbor/tree/Node.h"

namespace Arbor {

/// A node that cannot hold children: every change of its children is refused.
class ARBOR_API AtomicNode : public Node {
public:
    /// A node of `document` with no links and count 0.
    explicit AtomicNode(Document* document);
    ~AtomicNode() override;

    /// Null.
    Node* firstChild() override;
    /// Null.
    Node* lastChild() override;
    bool mayReplaceChildren(Node* first, unsigned long count, Node* newChild) override;
    /// Throws HIERARCHY_REQUEST_ERR.
    void replaceChildrenRaw(Node* first, unsigned long count, Node* newChild) override;
};

} // namespace Arbor

#endif

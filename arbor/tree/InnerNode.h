#ifndef ARBOR_TREE_INNER_NODE_H
#define ARBOR_TREE_INNER_NODE_H

#include "arbor/tree/Node.h"

namespace Arbor {

/// A node that can hold children.
class ARBOR_API InnerNode : public Node {
public:
    /// First child or null; counted.
    Node* first = nullptr;
    /// Last child or null; not counted.
    Node* last = nullptr;

    /// A node of `document` with no links and count 0.
    explicit InnerNode(Document* document);
    /// Releases the children (the ones held elsewhere survive with `parent` cleared).
    ~InnerNode() override;

    /// The first child, or null.
    Node* firstChild() override;
    /// The last child, or null.
    Node* lastChild() override;
    unsigned long items() override;
    bool mayReplaceChildren(Node* first, unsigned long count, Node* newChild) override;
    /// The raw replacement: relinks the run and the chain and moves the references.
    void replaceChildrenRaw(Node* first, unsigned long count, Node* newChild) override;

    /// Gives `target` deep copies of this node's children in the same order, through the raw
    /// replacement. Copies go in front of `target`'s existing children, if it has any.
    void cloneChildren(Node* target);

    /// Takes the children out as a parentless chain and returns its head, which carries the
    /// reference this node held on it (the caller now owns it); null when there are none.
    Node* takeChildren();

protected:
    /// The raw replacement without noting it as a change no operation records; for child lists
    /// that never hold an operation's insertion point.
    void relinkChildren(Node* first, unsigned long count, Node* newChild);

private:
    Node* adoptChain(Node* head);
    void appendChain(Node* head, Node* tail);
    void insertChain(Node* before, Node* head, Node* tail);
    void replaceRun(Node* runHead, unsigned long count, Node* head, Node* tail);
};

} // namespace Arbor

#endif

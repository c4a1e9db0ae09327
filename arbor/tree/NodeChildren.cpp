#include "arbor/document/Document.h"
#include "arbor/foundation/Ref.h"
#include "arbor/tree/DocumentFragment.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/Node.h"
#include "arbor/undo/ReplaceChildrenOperation.h"
#include "arbor/undo/internal/OperationRun.h"

namespace {

using Arbor::Node;

bool isChainHead(Node* node) { return !node->parent && !node->previous; }

// Documents, ranges and range lists live outside every child list.
bool mayBeChild(Node* node)
{
    const int type = node->nodeType();
    return type != Arbor::DOCUMENT_NODE && type != Arbor::RANGE_NODE
        && type != Arbor::RANGE_LIST_NODE;
}

bool chainMayBeChildren(Node* chain)
{
    for (Node* node = chain; node; node = node->next) {
        if (!mayBeChild(node)) return false;
    }
    return true;
}

// Takes `node` out of the parentless sibling chain it belongs to, as a move takes a node out of
// its parent. A node inside the chain was held by its predecessor's `next` link: that reference
// passes to the returned holder. A head keeps its own holders and lets go of the nodes after it,
// but only when the holder goes: they may hold the node being inserted into, or its reference
// child, which the insertion still reads.
Plinth::Ref<Node> cutFromChain(Node* node)
{
    Node* before = node->previous;
    Node* after = node->next;
    if (!before) {
        if (!after) return {};
        after->previous = nullptr;
        node->next = nullptr;
        return Plinth::Ref<Node>::adopt(after);
    }
    // The predecessor's reference on `node` moves to the holder, and `node`'s reference on
    // `after` moves to the predecessor's link: no count changes.
    Plinth::Ref<Node> held = Plinth::Ref<Node>::adopt(node);
    before->next = after;
    if (after) after->previous = before;
    node->previous = nullptr;
    node->next = nullptr;
    return held;
}

// Whether `node` is `target` or one of its ancestors.
bool isInclusiveAncestor(Node* node, Node* target)
{
    for (Node* walk = target; walk; walk = walk->parent) {
        if (walk == node) return true;
    }
    return false;
}

// Whether inserting `head` (with the children after it, for an unpacked fragment) into `parent`
// is bound to fail whatever the move does: a reference node that is no child, a node of another
// document, a node that cannot be a child, or a cycle (the node would go into itself or into one
// of its descendants; a fragment holding `parent` would hand over the ancestors of `parent`).
bool moveIsRefused(Node* parent, Node* head, Arbor::DocumentFragment* fragment, Node* first)
{
    if (first && first->parent != parent) return true;
    if (head->document != parent->document) return true;
    if (fragment)
        return !chainMayBeChildren(head)
            || (fragment != parent && isInclusiveAncestor(fragment, parent->parent));
    return !mayBeChild(head) || isInclusiveAncestor(head, parent);
}

// Throws what a refused move would throw, without moving anything: the removal from the old
// parent checks first, then the insertion's checks in their usual order. The hooks see the node
// still in its old place.
[[noreturn]] void refuseUnmoved(
    Node* parent, Node* oldParent, Node* head, Node* first, unsigned long count)
{
    using Arbor::DomException;
    if (oldParent) {
        if (oldParent->readOnly()) throw DomException(DomException::NO_MODIFICATION_ALLOWED_ERR);
        if (!oldParent->mayReplaceChildren(head, 1, nullptr))
            throw DomException(DomException::HIERARCHY_REQUEST_ERR);
    }
    if (first && first->parent != parent) throw DomException(DomException::NOT_FOUND_ERR);
    if (head->document != parent->document) throw DomException(DomException::WRONG_DOCUMENT_ERR);
    if (parent->readOnly()) throw DomException(DomException::NO_MODIFICATION_ALLOWED_ERR);
    if (!parent->mayReplaceChildren(first, count, head))
        throw DomException(DomException::HIERARCHY_REQUEST_ERR);
    throw DomException(DomException::HIERARCHY_REQUEST_ERR); // the shape's refusal
}

} // namespace

bool Arbor::Node::closesCycle(Node* chain)
{
    // Chain nodes have no parent, so the only one that can be this node or its ancestor is the
    // root of this node's tree: one walk up, one walk along the chain.
    Node* root = this;
    while (root->parent)
        root = root->parent;
    for (Node* node = chain; node; node = node->next) {
        if (node == root) return true;
    }
    return false;
}

void Arbor::Node::replaceChildren(Node* first, unsigned long count, Node* newChild)
{
    if (newChild) {
        if (first && first->parent != this) throw DomException(DomException::NOT_FOUND_ERR);
        if (newChild->document != document) throw DomException(DomException::WRONG_DOCUMENT_ERR);
    } else {
        if (!first || count == 0) return;
        if (first->parent != this) throw DomException(DomException::NOT_FOUND_ERR);
    }
    if (readOnly()) throw DomException(DomException::NO_MODIFICATION_ALLOWED_ERR);
    if (!mayReplaceChildren(first, count, newChild))
        throw DomException(DomException::HIERARCHY_REQUEST_ERR);
    if (newChild
        && (!isChainHead(newChild) || !chainMayBeChildren(newChild) || closesCycle(newChild)))
        throw DomException(DomException::HIERARCHY_REQUEST_ERR);

    if (isDocumentChild())
        runModelOperation(document,
            new (document) ReplaceChildrenOperation(document, this, first, count, newChild));
    else
        replaceChildrenRaw(first, count, newChild);
}

Arbor::Node* Arbor::Node::insertBefore(Node* newChild, Node* refChild)
{
    return insertPrepared(newChild, refChild, 0);
}

Arbor::Node* Arbor::Node::appendChild(Node* newChild)
{
    return insertPrepared(newChild, nullptr, 0);
}

Arbor::Node* Arbor::Node::replaceChild(Node* newChild, Node* oldChild)
{
    insertPrepared(newChild, oldChild, 1);
    return oldChild;
}

Arbor::Node* Arbor::Node::removeChild(Node* oldChild)
{
    if (!oldChild) return nullptr;
    replaceChildren(oldChild, 1, nullptr);
    return oldChild;
}

Arbor::Node* Arbor::Node::insertPrepared(Node* newChild, Node* first, unsigned long count)
{
    if (!newChild) throw DomException(DomException::HIERARCHY_REQUEST_ERR);
    // A move that is bound to fail is refused before the node leaves its old place or a
    // fragment is emptied: the node may be held by nothing but its old parent (even the document
    // element is), and a range taken out of its range list would stop following the document.
    DocumentFragment* fragment = newChild->asFragment();
    if (Node* head = fragment ? fragment->firstChild() : newChild;
        head && moveIsRefused(this, head, fragment, first)) {
        if (fragment || newChild->parent || newChild->previous || newChild->next)
            refuseUnmoved(this, fragment ? nullptr : newChild->parent, head, first, count);
        replaceChildren(first, count, newChild); // nothing to move: the checks refuse it
        throw DomException(DomException::HIERARCHY_REQUEST_ERR);
    }
    if (fragment) return insertFragment(fragment, first, count);

    // The old parent, or the predecessor in a parentless chain, may be the node's only holder:
    // keep it alive across the move. The rest of a chain the node headed is kept as long.
    Plinth::Ref<Node> keep;
    if (Node* oldParent = newChild->parent) {
        keep = Plinth::Ref<Node>(newChild);
        oldParent->removeChild(newChild);
    } else if (newChild->previous || newChild->next) {
        keep = cutFromChain(newChild);
    }
    replaceChildren(first, count, newChild);
    return newChild;
}

Arbor::Node* Arbor::Node::insertFragment(
    DocumentFragment* fragment, Node* first, unsigned long count)
{
    if (!fragment->firstChild()) {
        replaceChildren(first, count, nullptr);
        return nullptr;
    }
    // The fragment's reference on its first child passes to `chain`.
    Plinth::Ref<Node> chain = Plinth::Ref<Node>::adopt(fragment->takeChildren());
    Node* head = chain.get();
    try {
        replaceChildren(first, count, head);
    } catch (...) {
        // Give the children back, unless the change went through before the error (an observer
        // threw after it): then they belong to the tree now.
        if (isChainHead(head)) fragment->replaceChildrenRaw(nullptr, 0, head);
        throw;
    }
    return head;
}

#include "arbor/tree/Node.h"

#include "arbor/document/Document.h"
#include "arbor/document/internal/NodeWatch.h"
#include "arbor/foundation/Ref.h"
#include "arbor/tree/internal/ChainRelease.h"

Arbor::Node::Node(Document* document)
    : document(document)
    , mark(0)
    , flags(0)
{
}

Arbor::Node::~Node()
{
    // The document node itself is past its watchers when its own node part goes; a node that
    // outlives its document finds it no longer watched.
    if (document && document != this && isWatchedDocument(document)) reportNodeDestroyed(this);
    releaseFollowing();
}

Arbor::Element* Arbor::Node::asElement() { return nullptr; }

Arbor::Text* Arbor::Node::asText() { return nullptr; }

Arbor::DocumentFragment* Arbor::Node::asFragment() { return nullptr; }

void Arbor::Node::afterParentChanged() { }

bool Arbor::Node::readOnly() const { return false; }

namespace {

using Arbor::Node;

// Releases nest: a node the loop below destroys releases its own children from its destructor.
// Up to this many releases run nested, each clearing the `parent` links of a child list while
// the parent's memory is still there; deeper ones wait in the pending list (after their
// `parent` links are cleared in a pass of their own), so the stack used stays bounded however
// deep the tree is.
constexpr unsigned maxNestedReleases = 8;

// The pending chains, linked through the `parent` field of their heads, and the nesting depth.
// The outermost release drains the list in a loop.
thread_local Node* pendingRelease = nullptr;
thread_local unsigned releaseDepth = 0;

// The loop of releaseChain. Each node that dies is cut from its successor first (the reference
// it held passes to the loop), so its destructor never walks the chain, and the nodes are freed
// in the order they were linked, which is mostly the order the allocator handed them out.
void releaseRun(Node* node, bool children)
{
    while (node) {
        node->previous = nullptr;
        if (node->refCount > 1) {
            // Held elsewhere: it survives and keeps the rest of the chain.
            if (children) {
                for (Node* survivor = node; survivor; survivor = survivor->next)
                    survivor->parent = nullptr;
            }
            node->unref();
            return;
        }
        Node* following = node->next;
        node->next = nullptr;
        if (children) node->parent = nullptr;
        node->unref();
        node = following;
    }
}

} // namespace

void Arbor::releaseChain(Node* head, bool children)
{
    if (!head) return;
    if (releaseDepth >= maxNestedReleases) {
        if (children) {
            for (Node* child = head; child; child = child->next)
                child->parent = nullptr;
        }
        head->parent = pendingRelease;
        pendingRelease = head;
        return;
    }
    ++releaseDepth;
    releaseRun(head, children);
    if (releaseDepth == 1) {
        while (Node* waiting = pendingRelease) {
            pendingRelease = waiting->parent;
            waiting->parent = nullptr;
            releaseRun(waiting, false);
        }
    }
    --releaseDepth;
}

// The siblings after this node that nobody else holds die with it; the first one that survives
// (something else holds it) keeps the rest of the chain and loses its dangling `previous`.
void Arbor::Node::releaseFollowing()
{
    Node* following = next;
    if (!following) return;
    next = nullptr; // the reference passes to the release
    releaseChain(following, false);
}

unsigned long Arbor::Node::parentOffset()
{
    if (!parent) return 0;
    unsigned long index = 0;
    for (Node* child = parent->firstChild(); child && child != this; child = child->next)
        ++index;
    return index;
}

unsigned long Arbor::Node::countFollowing(Node* node)
{
    unsigned long count = 0;
    for (; node; node = node->next)
        ++count;
    return count;
}

Arbor::Node* Arbor::Node::commonAncestorContainer(Node* a, Node* b)
{
    if (a == b) return a;
    for (Node* node = a; node; node = node->parent)
        node->mark = 1;
    Node* found = nullptr;
    for (Node* node = b; node && !found; node = node->parent) {
        if (node->mark) found = node;
    }
    for (Node* node = a; node; node = node->parent)
        node->mark = 0;
    return found;
}

bool Arbor::Node::isDocumentChild()
{
    if (!document) return false;
    Node* root = document->firstChild();
    if (!root) return false;
    if (this == root) return true;
    for (Node* node = parent; node; node = node->parent) {
        if (node == root) return true;
    }
    return false;
}

Arbor::Node* Arbor::Node::findChild(Token name)
{
    for (Node* child = firstChild(); child; child = child->next) {
        if (child->nodeName() == name) return child;
    }
    return nullptr;
}

Arbor::Node* Arbor::Node::findChild(unsigned long index)
{
    Node* child = firstChild();
    for (; child && index > 0; --index)
        child = child->next;
    return child;
}

#include "arbor/tree/Node.h"

#include "arbor/document/Document.h"
#include "arbor/foundation/Ref.h"

Arbor::Node::Node(Document* document)
    : document(document)
    , mark(0)
    , flags(0)
{
}

Arbor::Node::~Node() { releaseFollowing(); }

Arbor::Element* Arbor::Node::asElement() { return nullptr; }

Arbor::Text* Arbor::Node::asText() { return nullptr; }

Arbor::DocumentFragment* Arbor::Node::asFragment() { return nullptr; }

void Arbor::Node::afterParentChanged() { }

bool Arbor::Node::readOnly() const { return false; }

// The siblings after this node that nobody else holds die with it. Find the last of them first,
// then cut the links from that end backwards, so each release destroys a node whose own `next` is
// already cut: the nesting depth does not grow with the number of siblings. The first sibling that
// survives (something else holds it) keeps the rest of the chain and loses its dangling `previous`.
void Arbor::Node::releaseFollowing()
{
    if (!next) return;
    Node* tail = this;
    while (tail->next && tail->next->refCount == 1)
        tail = tail->next;
    if (Node* survivor = tail->next) {
        if (survivor->previous == tail) survivor->previous = nullptr;
        Plinth::releaseCounted(tail->next);
    }
    for (Node* node = tail; node != this;) {
        Node* before = node->previous;
        Plinth::releaseCounted(before->next);
        node = before;
    }
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

#include "arbor/tree/InnerNode.h"

#include "arbor/foundation/Ref.h"
#include "arbor/foundation/internal/Assert.h"
#include "arbor/tree/internal/ChainRelease.h"
#include "arbor/undo/internal/InsertionAnchors.h"

Arbor::InnerNode::InnerNode(Document* document)
    : Node(document)
{
}

// Children that outlive this node (held elsewhere) are left with no `parent`; see releaseChain.
Arbor::InnerNode::~InnerNode()
{
    Node* head = first;
    if (!head) return;
    first = nullptr; // the reference passes to the release
    last = nullptr;
    releaseChain(head, true);
}

Arbor::Node* Arbor::InnerNode::firstChild() { return first; }

Arbor::Node* Arbor::InnerNode::lastChild() { return last; }

unsigned long Arbor::InnerNode::items() { return countFollowing(first); }

bool Arbor::InnerNode::mayReplaceChildren(Node*, unsigned long, Node*) { return true; }

void Arbor::InnerNode::replaceChildrenRaw(Node* runHead, unsigned long count, Node* newChild)
{
    InsertionAnchors::noteRawChange(document, this);
    relinkChildren(runHead, count, newChild);
}

void Arbor::InnerNode::relinkChildren(Node* runHead, unsigned long count, Node* newChild)
{
    if (!newChild && (!runHead || count == 0)) return;
    Node* tail = newChild ? adoptChain(newChild) : nullptr;
    if (!runHead)
        appendChain(newChild, tail);
    else if (count == 0)
        insertChain(runHead, newChild, tail);
    else
        replaceRun(runHead, count, newChild, tail);
}

Arbor::Node* Arbor::InnerNode::adoptChain(Node* head)
{
    ARBOR_ASSERT(!head->previous, "a chain starts at its head");
    Node* tail = head;
    for (Node* node = head;; node = node->next) {
        node->parent = this;
        tail = node;
        if (!node->next) break;
    }
    return tail;
}

void Arbor::InnerNode::appendChain(Node* head, Node* tail)
{
    Node* before = last;
    head->previous = before;
    Plinth::assignCounted(before ? before->next : first, head);
    last = tail;
}

void Arbor::InnerNode::insertChain(Node* before, Node* head, Node* tail)
{
    ARBOR_ASSERT(before->parent == this, "insertion point is a child");
    ARBOR_ASSERT(!tail->next, "a chain ends at its tail");
    // The link that pointed at `before` hands its reference on to the chain's tail, and takes
    // one on the chain's head: no count changes but the head's.
    Node*& link = before->previous ? before->previous->next : first;
    tail->next = before;
    head->ref();
    link = head;
    head->previous = before->previous;
    before->previous = tail;
}

void Arbor::InnerNode::replaceRun(Node* runHead, unsigned long count, Node* head, Node* tail)
{
    ARBOR_ASSERT(runHead->parent == this, "run starts at a child");
    Node* runEnd = runHead;
    runEnd->parent = nullptr;
    for (unsigned long i = 1; i < count && runEnd->next; ++i) {
        runEnd = runEnd->next;
        runEnd->parent = nullptr;
    }
    Node* after = runEnd->next;
    Node* before = runHead->previous;
    Node*& link = before ? before->next : first;
    // The tree's reference on the run's head is dropped last of all: if it is the run's last
    // holder, its destructor walks `next`, which must no longer lead into this node's children.
    // The run's reference on the node after it passes to whatever now precedes that node.
    Plinth::Ref<Node> run = Plinth::Ref<Node>::adopt(link);
    runEnd->next = nullptr;
    if (head) {
        ARBOR_ASSERT(!tail->next, "a chain ends at its tail");
        head->ref();
        link = head;
        tail->next = after;
        if (after)
            after->previous = tail;
        else
            last = tail;
        head->previous = before;
    } else {
        link = after;
        if (after)
            after->previous = before;
        else
            last = before;
    }
    runHead->previous = nullptr;
}

void Arbor::InnerNode::cloneChildren(Node* target)
{
    for (Node* child = lastChild(); child; child = child->previous) {
        // Held while it goes in, so a target that refuses it (an atomic node) releases it.
        Plinth::Ref<Node> copy(child->cloneNode(true));
        if (copy) target->replaceChildrenRaw(target->firstChild(), 0, copy.get());
    }
}

Arbor::Node* Arbor::InnerNode::takeChildren()
{
    for (Node* child = first; child; child = child->next)
        child->parent = nullptr;
    Node* head = first;
    first = nullptr;
    last = nullptr;
    return head;
}

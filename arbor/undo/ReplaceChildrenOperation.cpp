#include "arbor/undo/ReplaceChildrenOperation.h"

#include "arbor/document/Document.h"
#include "arbor/document/Events.h"
#include "arbor/foundation/Ref.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/Node.h"
#include "arbor/undo/internal/InsertionAnchors.h"

namespace {

using Arbor::Node;

unsigned long clampRun(Node* first, unsigned long count)
{
    unsigned long present = 0;
    for (Node* node = first; node && present < count; node = node->next)
        ++present;
    return present;
}

bool runIsChildOf(Node* first, unsigned long count, Node* parent)
{
    Node* node = first;
    for (unsigned long i = 0; i < count; ++i, node = node->next) {
        if (!node || node->parent != parent) return false;
    }
    return true;
}

// Whether `node` is one of the children of `parent`, found by comparing addresses only: `node`
// is not counted by the operation and may have been destroyed, so it is never read before it
// is found here. The search runs from both ends at once, so the usual places (the first or the
// last child, as undoing appends and insertions at the front gives) cost a step or two.
bool isChild(Node* parent, Node* node)
{
    Node* forward = parent->firstChild();
    Node* backward = parent->lastChild();
    while (forward) {
        if (forward == node || backward == node) return true;
        if (forward == backward || forward->next == backward) return false;
        forward = forward->next;
        backward = backward->previous;
    }
    return false;
}

// The node that follows `count` nodes from `first` (`first` itself when `count` is 0).
Node* nodeAfterRun(Node* first, unsigned long count)
{
    Node* node = first;
    for (unsigned long i = 0; i < count && node; ++i)
        node = node->next;
    return node;
}

} // namespace

Arbor::ReplaceChildrenOperation::ReplaceChildrenOperation(
    Document* document, Node* parent, Node* first, unsigned long count, Node* replacement)
    : ModelOperation(document)
    , parent(parent)
    , first(first)
    , count(first ? clampRun(first, count) : 0)
    , replacement(replacement)
    , replacementLength(0)
{
    if (parent) parent->ref();
    if (replacement) replacement->ref();
}

Arbor::ReplaceChildrenOperation::~ReplaceChildrenOperation()
{
    Plinth::releaseCounted(replacement);
    Plinth::releaseCounted(parent);
    if (anchored) InsertionAnchors::release(document);
}

// A host may have moved one of the operation's nodes meanwhile (a removed node reused outside the
// document's content, where nothing is recorded). Linking it back would give it two parents, and
// a run with a node cut out of it would come back incomplete, so such an execution is refused
// before anything is announced. `first` is held by the tree only, so once it has left `parent`
// it may be gone: it is looked up among the children before it is read.
void Arbor::ReplaceChildrenOperation::checkPlacement()
{
    // The log answers for operations it does not watch too, as long as it began before their
    // stamp; only `first` is looked up, so a longer run also needs `parent` unchanged.
    const bool placed
        = (!first || (!InsertionAnchors::lost(document, first, stamp) && isChild(parent, first)))
        && (count < 2 || !InsertionAnchors::rearranged(document, parent, stamp))
        && runIsChildOf(first, count, parent)
        && (!replacement
            || (!replacement->parent && !replacement->previous
                && Node::countFollowing(replacement) == replacementLength
                && !parent->closesCycle(replacement)));
    if (!placed) throw DomException(DomException::INVALID_STATE_ERR);
}

void Arbor::ReplaceChildrenOperation::execute()
{
    // A replay may find `first` gone, so it is looked up before it is read (a walk over the
    // children); the first execution follows the caller's own checks of the same request, and
    // starts the document's death log if needed (running out of memory there leaves everything
    // as it was), unless the history keeps nothing (in a batch, say).
    if (executed) {
        checkPlacement();
    } else if (document->maxUndoTasks() != 0) {
        InsertionAnchors::anchor(document);
        anchored = true;
    }

    // The next `first` is not counted: the stamp taken now lets a later replay tell it from a new
    // node at the same address.
    const unsigned long long nextStamp = InsertionAnchors::stamp(document);
    Node* nextFirst = replacement ? replacement : nodeAfterRun(first, count);

    executed = true;
    BeforeReplaceChildrenEvent before(parent, first, replacement, count);
    document->fireEvent(before);

    // The raw replacement gives up the tree's reference on the removed run; hold it here.
    Plinth::Ref<Node> removedHead(count ? first : nullptr);
    // Mostly a single node: counted without the walk.
    const unsigned long inserted = !replacement ? 0
        : !replacement->next                    ? 1
                                                : Node::countFollowing(replacement);
    Plinth::Ref<Node> newPosition(nextFirst);

    {
        InsertionAnchors::RecordedChange recorded(document);
        parent->replaceChildrenRaw(first, count, replacement);
    }
    Node* node = replacement;
    for (unsigned long i = 0; i < inserted && node; ++i, node = node->next)
        node->afterParentChanged();

    first = newPosition.get();
    stamp = nextStamp;
    replacementLength = count;
    count = inserted;
    Plinth::assignCounted(replacement, removedHead.get());

    AfterReplaceChildrenEvent after(parent);
    document->fireEvent(after);
}

void Arbor::ReplaceChildrenOperation::undo() { execute(); }

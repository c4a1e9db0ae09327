#include "arbor/document/Document.h"
#include "arbor/document/Events.h"
#include "arbor/foundation/Ref.h"
#include "arbor/foundation/UString.h"
#include "arbor/range/Range.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/Text.h"

namespace {

using Arbor::Node;

bool isAtOrBelow(Node* node, Node* ancestor)
{
    for (; node; node = node->parent) {
        if (node == ancestor) return true;
    }
    return false;
}

void movePointForRemoval(
    Node*& container, unsigned long& offset, Node* parent, unsigned long index, unsigned long count)
{
    const int where = Arbor::Range::comparePointWithRange(container, offset, parent, index, count);
    if (where == 0) {
        container = parent;
        offset = index;
    } else if (where == 1) {
        offset -= count;
    }
}

// Offsets are compared against the stretch without adding to them, so a count of any size
// (the largest value means "to the end") cannot wrap around.
void movePointForDeletion(unsigned long& point, unsigned long offset, unsigned long count)
{
    if (offset > point) return;
    if (point - offset >= count)
        point -= count;
    else
        point = offset;
}

} // namespace

void Arbor::Range::onEvent(DomEvent& event)
{
    if (flags & (Detached | Suspended)) return;
    if (event.type == tok_BeforeReplaceText) {
        auto& e = static_cast<BeforeReplaceTextEvent&>(event);
        // Comments and processing instructions announce their edits with the same event.
        if (e.target == startContainer || e.target == endContainer)
            followText(e.target, e.offset, e.count, e.data ? Plinth::ustrlen(e.data) : 0);
    } else if (event.type == tok_BeforeReplaceChildren) {
        auto& e = static_cast<BeforeReplaceChildrenEvent&>(event);
        beforeReplaceChildren(e.target, e.child, e.count, e.newChild);
    }
}

bool Arbor::Range::touches(Node* parent) const
{
    return isAtOrBelow(startContainer, parent) || isAtOrBelow(endContainer, parent);
}

void Arbor::Range::beforeReplaceChildren(
    Node* parent, Node* child, unsigned long count, Node* newChild)
{
    if (flags & (Detached | Suspended)) return;
    // Only points in `parent` or below it can move; the sibling walk is skipped for the others.
    if (!touches(parent)) return;
    unsigned long index = 0;
    for (Node* node = parent->firstChild(); node && node != child; node = node->next)
        ++index;
    followChildren(parent, index, child ? count : 0, countFollowing(newChild));
}

void Arbor::Range::followChildren(
    Node* parent, unsigned long index, unsigned long removed, unsigned long inserted)
{
    Node* sc = startContainer;
    unsigned long so = startOffset;
    Node* ec = endContainer;
    unsigned long eo = endOffset;
    if (removed > 0) {
        movePointForRemoval(sc, so, parent, index, removed);
        movePointForRemoval(ec, eo, parent, index, removed);
    }
    if (inserted > 0) {
        if (sc == parent && index < so) so += inserted;
        if (ec == parent && index < eo) eo += inserted;
    }
    change(sc, so, ec, eo);
}

void Arbor::Range::beforeReplaceText(
    Text* text, unsigned long offset, unsigned long count, const char16_t* data)
{
    if (flags & (Detached | Suspended)) return;
    if (text != startContainer && text != endContainer) return;
    followText(text, offset, count, data ? Plinth::ustrlen(data) : 0);
}

void Arbor::Range::followText(
    Node* text, unsigned long offset, unsigned long count, unsigned long inserted)
{
    Node* sc = startContainer;
    unsigned long so = startOffset;
    Node* ec = endContainer;
    unsigned long eo = endOffset;
    if (count > 0) {
        if (sc == text) movePointForDeletion(so, offset, count);
        if (ec == text) movePointForDeletion(eo, offset, count);
    }
    if (inserted > 0) {
        if (sc == text && offset < so) so += inserted;
        if (ec == text && offset < eo) eo += inserted;
    }
    change(sc, so, ec, eo);
}

void Arbor::Range::beforeBatchChanges()
{
    if (flags & (Detached | Suspended)) return;
    flags |= Suspended;
    Plinth::Ref<Node> oldStart = Plinth::Ref<Node>::adopt(startContainer);
    Plinth::Ref<Node> oldEnd = Plinth::Ref<Node>::adopt(endContainer);
    document->ref();
    startContainer = document;
    document->ref();
    endContainer = document;
    startOffset = 0;
    endOffset = 0;
}

void Arbor::Range::afterBatchChanges()
{
    if (isDetached()) return;
    flags &= ~Suspended;
}

void Arbor::Range::unObserve(Token)
{
    if (!isDetached()) detach();
}

void Arbor::Range::detach()
{
    checkAttached();
    // Deselecting drops the selection's reference: keep the range until it is detached.
    Plinth::Ref<Range> keep;
    if (isSelected()) {
        keep = Plinth::Ref<Range>(this);
        deselect();
    }
    Plinth::Ref<Node> oldStart = Plinth::Ref<Node>::adopt(startContainer);
    Plinth::Ref<Node> oldEnd = Plinth::Ref<Node>::adopt(endContainer);
    startContainer = nullptr;
    flags |= Detached;
    endContainer = nullptr;
}

void Arbor::Range::detachSilent()
{
    Plinth::Ref<Node> oldStart = Plinth::Ref<Node>::adopt(startContainer);
    Plinth::Ref<Node> oldEnd = Plinth::Ref<Node>::adopt(endContainer);
    startContainer = nullptr;
    endContainer = nullptr;
    flags |= Detached;
}

void Arbor::Range::deselect()
{
    if (!(flags & Selected) || (flags & Deselecting)) return;
    if (!(flags & (Detached | Suspended))) {
        flags |= Deselecting;
        BeforeDeselectEvent before(this);
        try {
            document->fireEvent(before);
        } catch (...) {
            flags &= ~Deselecting;
            throw;
        }
    }
    flags &= ~(Selected | Deselecting);
    unref(); // the selection's reference: the range may be gone from here on
}

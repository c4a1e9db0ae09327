#include "arbor/document/Document.h"
#include "arbor/document/Events.h"
#include "arbor/foundation/Ref.h"
#include "arbor/foundation/UString.h"
#include "arbor/range/Range.h"
#include "arbor/range/internal/RangeList.h"
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
        TextUpkeep upkeep { e.target, e.offset, e.count, e.data };
        follow(upkeep);
    } else if (event.type == tok_BeforeReplaceChildren) {
        auto& e = static_cast<BeforeReplaceChildrenEvent&>(event);
        beforeReplaceChildren(e.target, e.child, e.count, e.newChild);
    }
}

bool Arbor::Range::touches(Node* parent) const
{
    return isAtOrBelow(startContainer, parent) || isAtOrBelow(endContainer, parent);
}

void Arbor::Range::follow(ChildUpkeep& upkeep)
{
    if (flags & (Detached | Suspended)) return;
    Node* parent = upkeep.parent;
    // Only points in `parent` or below it can move; the sibling walk is skipped for the others.
    if (!touches(parent)) return;
    if (!upkeep.measured) {
        upkeep.index = 0;
        for (Node* node = parent->firstChild(); node && node != upkeep.child; node = node->next)
            ++upkeep.index;
        upkeep.inserted = countFollowing(upkeep.newChild);
        upkeep.measured = true;
    }
    const unsigned long index = upkeep.index;
    const unsigned long removed = upkeep.child ? upkeep.count : 0;
    const unsigned long inserted = upkeep.inserted;
    // A selected range announces its move to observers, which may edit the children.
    if (isSelected()) upkeep.measured = false;
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

void Arbor::Range::follow(TextUpkeep& upkeep)
{
    if (flags & (Detached | Suspended)) return;
    Node* text = upkeep.text;
    if (text != startContainer && text != endContainer) return;
    if (!upkeep.measured) {
        upkeep.inserted = upkeep.data ? Plinth::ustrlen(upkeep.data) : 0;
        upkeep.measured = true;
    }
    const unsigned long offset = upkeep.offset;
    const unsigned long count = upkeep.count;
    const unsigned long inserted = upkeep.inserted;
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

void Arbor::Range::beforeReplaceChildren(
    Node* parent, Node* child, unsigned long count, Node* newChild)
{
    ChildUpkeep upkeep { parent, child, count, newChild };
    follow(upkeep);
}

void Arbor::Range::beforeReplaceText(
    Text* text, unsigned long offset, unsigned long count, const char16_t* data)
{
    TextUpkeep upkeep { text, offset, count, data };
    follow(upkeep);
}

// As forEachRange, for the upkeep of a change. Until the first selected range announces its
// change no host code runs (an unselected range fires nothing and releases no container the tree
// does not hold), so the ranges are visited without holding them. From there on observers may
// change the document, which purges unheld ranges, or even tear it down: each range is held
// across its call, and the next one taken before it is let go.
template <class Follow> void Arbor::RangeList::followEach(Follow follow)
{
    Node* node = first;
    for (; node; node = node->next) {
        auto* range = static_cast<Range*>(node);
        if (range->isSelected()) break;
        follow(range);
    }
    Plinth::Ref<Node> current(node);
    while (current) {
        follow(static_cast<Range*>(current.get()));
        current = Plinth::Ref<Node>(current->next);
    }
}

// The range list passes each change to its ranges; the measurements of the change are shared
// (see Range::ChildUpkeep). Beside the upkeep routines, so that they can be inlined here.
void Arbor::RangeList::followChildren(DomEvent& event)
{
    auto& e = static_cast<BeforeReplaceChildrenEvent&>(event);
    Range::ChildUpkeep upkeep { e.target, e.child, e.count, e.newChild };
    followEach([&upkeep](Range* range) { range->follow(upkeep); });
}

void Arbor::RangeList::followText(DomEvent& event)
{
    auto& e = static_cast<BeforeReplaceTextEvent&>(event);
    // Comments and processing instructions announce their edits with the same event.
    Range::TextUpkeep upkeep { e.target, e.offset, e.count, e.data };
    followEach([&upkeep](Range* range) { range->follow(upkeep); });
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

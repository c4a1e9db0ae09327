#include "arbor/range/RangeList.h"

#include "arbor/document/Events.h"
#include "arbor/foundation/Ref.h"
#include "arbor/foundation/UString.h"
#include "arbor/range/Range.h"
#include "arbor/tree/Text.h"
#include "arbor/values/NodeNames.h"

#include <ostream>

Arbor::RangeList::RangeList(Document* document)
    : InnerNode(document)
{
}

Arbor::RangeList::~RangeList()
{
    for (Node* node = first; node; node = node->next)
        static_cast<Range*>(node)->detachSilent();
}

Arbor::Node* Arbor::RangeList::cloneNode(bool) { return nullptr; }

int Arbor::RangeList::nodeType() { return RANGE_LIST_NODE; }

Arbor::Token Arbor::RangeList::nodeName() { return tok_rangelist; }

std::ostream& Arbor::RangeList::putXml(std::ostream& os) { return os; }

// A reference on the current range is held across each call, and the next range is read only
// afterwards: the call may reach observers that change the document, and a change purges the
// ranges nobody holds.
template <class Call> void Arbor::RangeList::forEachRange(Call call)
{
    Plinth::Ref<Node> current(firstChild());
    while (current) {
        call(static_cast<Range*>(current.get()));
        current = Plinth::Ref<Node>(current->next);
    }
}

void Arbor::RangeList::unObserve(Token type)
{
    forEachRange([type](Range* range) { range->unObserve(type); });
}

void Arbor::RangeList::beforeBatchChanges()
{
    forEachRange([](Range* range) { range->beforeBatchChanges(); });
}

void Arbor::RangeList::afterBatchChanges()
{
    forEachRange([](Range* range) { range->afterBatchChanges(); });
}

void Arbor::RangeList::onEvent(DomEvent& event)
{
    if (!first) return; // no range to keep up to date
    if (event.type == tok_BeforeReplaceChildren)
        followChildren(event);
    else if (event.type == tok_BeforeReplaceText)
        followText(event);
    else
        forEachRange([&event](Range* range) { range->onEvent(event); });
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

// The index of the change among the parent's children (and the number of nodes coming in) is
// counted once for every range it concerns instead of once per range. It stays valid until a
// selected range has announced its change: its observers may have edited the children.
void Arbor::RangeList::followChildren(DomEvent& event)
{
    auto& e = static_cast<BeforeReplaceChildrenEvent&>(event);
    bool known = false;
    unsigned long index = 0;
    unsigned long inserted = 0;
    followEach([&](Range* range) {
        if (range->flags & (Range::Detached | Range::Suspended)) return;
        Node* parent = e.target;
        if (!range->touches(parent)) return;
        if (!known) {
            index = 0;
            for (Node* node = parent->firstChild(); node && node != e.child; node = node->next)
                ++index;
            inserted = countFollowing(e.newChild);
            known = true;
        }
        if (range->isSelected()) known = false;
        range->followChildren(parent, index, e.child ? e.count : 0, inserted);
    });
}

// The inserted length likewise, measured at most once until a selected range has announced.
void Arbor::RangeList::followText(DomEvent& event)
{
    auto& e = static_cast<BeforeReplaceTextEvent&>(event);
    // Comments and processing instructions announce their edits with the same event.
    Node* text = e.target;
    bool known = false;
    unsigned long inserted = 0;
    followEach([&](Range* range) {
        if (range->flags & (Range::Detached | Range::Suspended)) return;
        if (text != range->startContainer && text != range->endContainer) return;
        if (!known) {
            inserted = e.data ? Plinth::ustrlen(e.data) : 0;
            known = true;
        }
        if (range->isSelected()) known = false;
        range->followText(text, e.offset, e.count, inserted);
    });
}

void Arbor::RangeList::add(Range* range) { replaceChildrenRaw(nullptr, 0, range); }

void Arbor::RangeList::purgeRanges()
{
    for (Node* node = first; node;) {
        Node* following = node->next;
        if (node->refCount == 1) {
            auto* range = static_cast<Range*>(node);
            if (!range->isDetached()) range->detachSilent();
            replaceChildrenRaw(range, 1, nullptr);
        }
        node = following;
    }
}

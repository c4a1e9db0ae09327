#include "arbor/range/internal/RangeList.h"

#include "arbor/document/Events.h"
#include "arbor/foundation/Ref.h"
#include "arbor/range/Range.h"
#include "arbor/tree/Text.h"
#include "arbor/values/internal/NodeNames.h"

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

void Arbor::RangeList::add(Range* range) { relinkChildren(nullptr, 0, range); }

void Arbor::RangeList::purgeRanges()
{
    for (Node* node = first; node;) {
        Node* following = node->next;
        if (node->refCount == 1) {
            auto* range = static_cast<Range*>(node);
            if (!range->isDetached()) range->detachSilent();
            relinkChildren(range, 1, nullptr);
        }
        node = following;
    }
}

#include "arbor/document/Document.h"
#include "arbor/document/internal/DocumentPin.h"
#include "arbor/foundation/Ref.h"
#include "arbor/range/Range.h"
#include "arbor/range/internal/RangeList.h"
#include "arbor/tree/DomException.h"

Arbor::Range* Arbor::Document::createRange(bool selected)
{
    if (!rangeList) return nullptr;
    Range* range = new Range(this, batchDepth != 0, selected);
    rangeList->add(range);
    return range;
}

Arbor::Range* Arbor::Document::firstSelectedRange()
{
    if (!rangeList) return nullptr;
    for (Node* node = rangeList->firstChild(); node; node = node->next) {
        auto* range = static_cast<Range*>(node);
        if (range->isSelected() && !range->isDetached()) return range;
    }
    return nullptr;
}

Arbor::Range* Arbor::Document::nextSelectedRange(Range* range)
{
    if (!range) throw DomException(DomException::NOT_FOUND_ERR);
    if (range->document != this) throw DomException(DomException::WRONG_DOCUMENT_ERR);
    for (Node* node = range->next; node; node = node->next) {
        auto* next = static_cast<Range*>(node);
        if (next->isSelected() && !next->isDetached()) return next;
    }
    return nullptr;
}

void Arbor::Document::deselectRanges()
{
    if (!rangeList) return;
    DocumentPin pin(this);
    // Each range is held across its deselection, whose event may reach observers that change the
    // document (and so purge unheld ranges).
    Plinth::Ref<Node> current(rangeList->firstChild());
    while (current) {
        auto* range = static_cast<Range*>(current.get());
        if (range->isSelected()) range->deselect();
        current = Plinth::Ref<Node>(range->next);
    }
}

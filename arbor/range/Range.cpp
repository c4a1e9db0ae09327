#include "arbor/range/Range.h"

#include "arbor/document/Document.h"
#include "arbor/document/Events.h"
#include "arbor/document/internal/DocumentPin.h"
#include "arbor/foundation/Ref.h"
#include "arbor/tree/DomException.h"
#include "arbor/values/internal/NodeNames.h"

#include <ostream>

namespace {

using Arbor::Node;

// The ancestor of `node` (or `node` itself) whose parent is `ancestor`.
Node* childOnPath(Node* node, Node* ancestor)
{
    while (node->parent != ancestor)
        node = node->parent;
    return node;
}

} // namespace

Arbor::Range::Range(Document* document, bool suspended, bool selected)
    : AtomicNode(document)
{
    if (document) {
        document->ref();
        document->ref();
        startContainer = document;
        endContainer = document;
    }
    if (suspended) flags |= Suspended;
    if (selected) {
        ref(); // the selection's reference
        flags |= Selected;
    }
}

Arbor::Range::~Range()
{
    Plinth::releaseCounted(endContainer);
    Plinth::releaseCounted(startContainer);
}

Arbor::Node* Arbor::Range::cloneNode(bool) { return cloneRange(isSelected()); }

int Arbor::Range::nodeType() { return RANGE_NODE; }

Arbor::Token Arbor::Range::nodeName() { return tok_range; }

unsigned long Arbor::Range::items() { return 0; }

std::ostream& Arbor::Range::putXml(std::ostream& os) { return os; }

void Arbor::Range::checkAttached() const
{
    if (isDetached()) throw DomException(DomException::INVALID_STATE_ERR);
}

void Arbor::Range::checkPoint(Node* node, unsigned long offset) const
{
    if (!node) throw DomException(DomException::NOT_FOUND_ERR);
    if (node->document != document) throw DomException(DomException::WRONG_DOCUMENT_ERR);
    if (offset > node->items()) throw DomException(DomException::INDEX_SIZE_ERR);
}

Arbor::Node* Arbor::Range::parentOf(Node* node) const
{
    if (!node) throw DomException(DomException::NOT_FOUND_ERR);
    if (node->document != document) throw DomException(DomException::WRONG_DOCUMENT_ERR);
    if (!node->parent) throw RangeException(RangeException::INVALID_NODE_TYPE_ERR);
    return node->parent;
}

void Arbor::Range::setStart(Node* node, unsigned long offset)
{
    checkAttached();
    checkPoint(node, offset);
    if (comparePoints(node, offset, endContainer, endOffset) == 1)
        throw RangeException(RangeException::BAD_BOUNDARYPOINTS_ERR);
    change(node, offset, endContainer, endOffset);
}

void Arbor::Range::setEnd(Node* node, unsigned long offset)
{
    checkAttached();
    checkPoint(node, offset);
    if (comparePoints(startContainer, startOffset, node, offset) == 1)
        throw RangeException(RangeException::BAD_BOUNDARYPOINTS_ERR);
    change(startContainer, startOffset, node, offset);
}

void Arbor::Range::setStartBefore(Node* node)
{
    checkAttached();
    Node* p = parentOf(node);
    setStart(p, node->parentOffset());
}

void Arbor::Range::setStartAfter(Node* node)
{
    checkAttached();
    Node* p = parentOf(node);
    setStart(p, node->parentOffset() + 1);
}

void Arbor::Range::setEndBefore(Node* node)
{
    checkAttached();
    Node* p = parentOf(node);
    setEnd(p, node->parentOffset());
}

void Arbor::Range::setEndAfter(Node* node)
{
    checkAttached();
    Node* p = parentOf(node);
    setEnd(p, node->parentOffset() + 1);
}

void Arbor::Range::collapse(bool toStart)
{
    checkAttached();
    if (toStart)
        change(startContainer, startOffset, startContainer, startOffset);
    else
        change(endContainer, endOffset, endContainer, endOffset);
}

bool Arbor::Range::collapsed() const
{
    checkAttached();
    return startContainer == endContainer && startOffset == endOffset;
}

void Arbor::Range::selectNode(Node* node)
{
    checkAttached();
    Node* p = parentOf(node);
    const unsigned long k = node->parentOffset();
    change(p, k, p, k + 1);
}

void Arbor::Range::selectNodeContents(Node* node)
{
    checkAttached();
    if (!node) throw DomException(DomException::NOT_FOUND_ERR);
    if (node->document != document) throw DomException(DomException::WRONG_DOCUMENT_ERR);
    change(node, 0, node, node->items());
}

Arbor::Node* Arbor::Range::commonAncestorContainer() const
{
    checkAttached();
    return Node::commonAncestorContainer(startContainer, endContainer);
}

int Arbor::Range::compareBoundaryPoints(int how, Range* other)
{
    checkAttached();
    if (!other) throw DomException(DomException::NOT_FOUND_ERR);
    if (other->document != document) throw DomException(DomException::WRONG_DOCUMENT_ERR);
    if (other->isDetached()) throw DomException(DomException::INVALID_STATE_ERR);
    switch (how) {
    case 0:
        return comparePoints(
            startContainer, startOffset, other->startContainer, other->startOffset);
    case 1:
        return comparePoints(startContainer, startOffset, other->endContainer, other->endOffset);
    case 2:
        return comparePoints(endContainer, endOffset, other->endContainer, other->endOffset);
    case 3:
        return comparePoints(endContainer, endOffset, other->startContainer, other->startOffset);
    default:
        return 0;
    }
}

// The old containers are let go once both new ones are stored. One of them may be the last holder
// of the document, whose end takes the range list and possibly this range with it: an unselected
// range is not read after the releases, and a selected one is held and keeps its document until
// the after-event has been delivered.
void Arbor::Range::change(Node* sc, unsigned long so, Node* ec, unsigned long eo)
{
    if (isSuspended()) return;
    if (sc == startContainer && so == startOffset && ec == endContainer && eo == endOffset) return;
    // A range outside the selection announces nothing; with the same containers only the offsets
    // move, and taking a reference on each container to drop the old one would change no count.
    if (!isSelected() && sc == startContainer && ec == endContainer) {
        startOffset = so;
        endOffset = eo;
        return;
    }
    // An observer of the selection events may deselect the range and let it go.
    Plinth::Ref<Range> keep;
    if (isSelected()) {
        keep = Plinth::Ref<Range>(this);
        BeforeSelectionChangeEvent before(this, sc, so, ec, eo);
        document->fireEvent(before);
    }
    Node* oldStart = startContainer;
    Node* oldEnd = endContainer;
    if (sc) sc->ref();
    startContainer = sc;
    startOffset = so;
    if (ec) ec->ref();
    endContainer = ec;
    endOffset = eo;
    // A range detached meanwhile may have outlived its document.
    if (!keep || isDetached()) {
        if (oldStart) oldStart->unref();
        if (oldEnd) oldEnd->unref();
        return;
    }
    DocumentPin pin(document);
    if (oldStart) oldStart->unref();
    if (oldEnd) oldEnd->unref();
    if (isSelected() && !isDetached()) {
        AfterSelectionChangeEvent after(this);
        document->fireEvent(after);
    }
}

int Arbor::Range::comparePoints(Node* a, unsigned long aOffset, Node* b, unsigned long bOffset)
{
    if (a == b) return aOffset == bOffset ? 0 : (aOffset > bOffset ? 1 : -1);
    Node* common = Node::commonAncestorContainer(a, b);
    if (!common) throw DomException(DomException::WRONG_DOCUMENT_ERR);
    if (common == a) return aOffset > childOnPath(b, a)->parentOffset() ? 1 : -1;
    if (common == b) return bOffset <= childOnPath(a, b)->parentOffset() ? 1 : -1;
    const unsigned long ka = childOnPath(a, common)->parentOffset();
    const unsigned long kb = childOnPath(b, common)->parentOffset();
    return ka >= kb ? 1 : -1;
}

int Arbor::Range::comparePointWithRange(
    Node* node, unsigned long offset, Node* parent, unsigned long index, unsigned long count)
{
    if (node == parent) {
        if (offset < index) return -1;
        return offset - index >= count ? 1 : 0;
    }
    Node* child = node;
    while (child && child->parent != parent)
        child = child->parent;
    if (!child) return -1;
    const unsigned long k = child->parentOffset();
    return k >= index && k - index < count ? 0 : -1;
}

Arbor::Range* Arbor::Range::cloneRange(bool selected)
{
    checkAttached();
    Range* copy = document->createRange(selected);
    if (!copy) return nullptr;
    Plinth::assignCounted(copy->startContainer, startContainer);
    copy->startOffset = startOffset;
    Plinth::assignCounted(copy->endContainer, endContainer);
    copy->endOffset = endOffset;
    return copy;
}

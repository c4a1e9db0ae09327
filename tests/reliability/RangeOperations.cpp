#include "tests/reliability/Choices.h"
#include "tests/reliability/Interpreter.h"

#include <algorithm>

namespace Reliability {

using namespace Choices;

namespace {

    constexpr long invalidState = 11;
    constexpr long notFound = 8;
    constexpr long wrongDocument = 4;
    constexpr long indexSize = 1;
    constexpr long badBoundaryPoints = rangeError + 1;
    constexpr long invalidNodeType = rangeError + 2;

    int comparePaths(const std::vector<unsigned long>& a, const std::vector<unsigned long>& b)
    {
        if (a == b) return 0;
        return a < b ? -1 : 1;
    }

} // namespace

bool Interpreter::pathOf(
    Arbor::Node* node, unsigned long offset, std::vector<unsigned long>& path, int& top) const
{
    path.clear();
    int id = numberOf(node);
    if (id < 0) return false;
    path.push_back(offset);
    Model& m = const_cast<Model&>(model);
    for (; m.at(id).parent != none; id = m.at(id).parent) {
        const std::vector<int>& siblings = m.at(m.at(id).parent).children;
        path.push_back(static_cast<unsigned long>(
            std::find(siblings.begin(), siblings.end(), id) - siblings.begin()));
    }
    top = id;
    std::reverse(path.begin(), path.end());
    return true;
}

long Interpreter::expectedSetError(
    Arbor::Range* range, bool start, Arbor::Node* node, unsigned long offset)
{
    if (range->isDetached()) return invalidState;
    if (!node) return notFound;
    if (node->ownerDocument() != range->ownerDocument()) return wrongDocument;
    if (offset > model.items(numberOf(node))) return indexSize;
    std::vector<unsigned long> point, other;
    int pointTop = none, otherTop = none;
    Arbor::Node* otherNode = start ? range->endContainer : range->startContainer;
    const unsigned long otherOffset = start ? range->endOffset : range->startOffset;
    if (!pathOf(node, offset, point, pointTop) || !pathOf(otherNode, otherOffset, other, otherTop))
        return -2;
    if (pointTop != otherTop) return wrongDocument;
    const int order = comparePaths(point, other);
    return (start ? order > 0 : order < 0) ? badBoundaryPoints : 0;
}

bool Interpreter::rangeSetter(Arbor::Range* range)
{
    const int id = pick(anyNode, 16);
    Arbor::Node* node = nodeOf(id);
    const bool suspended = range->isSuspended();
    const int kind = static_cast<int>(source.below(8));
    const bool start = kind % 2 == 0;
    Arbor::Node* container = node;
    unsigned long offset = 0;
    long expected = 0;
    long actual = 0;
    if (kind < 2) {
        operation = start ? "setStart" : "setEnd";
        offset = id >= 0 ? source.below(model.items(id) + 2) : 0;
        expected = expectedSetError(range, start, node, offset);
        actual
            = attempt([&] { start ? range->setStart(node, offset) : range->setEnd(node, offset); });
    } else if (kind < 6) {
        const bool after = kind >= 4;
        operation = std::string(start ? "setStart" : "setEnd") + (after ? "After" : "Before");
        if (range->isDetached())
            expected = invalidState;
        else if (!node)
            expected = notFound;
        else if (node->ownerDocument() != range->ownerDocument())
            expected = wrongDocument;
        else if (model.at(id).parent == none)
            expected = invalidNodeType;
        else {
            container = nodeOf(model.at(id).parent);
            offset = node->parentOffset() + after;
            expected = expectedSetError(range, start, container, offset);
        }
        actual = attempt([&] {
            if (start)
                after ? range->setStartAfter(node) : range->setStartBefore(node);
            else
                after ? range->setEndAfter(node) : range->setEndBefore(node);
        });
    } else {
        operation = kind == 6 ? "selectNode" : "selectNodeContents";
        if (range->isDetached())
            expected = invalidState;
        else if (!node)
            expected = notFound;
        else if (node->ownerDocument() != range->ownerDocument())
            expected = wrongDocument;
        else if (kind == 6 && model.at(id).parent == none)
            expected = invalidNodeType;
        actual = attempt(
            [&] { kind == 6 ? range->selectNode(node) : range->selectNodeContents(node); });
    }
    if (!expect(expected, actual)) return false;
    if (expected != 0 || suspended || range->isDetached()) return true;
    // The change took effect (a selection observer cannot move it back).
    Arbor::Node* wanted = container;
    unsigned long wantedOffset = offset;
    if (kind == 6) {
        wanted = nodeOf(model.at(id).parent);
        wantedOffset = node->parentOffset();
        if (range->startContainer != wanted || range->startOffset != wantedOffset
            || range->endContainer != wanted || range->endOffset != wantedOffset + 1)
            return fail("selectNode set other points");
        return true;
    }
    if (kind == 7) {
        if (range->startContainer != node || range->startOffset != 0 || range->endContainer != node
            || range->endOffset != model.items(id))
            return fail("selectNodeContents set other points");
        return true;
    }
    if ((start ? range->startContainer : range->endContainer) != wanted
        || (start ? range->startOffset : range->endOffset) != wantedOffset)
        return fail("the point was not set");
    return true;
}

bool Interpreter::rangeOperation()
{
    Arbor::Document* d = document();
    if (ranges.empty() || source.chance(8)) {
        operation = "createRange";
        Arbor::Range* made = d->createRange(source.chance(2));
        if (!made != model.tornDown)
            return fail("createRange gave null exactly when the document is live");
        if (made && ranges.size() < 6 && !source.chance(4)) ranges.emplace_back(made);
        return true;
    }
    const unsigned long index = source.below(ranges.size());
    Arbor::Range* range = ranges[index].get();
    const bool detached = range->isDetached();
    switch (source.below(10)) {
    case 0:
    case 1:
    case 2:
        return rangeSetter(range);
    case 3: {
        operation = "collapse";
        return expect(
            detached ? invalidState : 0, attempt([&] { range->collapse(source.chance(2)); }));
    }
    case 4: {
        operation = "compareBoundaryPoints";
        Arbor::Range* other
            = source.chance(8) ? nullptr : ranges[source.below(ranges.size())].get();
        const int how = static_cast<int>(source.below(5));
        int result = 0;
        const long actual = attempt([&] { result = range->compareBoundaryPoints(how, other); });
        long expected = detached  ? invalidState
            : !other              ? notFound
            : other->isDetached() ? invalidState
                                  : 0;
        if (expected || how == 4) return expect(expected, actual);
        Arbor::Node* a = how < 2 ? range->startContainer : range->endContainer;
        const unsigned long aOffset = how < 2 ? range->startOffset : range->endOffset;
        Arbor::Node* b = how == 0 || how == 3 ? other->startContainer : other->endContainer;
        const unsigned long bOffset = how == 0 || how == 3 ? other->startOffset : other->endOffset;
        std::vector<unsigned long> pa, pb;
        int ta = none, tb = none;
        if (!pathOf(a, aOffset, pa, ta) || !pathOf(b, bOffset, pb, tb))
            return fail("a range point is in an unknown node");
        if (ta != tb) return expect(wrongDocument, actual);
        if (!expect(0, actual)) return false;
        return result == comparePaths(pa, pb)
            ? true
            : fail("compareBoundaryPoints gave " + std::to_string(result));
    }
    case 5: {
        operation = "cloneRange";
        Arbor::Range* copy = nullptr;
        const long actual = attempt([&] { copy = range->cloneRange(source.chance(2)); });
        if (!expect(detached ? invalidState : 0, actual)) return false;
        if (copy && staleRanges.count(range)) staleRanges.insert(copy);
        if (copy && ranges.size() < 6) ranges.emplace_back(copy);
        if (copy && !copy->isSuspended()
            && (copy->startContainer != range->startContainer
                || copy->startOffset != range->startOffset
                || copy->endContainer != range->endContainer
                || copy->endOffset != range->endOffset))
            return fail("the copy has other points");
        return true;
    }
    case 6:
        operation = "deselect";
        range->deselect();
        return range->isSelected() ? fail("still selected") : true;
    case 7:
        operation = "detach";
        return expect(detached ? invalidState : 0, attempt([&] { range->detach(); }));
    case 8:
        operation = "release range";
        ranges.erase(ranges.begin() + static_cast<long>(index));
        return true;
    default: {
        operation = "selected ranges";
        unsigned long seen = 0;
        for (Arbor::Range* r = d->firstSelectedRange(); r; r = d->nextSelectedRange(r)) {
            if (!r->isSelected() || r->isDetached() || ++seen > 1000)
                return fail("the selection walk met an unselected or detached range");
        }
        return true;
    }
    }
}

} // namespace Reliability

#include "arbor/range/internal/RangeList.h"
#include "arbor/undo/AttributeOperation.h"
#include "arbor/undo/ReplaceChildrenOperation.h"
#include "arbor/undo/ReplaceTextOperation.h"
#include "tests/reliability/Interpreter.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace Reliability {

namespace {

    using Arbor::Node;

    constexpr unsigned long walkLimit = 100000;

    Arbor::Range* asRange(Node* node)
    {
        return node->nodeType() == Arbor::RANGE_NODE ? static_cast<Arbor::Range*>(node) : nullptr;
    }

    Arbor::Document* asDocument(Node* node)
    {
        return node->nodeType() == Arbor::DOCUMENT_NODE ? static_cast<Arbor::Document*>(node)
                                                        : nullptr;
    }

    // Calls `visit` on each node an undo record of `document` holds.
    template <class Visit> void forEachRecordedNode(Arbor::Document* document, Visit visit)
    {
        for (Plinth::Operation* op : document->undoStack.operations) {
            if (auto* children = dynamic_cast<Arbor::ReplaceChildrenOperation*>(op)) {
                visit(children->parent);
                if (children->replacement) visit(children->replacement);
            } else if (auto* text = dynamic_cast<Arbor::ReplaceTextOperation*>(op)) {
                visit(text->text);
            } else if (auto* attribute = dynamic_cast<Arbor::AttributeOperation*>(op)) {
                visit(attribute->element);
            }
        }
    }

    std::string pointsOf(const Arbor::Range* range)
    {
        return "(" + nameOf(range->startContainer) + "," + std::to_string(range->startOffset)
            + ")-(" + nameOf(range->endContainer) + "," + std::to_string(range->endOffset) + ")";
    }

    std::string describe(Node* node)
    {
        return nameOf(node) + "@" + std::to_string(reinterpret_cast<std::uintptr_t>(node) % 100000);
    }

} // namespace

std::vector<Node*> Interpreter::reachableNodes()
{
    std::vector<Node*> found;
    std::unordered_set<Node*> seen;
    auto add = [&](Node* node) {
        if (node && seen.insert(node).second) found.push_back(node);
    };
    for (auto& node : held)
        add(node.get());
    for (auto& range : ranges)
        add(range.get());
    for (unsigned long i = 0; i < found.size(); ++i) {
        Node* node = found[i];
        add(node->parentNode());
        add(node->nextSibling());
        add(node->previousSibling());
        add(node->firstChild());
        if (Arbor::Range* range = asRange(node)) {
            add(range->startContainer);
            add(range->endContainer);
        }
        if (Arbor::Document* document = asDocument(node)) {
            add(document->rangeList);
            forEachRecordedNode(document, add);
        }
    }
    return found;
}

bool Interpreter::checkLinks(const std::vector<Node*>& reachable)
{
    for (Node* node : reachable) {
        if (node->mark) return fail(describe(node) + " keeps its scratch mark");
        Node* previous = nullptr;
        unsigned long count = 0;
        for (Node* child = node->firstChild(); child; child = child->nextSibling()) {
            if (child->parentNode() != node || child->previousSibling() != previous)
                return fail(
                    "child " + describe(child) + " of " + describe(node) + " has wrong links");
            previous = child;
            if (++count > walkLimit)
                return fail("the children of " + describe(node) + " form a loop");
        }
        if (node->lastChild() != previous) return fail(describe(node) + " has a wrong last child");
        if (!node->asText() && !asRange(node) && node->items() != count)
            return fail(describe(node) + " counts other items than its children");
        if (Node* parent = node->parentNode()) {
            const bool linked = node->previousSibling()
                ? node->previousSibling()->nextSibling() == node
                : parent->firstChild() == node;
            if (!linked) return fail(describe(node) + " is not linked from its parent's children");
        } else {
            if (node->nextSibling()
                && (node->nextSibling()->previousSibling() != node
                    || node->nextSibling()->parentNode()))
                return fail("parentless chain broken after " + describe(node));
            if (node->previousSibling() && node->previousSibling()->nextSibling() != node)
                return fail("parentless chain broken before " + describe(node));
        }
    }
    return true;
}

bool Interpreter::checkCounts(const std::vector<Node*>& reachable)
{
    std::unordered_map<Node*, unsigned long> expected;
    for (Node* node : reachable) {
        if (node->nextSibling()) ++expected[node->nextSibling()];
        if (node->firstChild()) ++expected[node->firstChild()];
        if (Arbor::Range* range = asRange(node)) {
            if (range->startContainer) ++expected[range->startContainer];
            if (range->endContainer) ++expected[range->endContainer];
            if (range->isSelected()) ++expected[node];
        }
        if (Arbor::Document* document = asDocument(node)) {
            if (document->rangeList) ++expected[document->rangeList];
            forEachRecordedNode(document, [&](Node* recorded) { ++expected[recorded]; });
        }
    }
    for (auto& node : held) {
        if (node) ++expected[node.get()];
    }
    for (auto& range : ranges)
        ++expected[range.get()];
    for (Node* node : reachable) {
        if (node->refCount != expected[node])
            return fail(describe(node) + " has count " + std::to_string(node->refCount)
                + ", holders " + std::to_string(expected[node]));
    }
    return true;
}

bool Interpreter::checkRanges()
{
    std::vector<Arbor::Range*> all;
    for (auto& range : ranges)
        all.push_back(range.get());
    if (Arbor::RangeList* list = document()->rangeList) {
        for (Node* node = list->firstChild(); node; node = node->nextSibling())
            all.push_back(static_cast<Arbor::Range*>(node));
    }
    std::unordered_set<Arbor::Range*> stale;
    for (Arbor::Range* range : all) {
        if (staleRanges.count(range)) stale.insert(range);
    }
    for (Arbor::Range* range : all) {
        if (range->isDetached()) {
            if (range->startContainer || range->endContainer || range->isSelected())
                return fail("a detached range keeps containers or the selection");
            continue;
        }
        if (!range->startContainer || !range->endContainer)
            return fail("an attached range lacks a container");
        if (range->isSuspended()) {
            if (range->startContainer != document() || range->endContainer != document()
                || range->startOffset || range->endOffset)
                return fail("a parked range is not at (document, 0)");
            continue;
        }
        const int start = numberOf(range->startContainer);
        const int end = numberOf(range->endContainer);
        if (start < 0 || end < 0) return fail("a range point is in a node the model does not know");
        auto checkable = [&](int id, unsigned long offset) {
            return model.inContent(id) || (id == 0 && offset <= model.items(0));
        };
        // A point outside the content misses the changes made there (nothing announces them),
        // so once a range has had one, its offsets prove nothing any more.
        if (!checkable(start, range->startOffset) || !checkable(end, range->endOffset))
            stale.insert(range);
        if (stale.count(range)) continue;
        if (range->startOffset > model.items(start) || range->endOffset > model.items(end))
            return fail("a range offset lies past its container's items: " + pointsOf(range));
        std::vector<unsigned long> a, b;
        int ta = none, tb = none;
        pathOf(range->startContainer, range->startOffset, a, ta);
        pathOf(range->endContainer, range->endOffset, b, tb);
        if (b < a) return fail("a range starts after its end: " + pointsOf(range));
    }
    staleRanges.swap(stale);
    return true;
}

bool Interpreter::checkModel()
{
    static const int types[] = { Arbor::DOCUMENT_NODE, Arbor::ELEMENT_NODE, Arbor::TEXT_NODE,
        Arbor::DOCUMENT_FRAGMENT_NODE };
    for (unsigned long id = 0; id < model.nodes.size(); ++id) {
        const ModelNode& m = model.nodes[id];
        if (!m.alive) continue;
        Node* node = held.size() > id ? held[id].get() : nullptr;
        const std::string name = "node " + std::to_string(id) + " (" + nameOf(node) + ")";
        if (!node) return fail(name + " exists only in the model");
        if (node->nodeType() != types[static_cast<int>(m.kind)])
            return fail(name + " has another type");
        if (numberOf(node->parentNode()) != m.parent) return fail(name + " has another parent");
        unsigned long index = 0;
        for (Node* child = node->firstChild(); child; child = child->nextSibling(), ++index) {
            if (index >= m.children.size() || numberOf(child) != m.children[index])
                return fail(name + " has other children");
        }
        if (index != m.children.size()) return fail(name + " has fewer children");
        if (m.parent == none
            && (numberOf(node->previousSibling()) != m.chainPrevious
                || numberOf(node->nextSibling()) != m.chainNext))
            return fail(name + " has other chain links");
        if (Arbor::Text* text = node->asText()) {
            const std::u16string data = text->data() ? text->data() : u"";
            if (data != m.text || (text->data() && m.text.empty()))
                return fail(name + " has other text");
        }
        if (auto* element = dynamic_cast<Arbor::BasicElement*>(node)) {
            if (element->attributeCount() != m.attributes.size())
                return fail(name + " has " + std::to_string(element->attributeCount())
                    + " attributes, the model " + std::to_string(m.attributes.size()));
            for (const auto& attribute : m.attributes) {
                if (element->getAttribute(Arbor::Token(attribute.first.c_str()))
                    != attribute.second)
                    return fail(name + " has another value of " + attribute.first);
            }
        }
    }
    if (document()->canUndo() != model.canUndo() || document()->canRedo() != model.canRedo())
        return fail("the undo history disagrees: canUndo " + std::to_string(document()->canUndo())
            + " canRedo " + std::to_string(document()->canRedo()) + ", model "
            + std::to_string(model.canUndo()) + " " + std::to_string(model.canRedo()));
    if (document()->undoStack.taskStarts.size() != model.taskStarts.size()
        || document()->undoStack.operations.size() != model.operations.size())
        return fail("the undo history holds other tasks or operations");
    return true;
}

bool Interpreter::checkAll()
{
    if (!failureText.empty()) return false;
    const std::vector<Node*> reachable = reachableNodes();
    if (!checkLinks(reachable) || !checkCounts(reachable) || !checkRanges() || !checkModel())
        return false;
    if (functorsPosted != functorsDeleted + document()->postedFunctions.size())
        return fail("posted functions were lost or deleted twice");
    for (auto& observer : observers) {
        if (observer->registrations < 0)
            return fail("an observer heard more unObserve calls than registrations");
    }
    return true;
}

} // namespace Reliability

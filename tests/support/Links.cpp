#include "tests/support/Links.h"

#include "arbor/range/internal/RangeList.h"
#include "arbor/tree/DataNode.h"
#include "arbor/undo/AttributeOperation.h"
#include "arbor/undo/ReplaceChildrenOperation.h"
#include "arbor/undo/ReplaceTextOperation.h"
#include "tests/support/Host.h"

#include <unordered_map>
#include <unordered_set>

namespace {

using Arbor::Node;

constexpr unsigned long walkLimit = 100000;

Arbor::Range* asRange(Node* node)
{
    return node->nodeType() == Arbor::RANGE_NODE ? static_cast<Arbor::Range*>(node) : nullptr;
}

Arbor::Document* asDocument(Node* node)
{
    return node->nodeType() == Arbor::DOCUMENT_NODE ? static_cast<Arbor::Document*>(node) : nullptr;
}

// Every node `node` holds a counted reference on.
template <class Visit> void forEachHeld(Node* node, Visit visit)
{
    if (node->next) visit(node->next);
    if (Node* child = node->firstChild()) visit(child);
    if (Arbor::Range* range = asRange(node)) {
        if (range->startContainer) visit(range->startContainer);
        if (range->endContainer) visit(range->endContainer);
        if (range->isSelected()) visit(node);
    }
    Arbor::Document* document = asDocument(node);
    if (!document) return;
    if (document->rangeList) visit(document->rangeList);
    for (Plinth::Operation* op : document->undoStack.operations) {
        if (auto* children = dynamic_cast<Arbor::ReplaceChildrenOperation*>(op)) {
            visit(children->parent);
            if (children->replacement) visit(children->replacement);
        } else if (auto* text = dynamic_cast<Arbor::ReplaceTextOperation*>(op)) {
            visit(text->text);
        } else if (auto* data = dynamic_cast<Arbor::ReplaceDataOperation*>(op)) {
            visit(data->node);
        } else if (auto* attribute = dynamic_cast<Arbor::AttributeOperation*>(op)) {
            visit(attribute->element);
        }
    }
}

std::string linkProblem(Node* node)
{
    const std::string name = label(node);
    if (node->mark) return name + " keeps its scratch mark";
    Node* before = nullptr;
    unsigned long count = 0;
    for (Node* child = node->firstChild(); child; before = child, child = child->next) {
        if (child->parent != node || child->previous != before)
            return "child " + label(child) + " of " + name + " has wrong links";
        if (++count > walkLimit) return "the children of " + name + " form a loop";
    }
    if (node->lastChild() != before) return name + " has a wrong last child";
    if (!node->asText() && !asRange(node) && !dynamic_cast<Arbor::DataNode*>(node)
        && node->items() != count)
        return name + " counts other items than its children";
    if (Node* parent = node->parent) {
        if (node->previous ? node->previous->next != node : parent->firstChild() != node)
            return name + " is not linked from its parent's children";
    } else {
        if (node->next && (node->next->previous != node || node->next->parent))
            return "parentless chain broken after " + name;
        if (node->previous && node->previous->next != node)
            return "parentless chain broken before " + name;
    }
    return std::string();
}

} // namespace

std::string linkProblems(
    const std::vector<Node*>& from, const Held* held, std::vector<Node*>* reached)
{
    std::vector<Node*> found;
    std::unordered_set<Node*> seen;
    auto add = [&](Node* node) {
        if (node && seen.insert(node).second) found.push_back(node);
    };
    for (Node* node : from)
        add(node);
    if (held) {
        for (const auto& entry : *held)
            add(entry.first);
    }
    for (unsigned long i = 0; i < found.size() && i < walkLimit; ++i) {
        Node* node = found[i];
        add(node->parent);
        add(node->previous);
        forEachHeld(node, add);
    }
    std::string problems;
    for (Node* node : found) {
        const std::string problem = linkProblem(node);
        if (!problem.empty()) problems += problem + "\n";
    }
    if (held && problems.empty()) {
        std::unordered_map<Node*, unsigned long> expected;
        for (Node* node : found)
            forEachHeld(node, [&](Node* holder) { ++expected[holder]; });
        for (const auto& entry : *held)
            expected[entry.first] += entry.second;
        for (Node* node : found) {
            if (node->refCount != expected[node])
                problems += label(node) + " has count " + std::to_string(node->refCount)
                    + ", holders " + std::to_string(expected[node]) + "\n";
        }
    }
    if (reached) reached->swap(found);
    return problems;
}

#ifndef ARBOR_TESTS_TRAPS_LINK_CHECK_H
#define ARBOR_TESTS_TRAPS_LINK_CHECK_H

// Link and count checks shared by the release, chain and undo tests: every node reachable from a
// tree top or a parentless chain head must agree with its neighbours.

#include "tests/support/Host.h"

#include <map>
#include <set>
#include <vector>

namespace traps {

using Arbor::Node;

/// References the test holds, by node.
using Held = std::map<Node*, unsigned long>;

namespace detail {

    // Walks the siblings from `head`: each names `parent`, each `previous` is the node before, and
    // the children of each are walked the same way. With `held`, a node's count must be the one
    // counted link that reaches it (a parent's `first` or a sibling's `next`; none for a top-level
    // head) plus the test's references. Returns the last sibling.
    inline Node* walk(
        Node* head, Node* parent, bool headCounted, std::set<Node*>& seen, const Held* held)
    {
        Node* before = nullptr;
        for (Node* node = head; node; before = node, node = node->next) {
            if (!seen.insert(node).second) {
                ADD_FAILURE() << nameOf(node) << " is reached twice: two links own it";
                return before;
            }
            EXPECT_EQ(node->parent, parent) << nameOf(node) << " names the wrong parent";
            EXPECT_EQ(node->previous, before) << "next/previous of " << nameOf(node) << " disagree";
            if (held) {
                auto found = held->find(node);
                const unsigned long links = (node != head || headCounted) ? 1 : 0;
                EXPECT_EQ(node->refCount, links + (found == held->end() ? 0 : found->second))
                    << "count of " << label(node);
            }
            Node* last = walk(node->firstChild(), node, true, seen, held);
            EXPECT_EQ(node->lastChild(), last) << "last child of " << nameOf(node);
        }
        return before;
    }

} // namespace detail

/// Checks the trees and parentless chains that `nodes` belong to (found through `parent` and
/// `previous`), and with `held` also every count.
inline void expectConsistent(const std::vector<Node*>& nodes, const Held* held = nullptr)
{
    std::set<Node*> tops;
    for (Node* node : nodes) {
        if (!node) continue;
        int steps = 0;
        while ((node->parent || node->previous) && ++steps < 100000)
            node = node->parent ? node->parent : node->previous;
        tops.insert(node);
    }
    std::set<Node*> seen;
    for (Node* top : tops) {
        if (!seen.count(top)) detail::walk(top, nullptr, false, seen, held);
    }
}

} // namespace traps

#endif

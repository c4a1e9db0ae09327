#ifndef ARBOR_TREE_CHILDREN_H
#define ARBOR_TREE_CHILDREN_H

#include "arbor/tree/Node.h"

#include <cstddef>
#include <iterator>

namespace Arbor {

/// A forward iterator along a sibling chain; the end iterator holds null.
class ChildIterator {
public:
    using iterator_category = std::forward_iterator_tag; ///< Walks forward only.
    using value_type = Node*; ///< The iterator yields node pointers.
    using difference_type = std::ptrdiff_t; ///< Distance between two iterators.
    using pointer = Node* const*; ///< Pointer to a yielded value.
    using reference = Node*; ///< Yielded by value.

    /// An iterator at `node` (null: the end).
    explicit ChildIterator(Node* node = nullptr)
        : node(node)
    {
    }

    /// The current node.
    Node* operator*() const { return node; }
    /// Moves to the next sibling.
    ChildIterator& operator++()
    {
        node = node->nextSibling();
        return *this;
    }
    /// Moves to the next sibling and returns the iterator as it was.
    ChildIterator operator++(int)
    {
        ChildIterator before = *this;
        ++*this;
        return before;
    }
    /// True when both stand at the same node.
    bool operator==(const ChildIterator& other) const { return node == other.node; }
    /// True when they stand at different nodes.
    bool operator!=(const ChildIterator& other) const { return node != other.node; }

private:
    Node* node;
};

/// The children of a node, for a range-for loop: `for (Arbor::Node* child : children(node))`.
///
/// The loop reads each child's `next` link after the body has run for it, so the body may change
/// the children that follow but must not remove or move the current child (collect the nodes
/// first, holding references, to do that). The loop takes no references.
class Children {
public:
    /// The children of `parent` (null: none).
    explicit Children(Node* parent)
        : parent(parent)
    {
    }
    /// An iterator at the first child.
    ChildIterator begin() const { return ChildIterator(parent ? parent->firstChild() : nullptr); }
    /// The end iterator.
    ChildIterator end() const { return ChildIterator(); }

private:
    Node* parent;
};

/// The function object behind `children`.
struct ChildrenOf {
    /// The children of `parent` (null: none).
    Children operator()(Node* parent) const { return Children(parent); }
};

/// The children of a node for a range-for loop (see `Children`): `children(node)`. An object
/// rather than a function, so argument-dependent lookup never brings it into an unqualified call
/// of a host's own `children(node)`.
inline constexpr ChildrenOf children {};

} // namespace Arbor

#endif

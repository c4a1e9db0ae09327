#ifndef ARBOR_TESTS_TREE_TREE_CHECK_H
#define ARBOR_TESTS_TREE_TREE_CHECK_H

// Small readers shared by the tree tests: a node list as text, checked against the link rules.

#include "tests/support/Host.h"

#include <string>

/// ASCII text of a UTF-16 string, "" for null (the tree tests use ASCII data only).
inline std::string ascii(const char16_t* s)
{
    std::string out;
    for (; s && *s; ++s)
        out += *s < 0x80 ? static_cast<char>(*s) : '?';
    return out;
}

/// An element by its tag, a text node as its data in quotes, anything else by `nameOf`.
inline std::string label(Arbor::Node* node)
{
    if (node && node->asText()) return "'" + ascii(node->asText()->data()) + "'";
    return nameOf(node);
}

/// The nodes from `head` along `next` as "a 'xy' b". A node whose `previous` does not point back
/// at the node before it (null for the head) or whose `parent` is not `parent` is flagged.
inline std::string siblings(Arbor::Node* head, Arbor::Node* parent = nullptr)
{
    std::string out;
    Arbor::Node* before = nullptr;
    for (Arbor::Node* node = head; node; before = node, node = node->next) {
        if (before) out += ' ';
        out += label(node);
        if (node->previous != before) out += "(bad previous)";
        if (node->parent != parent) out += "(bad parent)";
    }
    return out;
}

/// The children of `node`, checked as `siblings` does and also against `lastChild()`.
inline std::string children(Arbor::Node* node)
{
    std::string out = siblings(node->firstChild(), node);
    Arbor::Node* tail = node->firstChild();
    while (tail && tail->next)
        tail = tail->next;
    if (node->lastChild() != tail) out += " (bad last)";
    return out;
}

#endif

#ifndef ARBOR_UNDO_INTERNAL_INSERTION_ANCHORS_H
#define ARBOR_UNDO_INTERNAL_INSERTION_ANCHORS_H

// Internal: identities of the nodes that recorded operations point at without counting them.

#include "arbor/document/internal/NodeWatch.h"

#include <cstddef>
#include <vector>

namespace Arbor {

/// The uncounted nodes one document's operations point at, each with an identity that lasts
/// until the node is destroyed. An operation keeps the identity it got from `hold`; once the node
/// is gone, a new node at the same address gets a new identity, so `holds` tells them apart. The
/// table watches the document's node destructions and ends with the document.
class InsertionAnchors final : public NodeWatcher {
public:
    /// The document's table, made (and registered as a watcher) on first use.
    static InsertionAnchors& of(Document* document);
    /// The document's table, or null if it has none.
    static InsertionAnchors* find(Document* document);

    /// Adds a holder to `node` and returns its identity (never 0).
    unsigned long long hold(Node* node);
    /// Drops a holder taken with `hold`; does nothing once the node is gone.
    void release(Node* node, unsigned long long identity) noexcept;
    /// Whether `node` is still the node that had `identity`.
    bool holds(Node* node, unsigned long long identity) const;

    void nodeDestroyed(Node* node) noexcept override;
    void documentDestroyed(Document* document) noexcept override;

private:
    // Open addressing with linear probing in a table of a power-of-two size at most half full:
    // a change of a document's content holds and releases an anchor, and those cost no
    // allocation once the table has grown to the history's size.
    struct Entry {
        Node* node; // null: a free place
        unsigned long long identity;
        unsigned long holders;
    };
    std::vector<Entry> table;
    std::size_t used = 0;
    unsigned long long nextIdentity = 1;

    std::size_t home(const Node* node) const;
    Entry* lookup(const Node* node);
    const Entry* lookup(const Node* node) const;
    void erase(Entry* entry) noexcept;
    void grow();
};

} // namespace Arbor

#endif

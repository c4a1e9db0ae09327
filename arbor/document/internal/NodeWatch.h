#ifndef ARBOR_DOCUMENT_INTERNAL_NODE_WATCH_H
#define ARBOR_DOCUMENT_INTERNAL_NODE_WATCH_H

// Internal: lets side tables keyed by node address hear when one of a document's nodes is
// destroyed, so that a new node the allocator places at the same address is never taken for it.

#include "arbor/foundation/Export.h"

namespace Arbor {

class Document;
class Node;

/// Hears of the destruction of every node of one document.
///
/// A watcher is registered on a document with `addNodeWatcher` and stays until
/// `removeNodeWatcher` or the end of the document. While it is registered, the destructor of
/// every node whose owner document is that document (the document node itself excepted) calls
/// `nodeDestroyed` once, before the node's siblings are released. At that point the subclass
/// parts of the node are already destroyed: the watcher may compare the address and read the
/// fields of `Node` (`document`, `parent`, `next`, `previous`), but must not call a virtual
/// function of the node, change any tree, throw, or add or remove watchers.
///
/// Several independent watchers may watch the same document; each hears every destruction. A node
/// may outlive its document (a range may hold the last reference to it), so a dying node finds its
/// document's watchers through a process-wide set of watched documents, by address, never by
/// reading the document: while no document has watchers that costs an atomic load per node
/// destruction; otherwise each thread keeps the answer for the last document it asked about until
/// a document gains its first watcher or loses its last, so releasing many nodes of one document
/// costs an atomic load and a comparison per node, and the set's lock is taken once per change.
class ARBOR_API NodeWatcher {
public:
    /// `node` is being destroyed; forget it.
    virtual void nodeDestroyed(Node* node) noexcept = 0;
    /// The document ends: its destructor has released its children (each one reported through
    /// `nodeDestroyed`) and the watcher is removed after this call. A watcher the document
    /// should own deletes itself here. Does nothing by default.
    virtual void documentDestroyed(Document* document) noexcept;

protected:
    /// Watchers are made and destroyed as their own classes, never through this base.
    NodeWatcher() = default;
    /// Copies nothing of a registration.
    NodeWatcher(const NodeWatcher&) = default;
    /// Copies nothing of a registration.
    NodeWatcher& operator=(const NodeWatcher&) = default;
    /// Not virtual: a watcher is never deleted through this base.
    ~NodeWatcher() = default;
};

/// Registers `watcher` on `document` (once; adding it again does nothing). Throws
/// `std::bad_alloc` when memory runs out, with nothing registered.
ARBOR_API void addNodeWatcher(Document* document, NodeWatcher* watcher);
/// Unregisters `watcher`; does nothing if it is not registered. Frees the watcher list when the
/// last watcher leaves.
ARBOR_API void removeNodeWatcher(Document* document, NodeWatcher* watcher) noexcept;
/// The first watcher registered on `document` that `is` accepts, or null.
ARBOR_API NodeWatcher* findNodeWatcher(Document* document, bool (*is)(const NodeWatcher*));

/// Whether `document` (compared by address, never read) has watchers now. Called by the node
/// destructor: a node may outlive its document.
bool isWatchedDocument(const Document* document) noexcept;
/// Called by the node destructor; reports `node` to the watchers of its document.
void reportNodeDestroyed(Node* node) noexcept;
/// Called by the document destructor after its children are released.
void endNodeWatch(Document* document) noexcept;

} // namespace Arbor

#endif

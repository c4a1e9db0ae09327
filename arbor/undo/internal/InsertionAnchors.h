#ifndef ARBOR_UNDO_INTERNAL_INSERTION_ANCHORS_H
#define ARBOR_UNDO_INTERNAL_INSERTION_ANCHORS_H

// Internal: tells a replayed child operation whether the uncounted node it inserts before may
// have been destroyed (and its address reused) since the operation last ran.

#include "arbor/document/Document.h"
#include "arbor/document/internal/NodeWatch.h"

#include <cstddef>
#include <vector>

namespace Arbor {

/// The insertion point a recorded child operation keeps is not counted, yet it cannot die as
/// long as every change of the document's children is recorded: after an execution it is a child
/// of the operation's (counted) parent, a later recorded change that takes it out keeps it for
/// undo, and the history deletes later operations before earlier ones or together with them.
/// Only a change of children that no history records (on a node outside the content, or a direct
/// call of the raw replacement) can let it die. So the document counts those changes, every
/// execution notes the count (its stamp), and a replay that finds the count unchanged needs no
/// further proof. While executed child operations live, a log of this class watches the
/// document's node destructions and keeps, for every address at which a node died after an
/// unrecorded change, the count at that moment; a replay whose count has moved asks it whether
/// its node died after its stamp. Recorded changes thus cost two increments and no lookup.
///
/// The library's own range list relinks its ranges without counting: ranges are never insertion
/// points. A host's override of the raw replacement that relinks children without calling the
/// inner node's own is not seen.
class InsertionAnchors final : public NodeWatcher {
public:
    /// The count of unrecorded changes of children of `document`'s nodes.
    static unsigned long long stamp(const Document* document)
    {
        return document->unrecordedChildChanges;
    }
    /// Called by the raw replacement of `parent`'s children before it changes anything: counts
    /// the change unless a recorded operation makes it, and tells the log which parent it changed.
    static void noteRawChange(Document* document, const Node* parent) noexcept
    {
        if (!document || document->recordedChildChangeDepth != 0) return;
        ++document->unrecordedChildChanges;
        if (InsertionAnchors* log = document->insertionAnchors) log->childrenChanged(parent);
    }

    /// Marks the raw replacement that a recorded operation runs.
    class RecordedChange {
    public:
        /// Raises the document's depth of recorded changes.
        explicit RecordedChange(Document* document)
            : document(document)
        {
            ++document->recordedChildChangeDepth;
        }
        /// Lowers it again, also when the change throws.
        ~RecordedChange() { --document->recordedChildChangeDepth; }
        RecordedChange(const RecordedChange&) = delete;
        RecordedChange& operator=(const RecordedChange&) = delete;

    private:
        Document* document;
    };

    /// An operation executes for the first time; the log watches from now on. Throws
    /// `std::bad_alloc` with nothing changed.
    static void anchor(Document* document)
    {
        if (document->anchoredOperations == 0) startLog(document);
        ++document->anchoredOperations;
    }
    /// An executed operation ends; the log ends with the last one.
    static void release(Document* document) noexcept;
    /// Whether `node`, an operation's insertion point as of `stamp`, may have been destroyed
    /// since. Never reads `node`.
    static bool lost(const Document* document, const Node* node, unsigned long long stamp);
    /// Whether the children of `parent` may have changed without a record since `stamp` (a run
    /// of several children recorded then need not be the same nodes any more).
    static bool rearranged(const Document* document, const Node* parent, unsigned long long stamp);

    void nodeDestroyed(Node* node) noexcept override;
    void documentDestroyed(Document* document) noexcept override;

private:
    // Open addressing with linear probing in a table of a power-of-two size at most half full.
    struct Entry {
        const Node* node; // null: a free place
        unsigned long long death; // the count of unrecorded changes when it died
        unsigned long long changed; // the count when its children last changed unrecorded
    };
    Document* document;
    std::vector<Entry> table;
    std::size_t used = 0;
    // Deaths at this count concern no operation alive: each executed after it was reached.
    unsigned long long base;
    // A death that could not be logged (memory ran out): every stamp before this count is lost.
    unsigned long long unloggedBefore = 0;

    InsertionAnchors(Document* document);
    static void startLog(Document* document);
    std::size_t home(const Node* node) const;
    const Entry* lookup(const Node* node) const;
    Entry* place(const Node* node, unsigned long long now) noexcept;
    bool grow() noexcept;
    void childrenChanged(const Node* parent) noexcept;
    static bool since(const Document* document, const Node* node, unsigned long long stamp,
        unsigned long long Entry::*field);
};

} // namespace Arbor

#endif

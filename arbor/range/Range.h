#ifndef ARBOR_RANGE_RANGE_H
#define ARBOR_RANGE_RANGE_H

#include "arbor/document/IDocObserver.h"
#include "arbor/tree/AtomicNode.h"

namespace Arbor {

class Text;

/// A live stretch of a document between two boundary points (container, offset). An offset counts
/// what the container's `items()` counts: children, or UTF-16 units of a text. Ranges follow every
/// change of the document's content, park at (document, 0) during a batch, and a selected range
/// announces each change of its points. A range is a node: it lives in its document's range list,
/// which releases it at the next change when nobody else holds it (`ref()` it to keep it).
///
/// Errors. A detached range throws INVALID_STATE_ERR from every guarded operation. Points whose
/// nodes share no ancestor have no order: `setStart`, `setEnd` and `compareBoundaryPoints` throw
/// WRONG_DOCUMENT_ERR for them before anything changes (a node outside the document's tree, a
/// range of another document, or `other` detached: INVALID_STATE_ERR). The before/after setters
/// and `selectNode` throw `RangeException` INVALID_NODE_TYPE_ERR for a node without a parent.
///
/// Release. A range may be released in any order with its document. One that outlives its range
/// list (the document was destroyed) is detached, its `parent` is cleared, and it may only be read
/// and released.
class ARBOR_API Range : public AtomicNode, public IDocObserver {
public:
    /// State bits kept in the node's `flags`.
    enum StateBit : unsigned short {
        Detached = 1,
        Selected = 2,
        Suspended = 4,
        /// Internal: a deselection is delivering its BeforeDeselect event.
        Deselecting = 8,
    };

    /// Container of the start point; counted; null once detached.
    Node* startContainer = nullptr;
    /// Container of the end point; counted; null once detached.
    Node* endContainer = nullptr;
    /// Offset of the start point in its container.
    unsigned long startOffset = 0;
    /// Offset of the end point in its container.
    unsigned long endOffset = 0;

    /// A range of `document` collapsed at (document, 0); `suspended` parks it, `selected` makes
    /// it part of the selection (it then holds one reference on itself).
    Range(Document* document, bool suspended, bool selected);
    /// Releases the containers it still holds.
    ~Range() override;

    /// A copy of the range, selected as this one is.
    Node* cloneNode(bool deep) override;
    /// RANGE_NODE.
    int nodeType() override;
    /// The token "#range".
    Token nodeName() override;
    unsigned long items() override;
    /// Writes nothing.
    std::ostream& putXml(std::ostream& os) override;

    // Appended operations, in slot order.
    /// Deselects, releases the containers and marks the range detached. Throws INVALID_STATE_ERR
    /// when already detached.
    virtual void detach();
    void unObserve(Token type) override;
    void beforeBatchChanges() override;
    void afterBatchChanges() override;
    void onEvent(DomEvent& event) override;
    /// Leaves the selection (firing BeforeDeselect unless detached or suspended) and drops the
    /// selection's reference, which may destroy the range. A deselection started from inside
    /// that event's delivery does nothing: the outer one finishes it.
    virtual void deselect();

    /// True once the range is detached.
    bool isDetached() const { return flags & Detached; }
    /// True while the range is part of the selection.
    bool isSelected() const { return flags & Selected; }
    /// True while the range is parked during a batch.
    bool isSuspended() const { return flags & Suspended; }

    /// Moves the start to (`node`, `offset`). Throws NOT_FOUND_ERR for a null node,
    /// INDEX_SIZE_ERR for an offset past its items, `RangeException` BAD_BOUNDARYPOINTS_ERR for a
    /// point after the end, and as the class notes say.
    void setStart(Node* node, unsigned long offset);
    /// Moves the end to (`node`, `offset`). Throws as `setStart`, and BAD_BOUNDARYPOINTS_ERR for
    /// a point before the start.
    void setEnd(Node* node, unsigned long offset);
    /// Moves the start to just before `node` in its parent.
    void setStartBefore(Node* node);
    /// Moves the start to just after `node` in its parent.
    void setStartAfter(Node* node);
    /// Moves the end to just before `node` in its parent.
    void setEndBefore(Node* node);
    /// Moves the end to just after `node` in its parent.
    void setEndAfter(Node* node);
    /// Moves one point onto the other: the end onto the start when `toStart`, else the start onto
    /// the end.
    void collapse(bool toStart);
    /// True when both points are the same.
    bool collapsed() const;
    /// Makes the range cover `node`: from before it to after it in its parent.
    void selectNode(Node* node);
    /// Makes the range cover the contents of `node`: from 0 to its items.
    void selectNodeContents(Node* node);
    /// The deepest node that holds both points.
    Node* commonAncestorContainer() const;
    /// Compares a point of this range with one of `other`: `how` 0 start/start, 1 start/end, 2
    /// end/end, 3 end/start; any other value gives 0.
    int compareBoundaryPoints(int how, Range* other);
    /// A new range of the same document with the same points, selected as asked; the caller gets
    /// no reference. Null when the document can no longer make ranges. Throws INVALID_STATE_ERR
    /// for a detached range.
    Range* cloneRange(bool selected);

    /// The one update primitive: announces (when selected) and stores the new points. No check.
    void change(Node* sc, unsigned long so, Node* ec, unsigned long eo);

    /// Document order of two points: -1, 0 or 1. The nodes must share an ancestor.
    static int comparePoints(Node* a, unsigned long aOffset, Node* b, unsigned long bOffset);
    /// Where a point lies relative to `count` children of `parent` from `index` on: -1 not after
    /// them, 0 inside them or their subtrees, 1 in `parent` behind them.
    static int comparePointWithRange(
        Node* node, unsigned long offset, Node* parent, unsigned long index, unsigned long count);

    /// Upkeep: `count` children of `parent` from `child` on are about to be replaced by the chain
    /// headed by `newChild`.
    void beforeReplaceChildren(Node* parent, Node* child, unsigned long count, Node* newChild);
    /// Upkeep: `count` units of `text` from `offset` are about to be replaced by `data`.
    void beforeReplaceText(
        Text* text, unsigned long offset, unsigned long count, const char16_t* data);
    /// Releases the containers and marks the range detached, with no check, deselection or event.
    void detachSilent();

    /// Internal: a replacement of children as the upkeep reads it. The index of `child` and the
    /// length of the chain are measured by the first range that needs them and reused by the
    /// following ones until a selected range has announced its move (its observers may edit the
    /// children).
    struct ChildUpkeep {
        /// The parent whose children are replaced.
        Node* parent;
        /// The first child replaced; null for an insertion at the end.
        Node* child;
        /// The number of children replaced.
        unsigned long count;
        /// The head of the chain coming in, or null.
        Node* newChild;
        /// True while `index` and `inserted` hold for the tree.
        bool measured = false;
        /// The position of `child` among the children of `parent`.
        unsigned long index = 0;
        /// The number of nodes in the chain headed by `newChild`.
        unsigned long inserted = 0;
    };
    /// Internal: a replacement of text as the upkeep reads it; the length of `data` is measured
    /// by the first range that needs it.
    struct TextUpkeep {
        /// The node whose units are replaced: a text node, comment or processing instruction.
        Node* text;
        /// The first unit replaced.
        unsigned long offset;
        /// The number of units replaced.
        unsigned long count;
        /// The new units, or null.
        const char16_t* data;
        /// True once `inserted` is measured.
        bool measured = false;
        /// The number of units of `data`.
        unsigned long inserted = 0;
    };
    /// Internal: the one upkeep routine for a replacement of children, behind
    /// `beforeReplaceChildren` and the range list.
    ARBOR_INTERNAL void follow(ChildUpkeep& change);
    /// Internal: the one upkeep routine for a replacement of text, behind `beforeReplaceText` and
    /// the range list.
    ARBOR_INTERNAL void follow(TextUpkeep& change);

private:
    friend class RangeList;

    void checkAttached() const;
    void checkPoint(Node* node, unsigned long offset) const;
    Node* parentOf(Node* node) const;
    bool touches(Node* parent) const;
};

} // namespace Arbor

#endif

#ifndef ARBOR_TREE_TEXT_H
#define ARBOR_TREE_TEXT_H

#include "arbor/tree/AtomicNode.h"

namespace Arbor {

/// Character data: a UTF-16 string, edited through `replaceData` and its forms. Offsets, counts
/// and lengths are UTF-16 code units. Counts that run past the end are clipped (the largest
/// unsigned value means "to the end" for every offset); offsets past the end throw
/// INDEX_SIZE_ERR. Allocation failure throws `std::bad_alloc` and leaves the text unchanged.
class ARBOR_API Text : public AtomicNode {
public:
    /// The text, NUL-terminated, `malloc`-allocated to exactly the length plus one unit; null
    /// exactly when the text is empty.
    char16_t* buffer = nullptr;

    /// A node of `document` holding a copy of `data` (null or empty: an empty node).
    Text(Document* document, const char16_t* data);
    ~Text() override;

    /// A new text node with a copy of the data; `deep` makes no difference.
    Node* cloneNode(bool deep) override;
    /// TEXT_NODE.
    int nodeType() override;
    /// The token "#text".
    Token nodeName() override;
    /// The length.
    unsigned long items() override;
    /// This node.
    Text* asText() override;
    /// The data as XML character data.
    std::ostream& putXml(std::ostream& os) override;

    // Appended operations, in slot order.
    /// The data (null when empty).
    virtual const char16_t* nodeValue();
    /// `setData(value)`.
    virtual void setNodeValue(const char16_t* value);
    /// Hook: whether this node accepts the edit (HIERARCHY_REQUEST_ERR when it does not).
    virtual bool mayReplaceData(unsigned long offset, unsigned long count, const char16_t* newData);

    /// The buffer; null for an empty node.
    const char16_t* data() const { return buffer; }
    /// Number of UTF-16 units.
    unsigned long length() const;

    /// A new `malloc` buffer (freed by the caller with `free`) holding `count` units from `offset`
    /// (clipped), or null when that is empty. Throws INDEX_SIZE_ERR for `offset` past the end.
    char16_t* substringData(unsigned long offset, unsigned long count);
    /// Replaces `count` units (clipped) from `offset` by `newData` (null: nothing). Checks, in
    /// order: `offset` past the end (INDEX_SIZE_ERR), `readOnly()` (NO_MODIFICATION_ALLOWED_ERR),
    /// `mayReplaceData` (HIERARCHY_REQUEST_ERR). In a document's content the edit is an undoable
    /// operation with events; elsewhere it is applied at once.
    void replaceData(unsigned long offset, unsigned long count, const char16_t* newData);
    /// The edit without checks, events or undo record; `offset` must not be past the end.
    void replaceDataRaw(unsigned long offset, unsigned long count, const char16_t* newData);
    /// Replaces the whole data by `s`, as `replaceData` does.
    void setData(const char16_t* s);
    /// Adds `s` at the end, as `replaceData` does.
    void appendData(const char16_t* s);
    /// Inserts `s` at `offset`, as `replaceData` does.
    void insertData(unsigned long offset, const char16_t* s);
    /// Deletes `count` units (clipped) from `offset`, as `replaceData` does.
    void deleteData(unsigned long offset, unsigned long count);

    /// Cuts the node at `offset`: the units from `offset` on move into a new text node placed
    /// right after this one, which is returned (the caller gets no reference). With a parent,
    /// the new node is inserted and then this node's tail deleted, each a validated change (two
    /// model operations in a document); if the insertion fails the new node is released and the
    /// error passes on. Without a parent the new node is linked as this node's next sibling, so
    /// both form a parentless chain. Throws INDEX_SIZE_ERR for `offset` past the end and
    /// NO_MODIFICATION_ALLOWED_ERR for a read-only node.
    Text* splitText(unsigned long offset);

    /// The number of units from `offset` that a `count` covers: `count` clipped to the end,
    /// computed without overflow. `offset` must not be past the end.
    unsigned long clip(unsigned long offset, unsigned long count) const;

    /// Internal: a count of the edits made to any text's data on the calling thread, so code that
    /// measured a text can tell whether callbacks it ran meanwhile may have changed it.
    ARBOR_INTERNAL static unsigned long edits();

    /// Internal: the raw edit with the lengths already measured: `length` is the current length,
    /// `count` is clipped and `offset` not past the end, and `added` is the length of `newData`.
    ARBOR_INTERNAL void spliceData(unsigned long length, unsigned long offset, unsigned long count,
        const char16_t* newData, unsigned long added);
};

} // namespace Arbor

#endif

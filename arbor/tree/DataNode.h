#ifndef ARBOR_TREE_DATA_NODE_H
#define ARBOR_TREE_DATA_NODE_H

#include "arbor/tree/AtomicNode.h"
#include "arbor/tree/NodeAllocation.h"

namespace Arbor {

/// Base of the atomic nodes that carry markup data rather than text content: comments and
/// processing instructions. The data is a UTF-16 string edited like a text node's, through
/// `replaceData` and its forms, with the same offsets, clipping and errors; `asText()` stays null,
/// so code that collects text never picks the data up.
///
/// Every checked edit first builds the data it would leave and asks `acceptsData` whether that can
/// be written back as XML; data that cannot is refused with INVALID_CHARACTER_ERR before anything
/// changes. Check order: `offset` past the end (INDEX_SIZE_ERR), the resulting data
/// (INVALID_CHARACTER_ERR), `readOnly()` (NO_MODIFICATION_ALLOWED_ERR). Inside a document's
/// content the edit is an undoable `ReplaceDataOperation` announced with `BeforeReplaceTextEvent`
/// and `AfterReplaceTextEvent` whose target is this node (observers that need a text node ask
/// `asText()`); ranges with a point in the node follow it as they follow text. Elsewhere the edit
/// is applied at once, with no event and no undo record.
class ARBOR_API DataNode : public AtomicNode {
public:
    ARBOR_NODE_ALLOCATION

    /// The data, NUL-terminated, `malloc`-allocated to exactly the length plus one unit; null
    /// exactly when the data is empty.
    char16_t* buffer = nullptr;

    /// A node of `document` holding a copy of `data` (null or empty: no data). Checks nothing:
    /// the factories of the subclasses check before they construct.
    DataNode(Document* document, const char16_t* data);
    ~DataNode() override;

    /// The length of the data, so that range offsets inside the node count UTF-16 units.
    unsigned long items() override;

    // Appended operations, in slot order.
    /// Whether `data` (`length` units, not necessarily NUL-terminated) can be written back as this
    /// node's data. The default accepts only characters XML allows literally (tab, line feed,
    /// U+0020 and above, paired surrogates; no carriage return, which a reader would turn into a
    /// line feed, and no U+FFFE or U+FFFF).
    virtual bool acceptsData(const char16_t* data, unsigned long length) const;

    /// The buffer; null when empty.
    const char16_t* data() const { return buffer; }
    /// Number of UTF-16 units.
    unsigned long length() const;

    /// A new `malloc` buffer (freed by the caller with `free`) holding `count` units from `offset`
    /// (clipped), or null when that is empty. Throws INDEX_SIZE_ERR for `offset` past the end.
    char16_t* substringData(unsigned long offset, unsigned long count) const;
    /// Replaces `count` units (clipped) from `offset` by `newData` (null: nothing), checked as
    /// the class notes say.
    void replaceData(unsigned long offset, unsigned long count, const char16_t* newData);
    /// The edit without checks, events or undo record. Throws INDEX_SIZE_ERR for `offset` past
    /// the end and `std::bad_alloc`, and leaves the data unchanged then.
    void replaceDataRaw(unsigned long offset, unsigned long count, const char16_t* newData);
    /// Replaces the whole data by `s`, as `replaceData` does.
    void setData(const char16_t* s);
    /// Adds `s` at the end, as `replaceData` does.
    void appendData(const char16_t* s);
    /// Inserts `s` at `offset`, as `replaceData` does.
    void insertData(unsigned long offset, const char16_t* s);
    /// Deletes `count` units (clipped) from `offset`, as `replaceData` does.
    void deleteData(unsigned long offset, unsigned long count);

    /// Whether every unit of `data` is a character XML allows literally (the default of
    /// `acceptsData`).
    static bool isXmlData(const char16_t* data, unsigned long length);
};

} // namespace Arbor

#endif

#ifndef ARBOR_UNDO_REPLACE_TEXT_OPERATION_H
#define ARBOR_UNDO_REPLACE_TEXT_OPERATION_H

#include "arbor/undo/ModelOperation.h"

namespace Arbor {

class Text;

/// Replaces a stretch of a text node's data, as a self-inverse swap: each execution keeps the
/// removed text in `data` and the inserted length in `count`. An execution whose `offset` lies
/// past the end of the text (the text was edited outside the document meanwhile) throws
/// INDEX_SIZE_ERR before it fires anything.
class ARBOR_API ReplaceTextOperation : public ModelOperation {
public:
    /// The text node; counted.
    Text* text;
    /// Start of the stretch, in UTF-16 units.
    unsigned long offset;
    /// Length of the stretch, in UTF-16 units (not clamped).
    unsigned long count;
    /// The text the next execution inserts (null: none); owned, `malloc`-allocated.
    char16_t* data;

    /// Copies `data`; throws `std::bad_alloc` when the copy cannot be made.
    ReplaceTextOperation(Document* document, Text* text, unsigned long offset, unsigned long count,
        const char16_t* data);
    /// Frees `data`, then releases `text`.
    ~ReplaceTextOperation() override;

    void execute() override;
    /// `execute()`: the fields describe the inverse change.
    void undo() override;

    /// Internal: the text's length as its editor just measured it, so the first execution need
    /// not measure a long text again.
    ARBOR_INTERNAL void knowLength(unsigned long length) { knownLength = length; }

private:
    static constexpr unsigned long unknownLength = ~0UL;
    /// The text's length when known without measuring (`unknownLength` otherwise).
    unsigned long knownLength = unknownLength;
};

} // namespace Arbor

#endif

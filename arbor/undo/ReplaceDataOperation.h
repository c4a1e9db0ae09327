#ifndef ARBOR_UNDO_REPLACE_DATA_OPERATION_H
#define ARBOR_UNDO_REPLACE_DATA_OPERATION_H

#include "arbor/undo/ModelOperation.h"

namespace Arbor {

class DataNode;

/// Replaces a stretch of the data of a comment or processing instruction: the counterpart of
/// `ReplaceTextOperation` for `DataNode`s, firing the same `BeforeReplaceTextEvent` and
/// `AfterReplaceTextEvent` with the node as target. Executing it swaps the new units with the
/// removed ones, so executing it again reverts the change.
class ARBOR_API ReplaceDataOperation : public ModelOperation {
public:
    /// The node, referenced.
    DataNode* node;
    /// First unit replaced.
    unsigned long offset;
    /// Number of units replaced.
    unsigned long count;
    /// The units to put in, `malloc`-allocated; null for none.
    char16_t* data;

    /// Replaces `count` units of `node` from `offset` by a copy of `data`.
    ReplaceDataOperation(Document* document, DataNode* node, unsigned long offset,
        unsigned long count, const char16_t* data);
    ~ReplaceDataOperation() override;

    /// Fires the before-event, swaps the units, fires the after-event.
    void execute() override;
    /// `execute()`.
    void undo() override;
};

} // namespace Arbor

#endif

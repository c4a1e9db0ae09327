#ifndef ARBOR_UNDO_INTERNAL_OPERATION_RUN_H
#define ARBOR_UNDO_INTERNAL_OPERATION_RUN_H

// Internal: not exported and not part of the umbrella header.

#include "arbor/document/Document.h"
#include "arbor/document/internal/DocumentPin.h"
#include "arbor/range/internal/RangeList.h"
#include "arbor/undo/ModelOperation.h"

#include <memory>

namespace Arbor {

/// Counts a running operation, also when it leaves by an exception, so posted functions are not
/// held back for good.
class OperationScope {
public:
    explicit OperationScope(unsigned long& depth)
        : depth(depth)
    {
        ++depth;
    }
    ~OperationScope() { --depth; }
    OperationScope(const OperationScope&) = delete;
    OperationScope& operator=(const OperationScope&) = delete;

private:
    unsigned long& depth;
};

/// What `Document::doModelOperation` does: executes `op` (owned) and records it, then purges
/// ranges and runs posted functions. Inline, so that a mutator that has just made `op` calls its
/// execution directly rather than through the virtual table.
template <class Op> [[gnu::always_inline]] inline void runModelOperation(Document* document, Op* op)
{
    DocumentPin pin(document);
    std::unique_ptr<Op> owned(op);
    {
        OperationScope scope(document->operationDepth);
        owned->execute();
        document->undoStack.addOp(owned.release());
    }
    // Both steps find nothing to do in the usual case: skip the calls then.
    if (document->rangeList && document->rangeList->first) document->rangeList->purgeRanges();
    if (!document->postedFunctions.empty()) document->executePostedFunctions();
}

} // namespace Arbor

#endif

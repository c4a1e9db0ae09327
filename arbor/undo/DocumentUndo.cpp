#include "arbor/document/Document.h"
#include "arbor/document/internal/DocumentPin.h"
#include "arbor/range/internal/RangeList.h"
#include "arbor/undo/ModelOperation.h"

#include <memory>

namespace {

// Counts a running operation, also when it leaves by an exception, so posted functions are not
// held back for good.
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

} // namespace

void Arbor::Document::doModelOperation(ModelOperation* op)
{
    if (!op) return;
    DocumentPin pin(this);
    std::unique_ptr<ModelOperation> owned(op);
    {
        OperationScope scope(operationDepth);
        owned->execute();
        undoStack.addOp(owned.release());
    }
    // Both steps find nothing to do in the usual case: skip the calls then.
    if (rangeList && rangeList->first) rangeList->purgeRanges();
    if (!postedFunctions.empty()) executePostedFunctions();
}

void Arbor::Document::undo()
{
    DocumentPin pin(this);
    {
        OperationScope scope(operationDepth);
        undoStack.undo();
    }
    executePostedFunctions();
}

void Arbor::Document::redo()
{
    DocumentPin pin(this);
    {
        OperationScope scope(operationDepth);
        undoStack.redo();
    }
    executePostedFunctions();
}

void Arbor::Document::maxUndoTasks(unsigned long n) { undoStack.maxTasks(n); }

void Arbor::Document::clearUndoStack() { undoStack.clear(); }

void Arbor::Document::newUndoTask() { undoStack.newTask(); }

#include "arbor/document/Document.h"
#include "arbor/document/internal/DocumentPin.h"
#include "arbor/undo/internal/OperationRun.h"

void Arbor::Document::doModelOperation(ModelOperation* op)
{
    if (op) runModelOperation(this, op);
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

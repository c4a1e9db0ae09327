#include "arbor/undo/UndoStack.h"

#include "arbor/undo/internal/OperationPool.h"

#include <new>

Arbor::UndoStack::UndoStack() = default;

Arbor::UndoStack::~UndoStack()
{
    for (Plinth::Operation* op : operations)
        delete op;
    for (Plinth::Operation* op : discarded)
        delete op;
    for (Plinth::Operation* op : deferred)
        delete op;
    delete pool;
}

Arbor::OperationPool* Arbor::UndoStack::makePool()
{
    pool = OperationPool::make();
    return pool;
}

void Arbor::UndoStack::addOp(Plinth::Operation* op)
{
    if (!op) return;
    if (maxTaskCount == 0) {
        delete op; // it has done its work and nothing is recorded
        return;
    }
    try {
        if (replaying != 0)
            deferred.push_back(op);
        else
            record(op);
    } catch (...) {
        delete op;
        throw;
    }
}

void Arbor::UndoStack::record(Plinth::Operation* op)
{
    if (doneTasks < taskStarts.size())
        discardUndone();
    else if (!newTaskPending) {
        operations.push_back(op);
        return;
    }
    if (!taskStarts.empty() && taskStarts.back() >= operations.size()) {
        operations.push_back(op); // the last task is empty: the operation fills it
        return;
    }
    taskStarts.push_back(operations.size());
    ++doneTasks;
    newTaskPending = false;
    if (taskStarts.size() > maxTaskCount) dropOldestTask();
    operations.push_back(op);
}

void Arbor::UndoStack::discardUndone()
{
    const unsigned long start = taskStarts[doneTasks];
    for (unsigned long i = start; i < operations.size(); ++i)
        dispose(operations[i]);
    operations.resize(start);
    taskStarts.resize(doneTasks);
    newTaskPending = true;
}

void Arbor::UndoStack::dropOldestTask()
{
    const unsigned long end = endTask(0);
    for (unsigned long i = 0; i < end; ++i)
        dispose(operations[i]);
    operations.erase(operations.begin(), operations.begin() + static_cast<long>(end));
    taskStarts.pop_front();
    --doneTasks;
    for (unsigned long& start : taskStarts)
        start -= end;
}

void Arbor::UndoStack::addAtomicOp(Plinth::Operation* op)
{
    newTaskPending = true;
    if (!op) return;
    addOp(op);
    newTaskPending = true;
}

unsigned long Arbor::UndoStack::endTask(unsigned long task) const
{
    if (task < taskStarts.size() && task + 1 < taskStarts.size()) return taskStarts[task + 1];
    return operations.size();
}

void Arbor::UndoStack::undo()
{
    if (doneTasks == 0) return;
    replayTask(doneTasks - 1, true);
}

void Arbor::UndoStack::redo()
{
    if (doneTasks >= taskStarts.size()) return;
    replayTask(doneTasks, false);
}

// Works on a copy of the task's operation pointers: observers reached from an operation may
// record, clear or re-limit the stack meanwhile. Nothing is deleted while a replay runs (see
// `dispose`), and what was recorded meanwhile is recorded once the outermost replay is over.
void Arbor::UndoStack::replayTask(unsigned long task, bool backwards)
{
    const std::vector<Plinth::Operation*> ops(
        operations.begin() + static_cast<long>(taskStarts[task]),
        operations.begin() + static_cast<long>(endTask(task)));
    const unsigned long clearsBefore = clears;
    if (backwards) --doneTasks;
    ++replaying;
    try {
        if (backwards) {
            for (auto op = ops.rbegin(); op != ops.rend(); ++op)
                (*op)->undo();
        } else {
            for (Plinth::Operation* op : ops)
                op->redo();
        }
    } catch (...) {
        // The task is half applied: no record of the history still matches the document.
        clear();
        --replaying;
        finishReplay();
        throw;
    }
    --replaying;
    if (!backwards && clears == clearsBefore) ++doneTasks;
    newTaskPending = true;
    finishReplay();
}

void Arbor::UndoStack::clear()
{
    for (Plinth::Operation* op : operations)
        dispose(op);
    operations.clear();
    taskStarts.clear();
    doneTasks = 0;
    newTaskPending = true;
    ++clears;
}

void Arbor::UndoStack::maxTasks(unsigned long n)
{
    clear();
    maxTaskCount = n;
}

void Arbor::UndoStack::dispose(Plinth::Operation* op)
{
    if (replaying == 0) {
        delete op;
        return;
    }
    try {
        discarded.push_back(op);
    } catch (const std::bad_alloc&) {
        // Deleting it now could pull it from under the replay; losing it is the lesser harm.
    }
}

void Arbor::UndoStack::finishReplay() noexcept
{
    if (replaying != 0) return;
    std::vector<Plinth::Operation*> dead;
    dead.swap(discarded);
    for (Plinth::Operation* op : dead)
        delete op;
    std::vector<Plinth::Operation*> late;
    late.swap(deferred);
    for (Plinth::Operation* op : late) {
        try {
            addOp(op);
        } catch (const std::bad_alloc&) {
            // addOp deleted it.
        }
    }
}

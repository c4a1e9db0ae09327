#ifndef ARBOR_UNDO_UNDO_STACK_H
#define ARBOR_UNDO_UNDO_STACK_H

#include "arbor/foundation/Export.h"
#include "arbor/foundation/Operation.h"

#include <deque>
#include <vector>

namespace Arbor {

class OperationPool;

/// The operations applied to one document, oldest first, grouped into tasks; a task is undone
/// and redone as a whole. The stack owns every operation recorded and deletes it through its
/// virtual destructor. It never executes an operation it is given: callers execute first, then
/// record.
///
/// Re-entrance. While `undo()` or `redo()` works through a task, the operations of the stack are
/// never deleted: an operation recorded meanwhile (an observer changing the document) is kept
/// aside and recorded when the outermost `undo()`/`redo()` returns, and a `clear()` or `maxTasks()`
/// made meanwhile takes effect at once but deletes the discarded operations only then.
///
/// Failure. When an operation throws inside `undo()` or `redo()`, the task may be half applied, so
/// the whole history is discarded (`canUndo()` and `canRedo()` become false) and the exception
/// passes on; nothing is replayed later that no longer matches the document.
class ARBOR_API UndoStack {
public:
    /// Every recorded operation, oldest first; owned.
    std::deque<Plinth::Operation*> operations;
    /// Index in `operations` of each task's first operation, oldest task first.
    std::deque<unsigned long> taskStarts;
    /// Number of applied tasks: tasks below it can be undone, the others redone.
    unsigned long doneTasks = 0;
    /// The most tasks kept; 0 records nothing.
    unsigned long maxTaskCount = 100;
    /// The next recorded operation opens a new task.
    bool newTaskPending = true;

    UndoStack();
    /// Deletes every operation, oldest first.
    ~UndoStack();
    UndoStack(const UndoStack&) = delete;
    UndoStack& operator=(const UndoStack&) = delete;

    /// Records an executed operation and takes ownership: it joins the current task or opens a
    /// new one (discarding undone tasks and, past the limit, the oldest task); with a limit of 0
    /// it is deleted at once. Null is ignored. If memory runs out the operation is deleted and
    /// `std::bad_alloc` passes on.
    void addOp(Plinth::Operation* op);
    /// Records the operation as a task of its own; null only requests a new task.
    void addAtomicOp(Plinth::Operation* op);
    /// One past the last operation of `task` (the number of operations for the last task or any
    /// larger number).
    unsigned long endTask(unsigned long task) const;
    /// Undoes the last applied task, its operations last first; nothing when none is applied.
    void undo();
    /// Redoes the first undone task, its operations first first; nothing when none is undone.
    void redo();
    /// Deletes all operations and tasks; keeps the limit.
    void clear();
    /// Clears the stack, then sets the limit, even to its current value.
    void maxTasks(unsigned long n);
    /// The most tasks kept (0: nothing is recorded); the oldest task makes room for a new one.
    unsigned long maxTasks() const { return maxTaskCount; }
    /// True when a task can be undone.
    bool canUndo() const { return doneTasks != 0; }
    /// True when an undone task can be redone.
    bool canRedo() const { return doneTasks < taskStarts.size(); }
    /// The next recorded operation opens a new task.
    void newTask() { newTaskPending = true; }

    /// Internal: the memory the operations recorded here are made from (made on first use; null
    /// when pooling is off).
    OperationPool* operationPool() { return pool ? pool : makePool(); }

private:
    /// Depth of running `undo()`/`redo()` calls.
    unsigned long replaying = 0;
    /// Operations recorded while replaying, recorded when the replay ends.
    std::vector<Plinth::Operation*> deferred;
    /// Operations discarded while replaying, deleted when the replay ends.
    std::vector<Plinth::Operation*> discarded;
    /// Number of `clear()` calls, to tell whether one ran during a replay.
    unsigned long clears = 0;
    /// Memory of the operations; outlives every operation the stack deletes.
    OperationPool* pool = nullptr;

    ARBOR_INTERNAL OperationPool* makePool();
    void record(Plinth::Operation* op);
    void discardUndone();
    void dropOldestTask();
    void dispose(Plinth::Operation* op);
    void finishReplay() noexcept;
    void replayTask(unsigned long task, bool backwards);
};

} // namespace Arbor

#endif

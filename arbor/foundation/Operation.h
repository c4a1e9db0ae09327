#ifndef ARBOR_FOUNDATION_OPERATION_H
#define ARBOR_FOUNDATION_OPERATION_H

#include "arbor/foundation/Export.h"

namespace Plinth {

/// An undoable operation. The undo stack owns the operations it records, calls `undo()` and
/// `redo()` on them and deletes them through the virtual destructor.
class ARBOR_API Operation {
public:
    virtual ~Operation() = default;
    /// Applies the operation.
    virtual void execute() = 0;
    /// Reverts what the last `execute()` or `redo()` applied.
    virtual void undo() = 0;
    /// Applies the operation again; calls `execute()` unless overridden.
    virtual void redo() { execute(); }
};

} // namespace Plinth

#endif

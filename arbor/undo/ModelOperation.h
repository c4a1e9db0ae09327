#ifndef ARBOR_UNDO_MODEL_OPERATION_H
#define ARBOR_UNDO_MODEL_OPERATION_H

#include "arbor/foundation/Export.h"
#include "arbor/foundation/Operation.h"

#include <cstddef>
#include <new>

namespace Arbor {

class Document;

/// An undoable change of one document's model: it fires the document's before- and after-events
/// around every raw change it makes, so observers and ranges follow undo and redo as they follow
/// the first execution.
class ARBOR_API ModelOperation : public Plinth::Operation {
public:
    /// The document whose events the operation fires; not counted.
    Document* document;

    ~ModelOperation() override;

    /// Memory for an operation on `document`'s model, from blocks that the document's undo stack
    /// owns (the library's mutators create their operations this way); freed by `delete` as usual.
    static void* operator new(std::size_t size, Document* document);
    /// Memory from the global heap, for operations made without a document.
    static void* operator new(std::size_t size);
    /// Memory for an over-aligned operation class, from the global heap.
    static void* operator new(std::size_t size, std::align_val_t alignment);
    /// Memory for an over-aligned operation class, from the global heap.
    static void* operator new(std::size_t size, std::align_val_t alignment, Document* document);
    /// Gives memory back to where it came from.
    static void operator delete(void* memory) noexcept;
    /// Gives memory back when the constructor of an operation made on a document throws.
    static void operator delete(void* memory, Document* document) noexcept;
    /// Gives back the memory of an over-aligned operation class.
    static void operator delete(void* memory, std::align_val_t alignment) noexcept;
    /// Gives back the memory of an over-aligned operation class whose constructor throws.
    static void operator delete(
        void* memory, std::align_val_t alignment, Document* document) noexcept;

protected:
    /// An operation whose events go to `document`.
    explicit ModelOperation(Document* document)
        : document(document)
    {
    }
};

} // namespace Arbor

#endif

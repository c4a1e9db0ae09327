#include "arbor/undo/ModelOperation.h"

#include "arbor/document/Document.h"
#include "arbor/undo/internal/OperationPool.h"

Arbor::ModelOperation::~ModelOperation() = default;

void* Arbor::ModelOperation::operator new(std::size_t size, Document* document)
{
    return OperationPool::allocate(document ? document->undoStack.operationPool() : nullptr, size);
}

void* Arbor::ModelOperation::operator new(std::size_t size)
{
    return OperationPool::allocate(nullptr, size);
}

void* Arbor::ModelOperation::operator new(std::size_t size, std::align_val_t alignment)
{
    return ::operator new(size, alignment);
}

void Arbor::ModelOperation::operator delete(void* memory) noexcept
{
    OperationPool::release(memory);
}

void Arbor::ModelOperation::operator delete(void* memory, Document*) noexcept
{
    OperationPool::release(memory);
}

void Arbor::ModelOperation::operator delete(void* memory, std::align_val_t alignment) noexcept
{
    ::operator delete(memory, alignment);
}

void* Arbor::ModelOperation::operator new(std::size_t size, std::align_val_t alignment, Document*)
{
    return ::operator new(size, alignment);
}

void Arbor::ModelOperation::operator delete(
    void* memory, std::align_val_t alignment, Document*) noexcept
{
    ::operator delete(memory, alignment);
}

#include "arbor/undo/ReplaceDataOperation.h"

#include "arbor/document/Document.h"
#include "arbor/document/Events.h"
#include "arbor/foundation/Ref.h"
#include "arbor/foundation/UString.h"
#include "arbor/tree/DataNode.h"
#include "arbor/tree/DomException.h"

#include <cstdlib>
#include <memory>
#include <new>

namespace {

char16_t* copyOrNull(const char16_t* data)
{
    if (!data || !*data) return nullptr;
    char16_t* copy = Plinth::ustrdup(data);
    if (!copy) throw std::bad_alloc();
    return copy;
}

} // namespace

Arbor::ReplaceDataOperation::ReplaceDataOperation(Document* document, DataNode* node,
    unsigned long offset, unsigned long count, const char16_t* data)
    : ModelOperation(document)
    , node(node)
    , offset(offset)
    , count(count)
    , data(copyOrNull(data))
{
    node->ref();
}

Arbor::ReplaceDataOperation::~ReplaceDataOperation()
{
    std::free(data);
    Plinth::releaseCounted(node);
}

void Arbor::ReplaceDataOperation::execute()
{
    if (offset > node->length()) throw DomException(DomException::INDEX_SIZE_ERR);
    BeforeReplaceTextEvent before(node, offset, count, data);
    document->fireEvent(before);

    // Observers may have edited the node: the stretch is taken as it is now.
    std::unique_ptr<char16_t, Plinth::FreeDeleter> removed(node->substringData(offset, count));
    node->replaceDataRaw(offset, count, data);
    count = data ? Plinth::ustrlen(data) : 0;
    std::free(data);
    data = removed.release();

    AfterReplaceTextEvent after(node);
    document->fireEvent(after);
}

void Arbor::ReplaceDataOperation::undo() { execute(); }

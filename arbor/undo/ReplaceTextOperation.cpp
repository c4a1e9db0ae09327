#include "arbor/undo/ReplaceTextOperation.h"

#include "arbor/document/Document.h"
#include "arbor/document/Events.h"
#include "arbor/foundation/Ref.h"
#include "arbor/foundation/UString.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/Text.h"

#include <cstdlib>
#include <memory>
#include <new>

namespace {

char16_t* copyOrNull(const char16_t* data)
{
    if (!data) return nullptr;
    char16_t* copy = Plinth::ustrdup(data);
    if (!copy) throw std::bad_alloc();
    return copy;
}

} // namespace

Arbor::ReplaceTextOperation::ReplaceTextOperation(
    Document* document, Text* text, unsigned long offset, unsigned long count, const char16_t* data)
    : ModelOperation(document)
    , text(text)
    , offset(offset)
    , count(count)
    , data(copyOrNull(data))
{
    if (text) text->ref();
}

Arbor::ReplaceTextOperation::~ReplaceTextOperation()
{
    std::free(data);
    Plinth::releaseCounted(text);
}

void Arbor::ReplaceTextOperation::execute()
{
    // Checked before anything is announced: the text may have been edited outside the document.
    if (offset > text->length()) throw DomException(DomException::INDEX_SIZE_ERR);
    BeforeReplaceTextEvent before(text, offset, count, data);
    document->fireEvent(before);

    std::unique_ptr<char16_t, Plinth::FreeDeleter> removed(text->substringData(offset, count));
    text->replaceDataRaw(offset, count, data);
    count = data ? Plinth::ustrlen(data) : 0;
    std::free(data);
    data = removed.release();

    AfterReplaceTextEvent after(text);
    document->fireEvent(after);
}

void Arbor::ReplaceTextOperation::undo() { execute(); }

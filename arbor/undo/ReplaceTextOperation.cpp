#include "arbor/undo/ReplaceTextOperation.h"

#include "arbor/document/Document.h"
#include "arbor/document/Events.h"
#include "arbor/foundation/Ref.h"
#include "arbor/foundation/UString.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/Text.h"

#include <cstdlib>
#include <cstring>
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

// A new buffer holding `count` units from `from` and a terminator.
char16_t* copyUnits(const char16_t* from, unsigned long count)
{
    void* memory = std::malloc((count + 1) * sizeof(char16_t));
    if (!memory) throw std::bad_alloc();
    auto* copy = static_cast<char16_t*>(memory);
    std::memcpy(copy, from, count * sizeof(char16_t));
    copy[count] = 0;
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
    // Checked before anything is announced: the text may have been edited outside the document
    // since the last execution. The first one follows its editor's check on the same length.
    unsigned long length = knownLength;
    knownLength = unknownLength;
    if (length == unknownLength) length = text->length();
    if (offset > length) throw DomException(DomException::INDEX_SIZE_ERR);
    const unsigned long editsBefore = Text::edits();
    BeforeReplaceTextEvent before(text, offset, count, data);
    document->fireEvent(before);

    // Observers may have edited the text: if any text was edited meanwhile, measure it again,
    // once for the copy of the removed units and the edit both.
    if (Text::edits() != editsBefore) {
        length = text->length();
        if (offset > length) throw DomException(DomException::INDEX_SIZE_ERR);
    }
    const unsigned long rest = length - offset;
    const unsigned long removedCount = count < rest ? count : rest;
    std::unique_ptr<char16_t, Plinth::FreeDeleter> removed(
        removedCount ? copyUnits(text->buffer + offset, removedCount) : nullptr);
    const unsigned long added = data ? Plinth::ustrlen(data) : 0;
    text->spliceData(length, offset, removedCount, data, added);
    count = added;
    std::free(data);
    data = removed.release();

    AfterReplaceTextEvent after(text);
    document->fireEvent(after);
}

void Arbor::ReplaceTextOperation::undo() { execute(); }

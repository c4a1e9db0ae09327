#include "arbor/tree/Text.h"

#include "arbor/document/Document.h"
#include "arbor/foundation/CData.h"
#include "arbor/foundation/Ref.h"
#include "arbor/foundation/UString.h"
#include "arbor/foundation/internal/UnitBuffer.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/internal/NodePool.h"
#include "arbor/undo/ReplaceTextOperation.h"
#include "arbor/undo/internal/OperationRun.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace {

using UniqueUString = std::unique_ptr<char16_t, Plinth::FreeDeleter>;

thread_local unsigned long textEdits = 0;

} // namespace

using Plinth::clipUnits;

Arbor::Text::Text(Document* document, const char16_t* data)
    : AtomicNode(document)
{
    if (data && *data) {
        buffer = Plinth::ustrdup(data);
        if (!buffer) throw std::bad_alloc();
    }
}

Arbor::Text::~Text() { std::free(buffer); }

Arbor::Node* Arbor::Text::cloneNode(bool) { return new Text(document, buffer); }

int Arbor::Text::nodeType() { return TEXT_NODE; }

Arbor::Token Arbor::Text::nodeName()
{
    static const Token text("#text", false);
    return text;
}

unsigned long Arbor::Text::items() { return length(); }

Arbor::Text* Arbor::Text::asText() { return this; }

std::ostream& Arbor::Text::putXml(std::ostream& os) { return Plinth::putCData(os, buffer); }

const char16_t* Arbor::Text::nodeValue() { return buffer; }

void Arbor::Text::setNodeValue(const char16_t* value) { setData(value); }

bool Arbor::Text::mayReplaceData(unsigned long, unsigned long, const char16_t*) { return true; }

unsigned long Arbor::Text::length() const { return buffer ? Plinth::bufferUnits(buffer) : 0; }

unsigned long Arbor::Text::clip(unsigned long offset, unsigned long count) const
{
    return clipUnits(length(), offset, count);
}

char16_t* Arbor::Text::substringData(unsigned long offset, unsigned long count)
{
    const unsigned long len = length();
    if (offset > len) throw DomException(DomException::INDEX_SIZE_ERR);
    count = clipUnits(len, offset, count);
    return count ? Plinth::copyUnits(buffer + offset, count) : nullptr;
}

void Arbor::Text::replaceData(unsigned long offset, unsigned long count, const char16_t* newData)
{
    // Measured once: the text may be long. The length stays good unless a hook below edits text.
    const unsigned long len = length();
    const unsigned long editsSeen = textEdits;
    if (offset > len) throw DomException(DomException::INDEX_SIZE_ERR);
    if (readOnly()) throw DomException(DomException::NO_MODIFICATION_ALLOWED_ERR);
    if (!mayReplaceData(offset, count, newData))
        throw DomException(DomException::HIERARCHY_REQUEST_ERR);
    const bool measured = textEdits == editsSeen;

    if (isDocumentChild()) {
        auto* op = new (document) ReplaceTextOperation(document, this, offset, count, newData);
        if (measured) op->knowLength(len);
        runModelOperation(document, op);
    } else if (measured && buffer) {
        spliceData(len, offset, clipUnits(len, offset, count), newData,
            newData ? Plinth::ustrlen(newData) : 0);
    } else {
        replaceDataRaw(offset, count, newData);
    }
}

unsigned long Arbor::Text::edits() { return textEdits; }

void Arbor::Text::replaceDataRaw(unsigned long offset, unsigned long count, const char16_t* newData)
{
    if (!buffer) {
        if (!newData || !*newData) return;
        char16_t* copy = Plinth::ustrdup(newData);
        if (!copy) throw std::bad_alloc();
        buffer = copy;
        ++textEdits;
        return;
    }
    const unsigned long len = length();
    // An offset past the end would copy from outside the buffer: refuse it rather than read it.
    if (offset > len) throw DomException(DomException::INDEX_SIZE_ERR);
    spliceData(len, offset, clipUnits(len, offset, count), newData,
        newData ? Plinth::ustrlen(newData) : 0);
}

void Arbor::Text::spliceData(unsigned long length, unsigned long offset, unsigned long count,
    const char16_t* newData, unsigned long added)
{
    ++textEdits;
    Plinth::spliceUnits(buffer, length, offset, count, newData, added);
}

void Arbor::Text::setData(const char16_t* s) { replaceData(0, length(), s); }

void Arbor::Text::appendData(const char16_t* s) { replaceData(length(), 0, s); }

void Arbor::Text::insertData(unsigned long offset, const char16_t* s) { replaceData(offset, 0, s); }

void Arbor::Text::deleteData(unsigned long offset, unsigned long count)
{
    replaceData(offset, count, nullptr);
}

Arbor::Text* Arbor::Text::splitText(unsigned long offset)
{
    const unsigned long len = length();
    if (offset > len) throw DomException(DomException::INDEX_SIZE_ERR);
    if (readOnly()) throw DomException(DomException::NO_MODIFICATION_ALLOWED_ERR);

    UniqueUString tail(substringData(offset, len - offset));
    std::unique_ptr<Text> fresh(new Text(document, nullptr));
    fresh->buffer = tail.release();

    if (parent) {
        // Released if the insertion fails; on success the tree holds it.
        Text* node = fresh.release();
        Plinth::Ref<Node> keep(node);
        parent->insertBefore(node, next);
        replaceData(offset, len - offset, nullptr);
        return node;
    }
    // Cut first, link after: if the cut runs out of memory nothing has changed yet (and the new
    // node goes with the holder).
    replaceDataRaw(offset, len - offset, nullptr);
    Text* node = fresh.release();
    // The new node takes over this node's reference on the old next sibling.
    node->next = next;
    if (next) next->previous = node;
    node->previous = this;
    next = nullptr;
    Plinth::assignCounted(next, node);
    return node;
}

ARBOR_NODE_ALLOCATION_DEFINE(Arbor::Text)

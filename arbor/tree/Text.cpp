#include "arbor/tree/Text.h"

#include "arbor/document/Document.h"
#include "arbor/foundation/CData.h"
#include "arbor/foundation/Ref.h"
#include "arbor/foundation/UString.h"
#include "arbor/tree/DomException.h"
#include "arbor/undo/ReplaceTextOperation.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace {

using UniqueUString = std::unique_ptr<char16_t, Plinth::FreeDeleter>;

// The units from `offset` that `count` covers in a text of `length` units, without overflow.
unsigned long clipCount(unsigned long length, unsigned long offset, unsigned long count)
{
    const unsigned long rest = length - offset;
    return count < rest ? count : rest;
}

thread_local unsigned long textEdits = 0;

char16_t* allocateUnits(unsigned long units)
{
    void* memory = std::malloc(units * sizeof(char16_t));
    if (!memory) throw std::bad_alloc();
    return static_cast<char16_t*>(memory);
}

} // namespace

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

unsigned long Arbor::Text::length() const { return buffer ? Plinth::ustrlen(buffer) : 0; }

unsigned long Arbor::Text::clip(unsigned long offset, unsigned long count) const
{
    return clipCount(length(), offset, count);
}

char16_t* Arbor::Text::substringData(unsigned long offset, unsigned long count)
{
    const unsigned long len = length();
    if (offset > len) throw DomException(DomException::INDEX_SIZE_ERR);
    count = clipCount(len, offset, count);
    if (count == 0) return nullptr;
    char16_t* copy = allocateUnits(count + 1);
    Plinth::ustrncpy(copy, buffer + offset, count);
    copy[count] = 0;
    return copy;
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
        document->doModelOperation(op);
    } else if (measured && buffer) {
        spliceData(len, offset, clipCount(len, offset, count), newData,
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
    const unsigned long len = Plinth::ustrlen(buffer);
    // An offset past the end would copy from outside the buffer: refuse it rather than read it.
    if (offset > len) throw DomException(DomException::INDEX_SIZE_ERR);
    spliceData(len, offset, clipCount(len, offset, count), newData,
        newData ? Plinth::ustrlen(newData) : 0);
}

void Arbor::Text::spliceData(unsigned long length, unsigned long offset, unsigned long count,
    const char16_t* newData, unsigned long added)
{
    ++textEdits;
    const unsigned long newLength = length - count + added;
    if (newLength == 0) {
        std::free(buffer);
        buffer = nullptr;
        return;
    }
    // Every change gets a fresh buffer of the exact new size, allocated before the old one is
    // freed: a failure leaves the text as it was, and the new units may come from the old buffer.
    char16_t* fresh = allocateUnits(newLength + 1);
    const unsigned long rest = length - offset - count;
    if (offset) std::memcpy(fresh, buffer, offset * sizeof(char16_t));
    if (added) std::memcpy(fresh + offset, newData, added * sizeof(char16_t));
    if (rest) std::memcpy(fresh + offset + added, buffer + offset + count, rest * sizeof(char16_t));
    fresh[newLength] = 0;
    std::free(buffer);
    buffer = fresh;
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

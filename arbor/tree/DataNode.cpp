#include "arbor/tree/DataNode.h"

#include "arbor/document/Document.h"
#include "arbor/foundation/UString.h"
#include "arbor/foundation/internal/UnitBuffer.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/internal/NodePool.h"
#include "arbor/undo/ReplaceDataOperation.h"
#include "arbor/undo/internal/OperationRun.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

using Plinth::clipUnits;

Arbor::DataNode::DataNode(Document* document, const char16_t* data)
    : AtomicNode(document)
{
    if (data && *data) {
        buffer = Plinth::ustrdup(data);
        if (!buffer) throw std::bad_alloc();
    }
}

Arbor::DataNode::~DataNode() { std::free(buffer); }

unsigned long Arbor::DataNode::items() { return length(); }

bool Arbor::DataNode::isXmlData(const char16_t* data, unsigned long length)
{
    for (unsigned long i = 0; i < length; ++i) {
        const char16_t c = data[i];
        if (c < 0x20) {
            if (c != 0x9 && c != 0xA) return false;
        } else if (c >= 0xD800 && c <= 0xDBFF) {
            // A high surrogate needs a low one right after it.
            if (i + 1 == length || data[i + 1] < 0xDC00 || data[i + 1] > 0xDFFF) return false;
            ++i;
        } else if ((c >= 0xDC00 && c <= 0xDFFF) || c == 0xFFFE || c == 0xFFFF) {
            return false;
        }
    }
    return true;
}

bool Arbor::DataNode::acceptsData(const char16_t* data, unsigned long length) const
{
    return isXmlData(data, length);
}

unsigned long Arbor::DataNode::length() const { return buffer ? Plinth::bufferUnits(buffer) : 0; }

char16_t* Arbor::DataNode::substringData(unsigned long offset, unsigned long count) const
{
    const unsigned long len = length();
    if (offset > len) throw DomException(DomException::INDEX_SIZE_ERR);
    count = clipUnits(len, offset, count);
    return count ? Plinth::copyUnits(buffer + offset, count) : nullptr;
}

void Arbor::DataNode::replaceData(
    unsigned long offset, unsigned long count, const char16_t* newData)
{
    const unsigned long len = length();
    if (offset > len) throw DomException(DomException::INDEX_SIZE_ERR);
    // The data the edit would leave is checked as a whole: "-" + "-" makes "--" across the seam.
    count = clipUnits(len, offset, count);
    std::u16string result;
    if (buffer) result.append(buffer, offset);
    if (newData) result.append(newData);
    if (buffer) result.append(buffer + offset + count, len - offset - count);
    if (!acceptsData(result.data(), result.size()))
        throw DomException(DomException::INVALID_CHARACTER_ERR);
    if (readOnly()) throw DomException(DomException::NO_MODIFICATION_ALLOWED_ERR);

    if (isDocumentChild())
        runModelOperation(
            document, new ReplaceDataOperation(document, this, offset, count, newData));
    else
        replaceDataRaw(offset, count, newData);
}

void Arbor::DataNode::replaceDataRaw(
    unsigned long offset, unsigned long count, const char16_t* newData)
{
    const unsigned long len = length();
    if (offset > len) throw DomException(DomException::INDEX_SIZE_ERR);
    count = clipUnits(len, offset, count);
    const unsigned long added = newData ? Plinth::ustrlen(newData) : 0;
    Plinth::spliceUnits(buffer, len, offset, count, newData, added);
}

void Arbor::DataNode::setData(const char16_t* s) { replaceData(0, length(), s); }

void Arbor::DataNode::appendData(const char16_t* s) { replaceData(length(), 0, s); }

void Arbor::DataNode::insertData(unsigned long offset, const char16_t* s)
{
    replaceData(offset, 0, s);
}

void Arbor::DataNode::deleteData(unsigned long offset, unsigned long count)
{
    replaceData(offset, count, nullptr);
}

ARBOR_NODE_ALLOCATION_DEFINE(Arbor::DataNode)

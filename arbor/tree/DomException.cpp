#include "arbor/tree/DomException.h"

#include <cstddef>

namespace {

const char* const invalidName = "<<invalid>>";

const char* const domErrorNames[] = {
    invalidName,
    "INDEX_SIZE_ERR",
    "DOMSTRING_SIZE_ERR",
    "HIERARCHY_REQUEST_ERR",
    "WRONG_DOCUMENT_ERR",
    "INVALID_CHARACTER_ERR",
    "NO_DATA_ALLOWED_ERR",
    "NO_MODIFICATION_ALLOWED_ERR",
    "NOT_FOUND_ERR",
    "NOT_SUPPORTED_ERR",
    "INUSE_ATTRIBUTE_ERR",
    "INVALID_STATE_ERR",
    "SYNTAX_ERR",
    "INVALID_MODIFICATION_ERR",
    "NAMESPACE_ERR",
    "INVALID_ACCESS_ERR",
};

const char* const rangeErrorNames[] = {
    invalidName,
    "BAD_BOUNDARYPOINTS_ERR",
    "INVALID_NODE_TYPE_ERR",
};

// Codes are looked up as unsigned, so a negative code falls past the end of the table.
template <std::size_t size> const char* nameOf(const char* const (&names)[size], long code)
{
    const unsigned long index = static_cast<unsigned long>(code);
    return index < size ? names[index] : invalidName;
}

} // namespace

Arbor::DomException::~DomException() = default;

const char* Arbor::DomException::causeName() const { return nameOf(domErrorNames, code); }

Arbor::RangeException::~RangeException() = default;

const char* Arbor::RangeException::causeName() const { return nameOf(rangeErrorNames, code); }

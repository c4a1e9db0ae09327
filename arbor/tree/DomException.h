#ifndef ARBOR_TREE_DOM_EXCEPTION_H
#define ARBOR_TREE_DOM_EXCEPTION_H

#include "arbor/foundation/Export.h"

#include <exception>

namespace Arbor {

/// An error of the tree, text, attributes or selection, with a DOM error code. `what()` keeps the
/// standard library's text; `causeName()` names the code.
class ARBOR_API DomException : public std::exception {
public:
    /// The DOM error codes.
    enum Code : long {
        INDEX_SIZE_ERR = 1,
        DOMSTRING_SIZE_ERR = 2,
        HIERARCHY_REQUEST_ERR = 3,
        WRONG_DOCUMENT_ERR = 4,
        INVALID_CHARACTER_ERR = 5,
        NO_DATA_ALLOWED_ERR = 6,
        NO_MODIFICATION_ALLOWED_ERR = 7,
        NOT_FOUND_ERR = 8,
        NOT_SUPPORTED_ERR = 9,
        INUSE_ATTRIBUTE_ERR = 10,
        INVALID_STATE_ERR = 11,
        SYNTAX_ERR = 12,
        INVALID_MODIFICATION_ERR = 13,
        NAMESPACE_ERR = 14,
        INVALID_ACCESS_ERR = 15,
    };

    /// The code as given to the constructor.
    long code;

    /// An exception with `code`.
    explicit DomException(long code)
        : code(code)
    {
    }
    ~DomException() override;

    /// The symbolic name of the code ("NOT_FOUND_ERR"), "<<invalid>>" for 0 and for every value
    /// outside 1 to 15. The text is static.
    const char* causeName() const;
};

/// Boundary points that are out of order, with a range error code.
class ARBOR_API RangeException : public std::exception {
public:
    /// The range error codes.
    enum Code : long {
        BAD_BOUNDARYPOINTS_ERR = 1,
        INVALID_NODE_TYPE_ERR = 2,
    };

    /// The code as given to the constructor.
    long code;

    /// An exception with `code`.
    explicit RangeException(long code)
        : code(code)
    {
    }
    ~RangeException() override;

    /// "BAD_BOUNDARYPOINTS_ERR" for 1, "INVALID_NODE_TYPE_ERR" for 2, "<<invalid>>" otherwise.
    const char* causeName() const;
};

} // namespace Arbor

#endif

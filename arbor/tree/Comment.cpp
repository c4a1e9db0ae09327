#include "arbor/tree/Comment.h"

#include "arbor/foundation/UString.h"
#include "arbor/foundation/Utf8.h"
#include "arbor/tree/DomException.h"

#include <ostream>

namespace {

bool isCommentData(const char16_t* data, unsigned long length)
{
    if (!Arbor::DataNode::isXmlData(data, length)) return false;
    if (length > 0 && data[length - 1] == u'-') return false;
    for (unsigned long i = 1; i < length; ++i)
        if (data[i] == u'-' && data[i - 1] == u'-') return false;
    return true;
}

// Checked before the node is built, so a refused comment allocates nothing.
const char16_t* checked(const char16_t* data)
{
    if (!isCommentData(data, data ? Plinth::ustrlen(data) : 0))
        throw Arbor::DomException(Arbor::DomException::INVALID_CHARACTER_ERR);
    return data;
}

} // namespace

Arbor::Comment::Comment(Document* document, const char16_t* data)
    : DataNode(document, checked(data))
{
}

Arbor::Comment::~Comment() = default;

Arbor::Node* Arbor::Comment::cloneNode(bool) { return new Comment(document, buffer); }

int Arbor::Comment::nodeType() { return COMMENT_NODE; }

Arbor::Token Arbor::Comment::nodeName()
{
    static const Token comment("#comment", false);
    return comment;
}

std::ostream& Arbor::Comment::putXml(std::ostream& os)
{
    return os << "<!--" << utf8FromUtf16(buffer) << "-->";
}

bool Arbor::Comment::acceptsData(const char16_t* data, unsigned long length) const
{
    return isCommentData(data, length);
}

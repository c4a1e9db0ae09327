#include "arbor/tree/DocumentType.h"

#include "arbor/tree/DomException.h"
#include "arbor/tree/internal/XmlNames.h"

#include <ostream>

namespace {

Arbor::Token checked(Arbor::Token name, std::string_view publicId, std::string_view systemId)
{
    const char* text = name;
    const bool bothQuotes = systemId.find('"') != std::string_view::npos
        && systemId.find('\'') != std::string_view::npos;
    if (!text || !Arbor::isXmlName(text) || !Arbor::isPublicIdText(publicId) || bothQuotes
        || (!publicId.empty() && systemId.empty()))
        throw Arbor::DomException(Arbor::DomException::INVALID_CHARACTER_ERR);
    return name;
}

} // namespace

Arbor::DocumentType::DocumentType(Document* document, Token name, std::string_view publicId,
    std::string_view systemId, std::string_view internalSubset)
    : AtomicNode(document)
    , name(checked(name, publicId, systemId))
    , publicIdText(publicId)
    , systemIdText(systemId)
    , internalSubsetText(internalSubset)
{
}

Arbor::DocumentType::~DocumentType() = default;

Arbor::Node* Arbor::DocumentType::cloneNode(bool)
{
    return new DocumentType(document, name, publicIdText, systemIdText, internalSubsetText);
}

int Arbor::DocumentType::nodeType() { return DOCUMENT_TYPE_NODE; }

Arbor::Token Arbor::DocumentType::nodeName() { return name; }

unsigned long Arbor::DocumentType::items() { return 0; }

std::ostream& Arbor::DocumentType::putXml(std::ostream& os)
{
    os << "<!DOCTYPE " << static_cast<const char*>(name);
    const char quote = systemIdText.find('"') == std::string::npos ? '"' : '\'';
    if (!publicIdText.empty())
        os << " PUBLIC \"" << publicIdText << "\" " << quote << systemIdText << quote;
    else if (!systemIdText.empty())
        os << " SYSTEM " << quote << systemIdText << quote;
    if (!internalSubsetText.empty()) os << " [" << internalSubsetText << ']';
    return os << '>';
}

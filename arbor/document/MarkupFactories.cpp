// The document's factories for comments, processing instructions and document types.

#include "arbor/document/Document.h"
#include "arbor/tree/Comment.h"
#include "arbor/tree/DocumentType.h"
#include "arbor/tree/ProcessingInstruction.h"

Arbor::Comment* Arbor::Document::createComment(const char16_t* data)
{
    return new Comment(this, data);
}

Arbor::ProcessingInstruction* Arbor::Document::createProcessingInstruction(
    Token target, const char16_t* data)
{
    return new ProcessingInstruction(this, target, data);
}

Arbor::DocumentType* Arbor::Document::createDocumentType(Token name, std::string_view publicId,
    std::string_view systemId, std::string_view internalSubset)
{
    return new DocumentType(this, name, publicId, systemId, internalSubset);
}

// The UTF-8 conveniences for comments and processing instructions.

#include "arbor/document/Document.h"
#include "arbor/foundation/Utf8.h"
#include "arbor/tree/Comment.h"
#include "arbor/tree/ProcessingInstruction.h"

Arbor::Comment* Arbor::createCommentUtf8(Document* document, std::string_view bytes)
{
    return document->createComment(utf16FromUtf8(bytes).c_str());
}

Arbor::ProcessingInstruction* Arbor::createProcessingInstructionUtf8(
    Document* document, Token target, std::string_view bytes)
{
    return document->createProcessingInstruction(target, utf16FromUtf8(bytes).c_str());
}

std::string Arbor::dataUtf8(const DataNode* node) { return utf8FromUtf16(node->data()); }

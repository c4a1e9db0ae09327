#include "arbor/document/DocumentMisc.h"

#include "arbor/tree/DocumentType.h"

#include <ostream>

Arbor::DocumentMisc::DocumentMisc(Document* document, bool epilog)
    : InnerNode(document)
    , epilogItems(epilog)
{
}

Arbor::DocumentMisc::~DocumentMisc() = default;

Arbor::Node* Arbor::DocumentMisc::cloneNode(bool) { return nullptr; }

int Arbor::DocumentMisc::nodeType() { return DOCUMENT_MISC_NODE; }

Arbor::Token Arbor::DocumentMisc::nodeName()
{
    static const Token prolog("#prolog", false);
    static const Token epilog("#epilog", false);
    return epilogItems ? epilog : prolog;
}

std::ostream& Arbor::DocumentMisc::putXml(std::ostream& os)
{
    for (Node* item = first; item; item = item->next) {
        if (epilogItems) os << '\n';
        item->putXml(os);
        if (!epilogItems) os << '\n';
    }
    return os;
}

bool Arbor::DocumentMisc::mayReplaceChildren(Node* from, unsigned long count, Node* newChild)
{
    unsigned long types = 0;
    for (Node* node = newChild; node; node = node->next) {
        const int type = node->nodeType();
        if (type == DOCUMENT_TYPE_NODE && !epilogItems)
            ++types;
        else if (type != COMMENT_NODE && type != PROCESSING_INSTRUCTION_NODE)
            return false;
    }
    if (types == 0) return true;
    if (types > 1) return false;
    // A document type may only replace the one already here (or come in when there is none).
    Node* existing = documentType();
    if (!existing) return true;
    Node* node = from;
    for (unsigned long i = 0; node && i < count; ++i, node = node->next)
        if (node == existing) return true;
    return false;
}

Arbor::DocumentType* Arbor::DocumentMisc::documentType()
{
    for (Node* node = first; node; node = node->next)
        if (node->nodeType() == DOCUMENT_TYPE_NODE) return static_cast<DocumentType*>(node);
    return nullptr;
}

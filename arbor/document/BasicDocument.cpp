#include "arbor/document/BasicDocument.h"

#include "arbor/document/DocumentMisc.h"
#include "arbor/foundation/Ref.h"
#include "arbor/tree/BasicElement.h"
#include "arbor/tree/internal/TreeOutput.h"

#include <ostream>

Arbor::BasicDocument::BasicDocument()
    : prologItems(new DocumentMisc(this, false))
{
    prologItems->ref();
    try {
        epilogItems = new DocumentMisc(this, true);
    } catch (...) {
        prologItems->unref();
        throw;
    }
    epilogItems->ref();
}

Arbor::BasicDocument::~BasicDocument()
{
    // Ranges may hold items of the prolog and epilog: they let go when the document is torn down,
    // before the items are released.
    tearDown();
    Plinth::releaseCounted(epilogItems);
    Plinth::releaseCounted(prologItems);
}

std::ostream& Arbor::BasicDocument::putXml(std::ostream& os)
{
    // One buffered output for the whole document; the prolog items stand each on a line of their
    // own before the document element, the epilog items each on a new line after it.
    TreeOutput out(os);
    out.put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", 39);
    for (Node* item = prologItems->firstChild(); item; item = item->nextSibling()) {
        out.putNode(item);
        out.put('\n');
    }
    if (Node* element = firstChild()) out.putNode(element);
    for (Node* item = epilogItems->firstChild(); item; item = item->nextSibling()) {
        out.put('\n');
        out.putNode(item);
    }
    out.put('\n');
    out.flush();
    return os;
}

Arbor::Element* Arbor::BasicDocument::createElement(Token tagName)
{
    return new BasicElement(this, tagName);
}

Arbor::Element* Arbor::BasicDocument::createElement(const char* tagName)
{
    return createElement(Token(tagName, true));
}

Arbor::DocumentType* Arbor::BasicDocument::doctype() const { return prologItems->documentType(); }

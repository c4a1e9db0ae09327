#include "arbor/document/BasicDocument.h"

#include "arbor/document/DocumentMisc.h"
#include "arbor/foundation/Ref.h"
#include "arbor/tree/BasicElement.h"

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
    os << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    prologItems->putXml(os);
    if (Node* element = firstChild()) element->putXml(os);
    epilogItems->putXml(os);
    return os << '\n';
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

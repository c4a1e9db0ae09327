#include "arbor/document/BasicDocument.h"

#include "arbor/tree/BasicElement.h"

Arbor::BasicDocument::BasicDocument() = default;

Arbor::BasicDocument::~BasicDocument() = default;

Arbor::Element* Arbor::BasicDocument::createElement(Token tagName)
{
    return new BasicElement(this, tagName);
}

Arbor::Element* Arbor::BasicDocument::createElement(const char* tagName)
{
    return createElement(Token(tagName, true));
}

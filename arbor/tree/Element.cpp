#include "arbor/tree/Element.h"

#include "arbor/document/Document.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/TreeOutput.h"
#include "arbor/undo/AttributeOperation.h"

#include <ostream>

Arbor::Element::Element(Document* document)
    : InnerNode(document)
{
}

Arbor::Element::~Element() = default;

int Arbor::Element::nodeType() { return ELEMENT_NODE; }

Arbor::Token Arbor::Element::nodeName() { return tagName(); }

Arbor::Element* Arbor::Element::asElement() { return this; }

std::ostream& Arbor::Element::putXml(std::ostream& os)
{
    TreeOutput out(os);
    out.putElement(this);
    out.flush();
    return os;
}

const char16_t* Arbor::Element::nodeValue() { return nullptr; }

void Arbor::Element::setNodeValue(const char16_t*) { }

void Arbor::Element::setAttribute(Token name, const Variant& value)
{
    if (readOnly()) throw DomException(DomException::NO_MODIFICATION_ALLOWED_ERR);
    if (!maySetAttribute(name, value)) throw DomException(DomException::HIERARCHY_REQUEST_ERR);

    if (isDocumentChild())
        document->doModelOperation(
            new (document) SetAttributeOperation(document, this, name, value));
    else
        setAttributeRaw(name, value);
}

void Arbor::Element::removeAttribute(Token name)
{
    if (!hasAttribute(name)) return;
    if (readOnly()) throw DomException(DomException::NO_MODIFICATION_ALLOWED_ERR);
    if (!mayRemoveAttribute(name)) throw DomException(DomException::HIERARCHY_REQUEST_ERR);

    if (isDocumentChild())
        document->doModelOperation(new (document) RemoveAttributeOperation(document, this, name));
    else
        removeAttributeRaw(name);
}

bool Arbor::Element::maySetAttribute(Token, const Variant&) { return true; }

bool Arbor::Element::mayRemoveAttribute(Token) { return true; }

bool Arbor::Element::beforeSetAttribute(Element*, Token, const Variant&) { return false; }

bool Arbor::Element::afterSetAttribute(Element*, Token) { return false; }

bool Arbor::Element::beforeRemoveAttribute(Element*, Token) { return false; }

bool Arbor::Element::afterRemoveAttribute(Element*, Token) { return false; }

std::ostream& Arbor::Element::putAttributesXml(std::ostream& os) { return os; }

void Arbor::Element::propagateBeforeSetAttribute(Element* element, Token name, const Variant& value)
{
    if (!beforeSetAttribute(element, name, value)) return;
    for (Node* child = firstChild(); child; child = child->next) {
        if (Element* childElement = child->asElement())
            childElement->propagateBeforeSetAttribute(element, name, value);
    }
}

void Arbor::Element::propagateAfterSetAttribute(Element* element, Token name)
{
    if (!afterSetAttribute(element, name)) return;
    for (Node* child = firstChild(); child; child = child->next) {
        if (Element* childElement = child->asElement())
            childElement->propagateAfterSetAttribute(element, name);
    }
}

void Arbor::Element::propagateBeforeRemoveAttribute(Element* element, Token name)
{
    if (!beforeRemoveAttribute(element, name)) return;
    for (Node* child = firstChild(); child; child = child->next) {
        if (Element* childElement = child->asElement())
            childElement->propagateBeforeRemoveAttribute(element, name);
    }
}

void Arbor::Element::propagateAfterRemoveAttribute(Element* element, Token name)
{
    if (!afterRemoveAttribute(element, name)) return;
    for (Node* child = firstChild(); child; child = child->next) {
        if (Element* childElement = child->asElement())
            childElement->propagateAfterRemoveAttribute(element, name);
    }
}

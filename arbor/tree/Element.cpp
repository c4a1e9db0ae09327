#include "arbor/tree/Element.h"

#include "arbor/document/Document.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/internal/TreeOutput.h"
#include "arbor/undo/AttributeOperation.h"
#include "arbor/undo/internal/OperationRun.h"

#include <ostream>

namespace {

// The walk of the four propagate operations: tells `element` through `hook` and, where the hook
// returns true, goes on to its child elements in order, depth first; other children and their
// subtrees are passed over.
template <class Hook> void propagate(Arbor::Element* element, const Hook& hook)
{
    if (!hook(element)) return;
    for (Arbor::Node* child = element->firstChild(); child; child = child->next) {
        if (Arbor::Element* childElement = child->asElement()) propagate(childElement, hook);
    }
}

} // namespace

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
        runModelOperation(
            document, new (document) SetAttributeOperation(document, this, name, value));
    else
        setAttributeRaw(name, value);
}

void Arbor::Element::removeAttribute(Token name)
{
    if (!hasAttribute(name)) return;
    if (readOnly()) throw DomException(DomException::NO_MODIFICATION_ALLOWED_ERR);
    if (!mayRemoveAttribute(name)) throw DomException(DomException::HIERARCHY_REQUEST_ERR);

    if (isDocumentChild())
        runModelOperation(document, new (document) RemoveAttributeOperation(document, this, name));
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
    propagate(this, [&](Element* told) { return told->beforeSetAttribute(element, name, value); });
}

void Arbor::Element::propagateAfterSetAttribute(Element* element, Token name)
{
    propagate(this, [&](Element* told) { return told->afterSetAttribute(element, name); });
}

void Arbor::Element::propagateBeforeRemoveAttribute(Element* element, Token name)
{
    propagate(this, [&](Element* told) { return told->beforeRemoveAttribute(element, name); });
}

void Arbor::Element::propagateAfterRemoveAttribute(Element* element, Token name)
{
    propagate(this, [&](Element* told) { return told->afterRemoveAttribute(element, name); });
}

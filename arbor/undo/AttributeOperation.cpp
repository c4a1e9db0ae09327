#include "arbor/undo/AttributeOperation.h"

#include "arbor/document/Document.h"
#include "arbor/document/Events.h"
#include "arbor/foundation/Ref.h"
#include "arbor/tree/Element.h"

Arbor::AttributeOperation::AttributeOperation(
    Document* document, Element* element, const Token& name)
    : ModelOperation(document)
    , element(element)
    , name(name)
    , hadAttribute(false)
{
    // Held before the store is asked; a store that throws leaves no reference behind. From then
    // on the reference is the operation's, released by its destructor.
    Plinth::Ref<Element> held(element);
    hadAttribute = element->hasAttribute(name);
    held.release();
}

Arbor::AttributeOperation::~AttributeOperation() { Plinth::releaseCounted(element); }

void Arbor::AttributeOperation::beforeSet(const Variant& value)
{
    element->propagateBeforeSetAttribute(element, name, value);
    BeforeSetAttributeEvent before(element, name, &value);
    document->fireEvent(before);
}

void Arbor::AttributeOperation::afterSet()
{
    element->propagateAfterSetAttribute(element, name);
    AfterSetAttributeEvent after(element, name);
    document->fireEvent(after);
}

void Arbor::AttributeOperation::removeSequence()
{
    element->propagateBeforeRemoveAttribute(element, name);
    BeforeRemoveAttributeEvent before(element, name);
    document->fireEvent(before);
    element->removeAttributeRaw(name);
    element->propagateAfterRemoveAttribute(element, name);
    AfterRemoveAttributeEvent after(element, name);
    document->fireEvent(after);
}

Arbor::SetAttributeOperation::SetAttributeOperation(
    Document* document, Element* element, const Token& name, const Variant& value)
    : AttributeOperation(document, element, name)
    , value(value)
{
}

Arbor::SetAttributeOperation::~SetAttributeOperation() = default;

void Arbor::SetAttributeOperation::execute()
{
    beforeSet(value);
    if (hadAttribute) {
        // Swap: the element takes `value`, `value` keeps what the element had.
        Variant previous = element->getAttribute(name);
        element->setAttributeRaw(name, value);
        value = previous;
    } else {
        element->setAttributeRaw(name, value);
    }
    afterSet();
}

void Arbor::SetAttributeOperation::undo()
{
    if (hadAttribute)
        execute();
    else
        removeSequence();
}

Arbor::RemoveAttributeOperation::RemoveAttributeOperation(
    Document* document, Element* element, const Token& name)
    : AttributeOperation(document, element, name)
{
    if (element->hasAttribute(name)) oldValue = element->getAttribute(name);
}

Arbor::RemoveAttributeOperation::~RemoveAttributeOperation() = default;

void Arbor::RemoveAttributeOperation::execute()
{
    if (hadAttribute) removeSequence();
}

void Arbor::RemoveAttributeOperation::undo()
{
    if (!hadAttribute) return;
    beforeSet(oldValue);
    element->setAttributeRaw(name, oldValue);
    afterSet();
}

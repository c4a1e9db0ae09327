#ifndef ARBOR_UNDO_ATTRIBUTE_OPERATION_H
#define ARBOR_UNDO_ATTRIBUTE_OPERATION_H

#include "arbor/undo/ModelOperation.h"
#include "arbor/values/Token.h"
#include "arbor/values/Variant.h"

namespace Arbor {

class Element;

/// Common part of the attribute operations.
class ARBOR_API AttributeOperation : public ModelOperation {
public:
    /// The element; counted.
    Element* element;
    /// The attribute's name.
    Token name;
    /// Whether the element had the attribute when the operation was built.
    bool hadAttribute;

    ~AttributeOperation() override;

protected:
    /// An operation of `document` on the attribute `name` of `element`, which it holds.
    AttributeOperation(Document* document, Element* element, const Token& name);

    /// The set sequence is `beforeSet(v)`, the write, `afterSet()`: the hooks, then the event.
    void beforeSet(const Variant& value);
    /// The end of the set sequence: the hooks and the event after the write.
    void afterSet();
    /// The remove sequence: hooks and events around `removeAttributeRaw`.
    void removeSequence();
};

/// Sets one attribute. On an attribute that existed, every execution swaps `value` with the
/// element's current value.
class ARBOR_API SetAttributeOperation : public AttributeOperation {
public:
    /// The value the next `execute()` writes.
    Variant value;

    /// An operation that sets `name` of `element` to `value`.
    SetAttributeOperation(
        Document* document, Element* element, const Token& name, const Variant& value);
    ~SetAttributeOperation() override;

    void execute() override;
    void undo() override;
};

/// Removes one attribute; on an attribute the element lacked it does nothing at all.
class ARBOR_API RemoveAttributeOperation : public AttributeOperation {
public:
    /// The value the attribute had when the operation was built.
    Variant oldValue;

    /// An operation that removes `name` from `element`.
    RemoveAttributeOperation(Document* document, Element* element, const Token& name);
    ~RemoveAttributeOperation() override;

    void execute() override;
    void undo() override;
};

} // namespace Arbor

#endif

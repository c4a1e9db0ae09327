#ifndef ARBOR_DOCUMENT_EVENTS_H
#define ARBOR_DOCUMENT_EVENTS_H

#include "arbor/foundation/Export.h"
#include "arbor/values/Token.h"

namespace Arbor {

class Node;
class Range;
class Variant;

/// An announcement of a change, built on the stack by the code that makes the change and handed
/// to `Document::fireEvent`. Events own nothing; their pointers are valid while they are delivered.
class ARBOR_API DomEvent {
public:
    /// The node the event concerns (the parent, the text, the element, or the range).
    Node* target;
    /// The event type token.
    Token type;

    /// An event of `type` about `target`.
    DomEvent(Node* target, Token type)
        : target(target)
        , type(type)
    {
    }
    virtual ~DomEvent();
    /// Whether delivery stops; never for tree events.
    virtual bool canceled() const;
};

/// A change of a range that is part of the selection.
class ARBOR_API DomRangeEvent : public DomEvent {
public:
    /// An event of `type` about the range `target`.
    DomRangeEvent(Node* target, Token type)
        : DomEvent(target, type)
    {
    }
    ~DomRangeEvent() override;
    /// True as soon as the event's range is detached.
    bool canceled() const override;
};

/// A selected range is about to take the boundary points it carries.
class ARBOR_API BeforeSelectionChangeEvent : public DomRangeEvent {
public:
    /// Container of the new start point.
    Node* startContainer;
    /// Offset of the new start point.
    unsigned long startOffset;
    /// Container of the new end point.
    Node* endContainer;
    /// Offset of the new end point.
    unsigned long endOffset;

    /// The range `target` is about to take the given points.
    BeforeSelectionChangeEvent(Node* target, Node* startContainer, unsigned long startOffset,
        Node* endContainer, unsigned long endOffset)
        : DomRangeEvent(target, tok_BeforeSelectionChange)
        , startContainer(startContainer)
        , startOffset(startOffset)
        , endContainer(endContainer)
        , endOffset(endOffset)
    {
    }
    ~BeforeSelectionChangeEvent() override;
};

/// A selected range took new boundary points.
class ARBOR_API AfterSelectionChangeEvent : public DomRangeEvent {
public:
    /// The range `target` took new points.
    explicit AfterSelectionChangeEvent(Node* target)
        : DomRangeEvent(target, tok_AfterSelectionChange)
    {
    }
    ~AfterSelectionChangeEvent() override;
};

/// A selected range is about to leave the selection.
class ARBOR_API BeforeDeselectEvent : public DomRangeEvent {
public:
    /// The range `target` is about to leave the selection.
    explicit BeforeDeselectEvent(Node* target)
        : DomRangeEvent(target, tok_BeforeDeselect)
    {
    }
    ~BeforeDeselectEvent() override;
};

/// A change of a text node's data.
class ARBOR_API DomTextEvent : public DomEvent {
public:
    /// An event of `type` about the text node `target`.
    DomTextEvent(Node* target, Token type)
        : DomEvent(target, type)
    {
    }
    ~DomTextEvent() override;
};

/// `count` units from `offset` of the target text are about to be replaced by `data` (null: a
/// deletion).
class ARBOR_API BeforeReplaceTextEvent : public DomTextEvent {
public:
    /// First unit replaced.
    unsigned long offset;
    /// Number of units replaced.
    unsigned long count;
    /// The new units, NUL-terminated; null for a deletion.
    const char16_t* data;

    /// `count` units of `target` from `offset` are about to become `data`.
    BeforeReplaceTextEvent(
        Node* target, unsigned long offset, unsigned long count, const char16_t* data)
        : DomTextEvent(target, tok_BeforeReplaceText)
        , offset(offset)
        , count(count)
        , data(data)
    {
    }
    ~BeforeReplaceTextEvent() override;
};

/// The target text's data was replaced.
class ARBOR_API AfterReplaceTextEvent : public DomTextEvent {
public:
    /// The data of `target` was replaced.
    explicit AfterReplaceTextEvent(Node* target)
        : DomTextEvent(target, tok_AfterReplaceText)
    {
    }
    ~AfterReplaceTextEvent() override;
};

/// A change of one attribute of the target element.
class ARBOR_API DomAttributeEvent : public DomEvent {
public:
    /// The attribute's name.
    Token name;

    /// An event of `type` about the attribute `name` of the element `target`.
    DomAttributeEvent(Node* target, Token type, Token name)
        : DomEvent(target, type)
        , name(name)
    {
    }
    ~DomAttributeEvent() override;
};

/// The attribute is about to take `*value`.
class ARBOR_API BeforeSetAttributeEvent : public DomAttributeEvent {
public:
    /// The new value.
    const Variant* value;

    /// The attribute `name` of `target` is about to take `*value`.
    BeforeSetAttributeEvent(Node* target, Token name, const Variant* value)
        : DomAttributeEvent(target, tok_BeforeSetAttribute, name)
        , value(value)
    {
    }
    ~BeforeSetAttributeEvent() override;
};

/// The attribute was set.
class ARBOR_API AfterSetAttributeEvent : public DomAttributeEvent {
public:
    /// The attribute `name` of `target` was set.
    AfterSetAttributeEvent(Node* target, Token name)
        : DomAttributeEvent(target, tok_AfterSetAttribute, name)
    {
    }
    ~AfterSetAttributeEvent() override;
};

/// The attribute is about to be removed.
class ARBOR_API BeforeRemoveAttributeEvent : public DomAttributeEvent {
public:
    /// The attribute `name` of `target` is about to be removed.
    BeforeRemoveAttributeEvent(Node* target, Token name)
        : DomAttributeEvent(target, tok_BeforeRemoveAttribute, name)
    {
    }
    ~BeforeRemoveAttributeEvent() override;
};

/// The attribute was removed.
class ARBOR_API AfterRemoveAttributeEvent : public DomAttributeEvent {
public:
    /// The attribute `name` of `target` was removed.
    AfterRemoveAttributeEvent(Node* target, Token name)
        : DomAttributeEvent(target, tok_AfterRemoveAttribute, name)
    {
    }
    ~AfterRemoveAttributeEvent() override;
};

/// `count` children of the target from `child` on are about to be replaced by the chain headed
/// by `newChild` (null: a removal); with `count` 0 the chain goes in before `child` (null: at
/// the end).
class ARBOR_API BeforeReplaceChildrenEvent : public DomEvent {
public:
    /// First child replaced, or the child the chain goes in before; null: at the end.
    Node* child;
    /// Head of the parentless chain that goes in; null for a removal.
    Node* newChild;
    /// Number of children replaced.
    unsigned long count;

    /// `count` children of `target` from `child` are about to be replaced by the chain `newChild`.
    BeforeReplaceChildrenEvent(Node* target, Node* child, Node* newChild, unsigned long count)
        : DomEvent(target, tok_BeforeReplaceChildren)
        , child(child)
        , newChild(newChild)
        , count(count)
    {
    }
    ~BeforeReplaceChildrenEvent() override;
};

/// The target's children were replaced.
class ARBOR_API AfterReplaceChildrenEvent : public DomEvent {
public:
    /// The children of `target` were replaced.
    explicit AfterReplaceChildrenEvent(Node* target)
        : DomEvent(target, tok_AfterReplaceChildren)
    {
    }
    ~AfterReplaceChildrenEvent() override;
};

} // namespace Arbor

#endif

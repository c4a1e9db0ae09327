#include "arbor/document/Events.h"

#include "arbor/range/Range.h"

Arbor::DomEvent::~DomEvent() = default;

bool Arbor::DomEvent::canceled() const { return false; }

Arbor::DomRangeEvent::~DomRangeEvent() = default;

bool Arbor::DomRangeEvent::canceled() const
{
    return static_cast<const Range*>(target)->isDetached();
}

Arbor::BeforeSelectionChangeEvent::~BeforeSelectionChangeEvent() = default;
Arbor::AfterSelectionChangeEvent::~AfterSelectionChangeEvent() = default;
Arbor::BeforeDeselectEvent::~BeforeDeselectEvent() = default;
Arbor::DomTextEvent::~DomTextEvent() = default;
Arbor::BeforeReplaceTextEvent::~BeforeReplaceTextEvent() = default;
Arbor::AfterReplaceTextEvent::~AfterReplaceTextEvent() = default;
Arbor::DomAttributeEvent::~DomAttributeEvent() = default;
Arbor::BeforeSetAttributeEvent::~BeforeSetAttributeEvent() = default;
Arbor::AfterSetAttributeEvent::~AfterSetAttributeEvent() = default;
Arbor::BeforeRemoveAttributeEvent::~BeforeRemoveAttributeEvent() = default;
Arbor::AfterRemoveAttributeEvent::~AfterRemoveAttributeEvent() = default;
Arbor::BeforeReplaceChildrenEvent::~BeforeReplaceChildrenEvent() = default;
Arbor::AfterReplaceChildrenEvent::~AfterReplaceChildrenEvent() = default;

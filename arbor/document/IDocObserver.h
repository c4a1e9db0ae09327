#ifndef ARBOR_DOCUMENT_I_DOC_OBSERVER_H
#define ARBOR_DOCUMENT_I_DOC_OBSERVER_H

#include "arbor/foundation/Export.h"
#include "arbor/values/Token.h"

namespace Arbor {

class DomEvent;

/// An object that hears of a document's changes. The document does not own its observers: remove
/// an observer (or tear the document down) before destroying it. Every operation has an empty
/// default body, so an observer overrides only what it needs.
class ARBOR_API IDocObserver {
public:
    virtual ~IDocObserver();
    /// A registration of this observer ended; `type` is its token (null: all events).
    virtual void unObserve(Token type);
    /// The outermost batch of changes begins.
    virtual void beforeBatchChanges();
    /// The outermost batch of changes ended.
    virtual void afterBatchChanges();
    /// A matching event is delivered.
    virtual void onEvent(DomEvent& event);
};

} // namespace Arbor

#endif

#ifndef ARBOR_DOCUMENT_INTERNAL_DOCUMENT_PIN_H
#define ARBOR_DOCUMENT_INTERNAL_DOCUMENT_PIN_H

// Internal: keeps a document alive while one of its own operations runs.

#include "arbor/document/Document.h"

namespace Arbor {

/// While a pin is held, a release that brings the document's count to 0 does not destroy it; the
/// outermost pin destroys it on the way out if that happened and someone held the document when
/// the pin was taken. A document nobody had counted yet (count 0) is left alive: its unseen
/// holder, the host, still has it. The count hosts see is never changed by a pin.
class DocumentPin {
public:
    explicit DocumentPin(Document* document)
        : document(document)
    {
        if (document->pinDepth++ == 0) {
            document->heldWhenPinned = document->refCount != 0;
            document->releasedWhilePinned = false;
        }
    }
    ~DocumentPin()
    {
        if (--document->pinDepth != 0 || !document->releasedWhilePinned) return;
        release();
    }
    DocumentPin(const DocumentPin&) = delete;
    DocumentPin& operator=(const DocumentPin&) = delete;

private:
    Document* document;

    void release();
};

} // namespace Arbor

#endif

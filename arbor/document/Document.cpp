#include "arbor/document/Document.h"

#include "arbor/document/Events.h"
#include "arbor/document/Functor.h"
#include "arbor/document/IDocObserver.h"
#include "arbor/document/internal/DocumentPin.h"
#include "arbor/document/internal/NodeWatch.h"
#include "arbor/foundation/Ref.h"
#include "arbor/range/internal/RangeList.h"
#include "arbor/tree/DocumentFragment.h"
#include "arbor/tree/Text.h"
#include "arbor/tree/internal/ChainRelease.h"
#include "arbor/tree/internal/TreeOutput.h"
#include "arbor/values/internal/NodeNames.h"

#include <ostream>

// The outermost pin found the document released meanwhile.
void Arbor::DocumentPin::release()
{
    document->releasedWhilePinned = false;
    if (document->heldWhenPinned && document->refCount == 0)
        document->Plinth::RefCounted<Plinth::IResource>::unref();
}

Arbor::Document::Document()
    : InnerNode(nullptr)
{
    document = this;
    // Held here until both registrations are made: if one fails, the list goes with the holder
    // (and the entries with the document's members).
    Plinth::Ref<RangeList> list(new RangeList(this));
    addObserver(list.get(), tok_BeforeReplaceText);
    addObserver(list.get(), tok_BeforeReplaceChildren);
    rangeList = list.release();
}

Arbor::Document::~Document()
{
    // References that tearDown takes and drops on this document (ranges parking on it and
    // detaching) must not destroy it a second time.
    beginDestruction();
    Document::tearDown();
    Plinth::releaseCounted(rangeList);
    for (Functor* functor : postedFunctions)
        delete functor;
    postedFunctions.clear();
    observers.clear();
    // The children go now rather than with the inner-node part, so that their watchers still
    // find this document's watcher list (the undo stack destroyed in between is empty by now).
    if (Node* head = first) {
        first = nullptr;
        last = nullptr;
        releaseChain(head, true);
    }
    endNodeWatch(this);
}

void Arbor::Document::unref() const
{
    if (pinDepth != 0 && refCount <= 1) {
        refCount = 0;
        releasedWhilePinned = true;
        return;
    }
    Plinth::RefCounted<Plinth::IResource>::unref();
}

Arbor::Node* Arbor::Document::cloneNode(bool) { return nullptr; }

int Arbor::Document::nodeType() { return DOCUMENT_NODE; }

Arbor::Token Arbor::Document::nodeName() { return tok_document; }

std::ostream& Arbor::Document::putXml(std::ostream& os)
{
    TreeOutput out(os);
    out.put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n", 39);
    if (Node* element = firstChild()) out.putNode(element);
    out.put('\n');
    out.flush();
    return os;
}

const char16_t* Arbor::Document::nodeValue() { return nullptr; }

void Arbor::Document::setNodeValue(const char16_t*) { }

bool Arbor::Document::hasAttributes() { return false; }

Arbor::Node* Arbor::Document::documentElement() { return firstChild(); }

Arbor::Text* Arbor::Document::createTextNode(const char16_t* data) { return new Text(this, data); }

Arbor::DocumentFragment* Arbor::Document::createDocumentFragment()
{
    return new DocumentFragment(this);
}

void Arbor::Document::tearDown()
{
    DocumentPin pin(this);
    beginBatchChanges();
    while (!postedFunctions.empty()) {
        Functor* functor = postedFunctions.front();
        postedFunctions.pop_front();
        delete functor;
    }
    if (!rangeList) return;
    deselectRanges();
    for (ObserverEntry& entry : observers) {
        IDocObserver* observer = entry.observer;
        entry.observer = nullptr;
        if (observer) observer->unObserve(entry.token);
    }
    Plinth::releaseCounted(rangeList);
}

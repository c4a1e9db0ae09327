#include "arbor/document/Document.h"
#include "arbor/document/Events.h"
#include "arbor/document/Functor.h"
#include "arbor/document/IDocObserver.h"
#include "arbor/document/internal/DocumentPin.h"
#include "arbor/range/internal/RangeList.h"

#include <list>
#include <memory>

void Arbor::Document::addObserver(IDocObserver* observer) { addObserver(observer, Token()); }

void Arbor::Document::addObserver(IDocObserver* observer, Token token)
{
    if (!observer) return;
    for (ObserverEntry& entry : observers) {
        if (!entry.observer) {
            entry.token = token;
            entry.observer = observer;
            return;
        }
    }
    observers.push_back(ObserverEntry { token, observer });
}

void Arbor::Document::removeObserver(IDocObserver* observer)
{
    if (!observer) return;
    for (ObserverEntry& entry : observers) {
        if (entry.observer != observer) continue;
        const Token token = entry.token;
        entry.observer = nullptr;
        observer->unObserve(token);
    }
}

void Arbor::Document::removeObserver(IDocObserver* observer, Token token)
{
    if (!observer) return;
    for (ObserverEntry& entry : observers) {
        if (entry.observer == observer && entry.token == token) {
            entry.observer = nullptr;
            observer->unObserve(token);
            return;
        }
    }
}

namespace {

bool hears(const Arbor::ObserverEntry& entry, Arbor::Token type)
{
    return entry.observer && (entry.token.isNull() || entry.token == type);
}

// Delivers `event` from `entry`, the first entry that hears it, on. The next entry is read only
// after `onEvent` returns: observers may add and remove registrations (entries are never
// unlinked, so the iterator stays valid).
[[gnu::noinline]] void deliver(Arbor::Document* document,
    std::list<Arbor::ObserverEntry>::iterator entry, Arbor::DomEvent& event)
{
    Arbor::DocumentPin pin(document);
    for (; entry != document->observers.end(); ++entry) {
        if (!hears(*entry, event.type)) continue;
        if (event.canceled()) return;
        entry->observer->onEvent(event);
    }
}

} // namespace

void Arbor::Document::fireEvent(DomEvent& event)
{
    if (batchDepth != 0) return;
    // Most events reach no observer that does anything: the range list hears two types, and has
    // nothing to do while it holds no range. Until an entry is found that may act, nothing needs
    // the document kept alive.
    const IDocObserver* idleList = rangeList && !rangeList->first ? rangeList : nullptr;
    for (auto entry = observers.begin(); entry != observers.end(); ++entry) {
        if (entry->observer != idleList && hears(*entry, event.type))
            return deliver(this, entry, event);
    }
}

void Arbor::Document::notifyBatch(bool begin)
{
    for (ObserverEntry& entry : observers) {
        if (!entry.observer) continue;
        if (begin)
            entry.observer->beforeBatchChanges();
        else
            entry.observer->afterBatchChanges();
    }
}

void Arbor::Document::beginBatchChanges()
{
    if (batchDepth != 0) {
        ++batchDepth;
        return;
    }
    DocumentPin pin(this);
    savedMaxUndoTasks = undoStack.maxTasks();
    undoStack.maxTasks(0);
    notifyBatch(true);
    if (rangeList) rangeList->purgeRanges();
    ++batchDepth;
}

void Arbor::Document::endBatchChanges()
{
    if (batchDepth == 0) return;
    if (--batchDepth != 0) return;
    DocumentPin pin(this);
    undoStack.maxTasks(savedMaxUndoTasks);
    notifyBatch(false);
    if (rangeList) rangeList->purgeRanges();
}

void Arbor::Document::postFunction(Functor* functor)
{
    if (!functor) return;
    if (operationDepth == 0) {
        std::unique_ptr<Functor> owned(functor);
        (*owned)();
        return;
    }
    postedFunctions.push_back(functor);
}

void Arbor::Document::executePostedFunctions()
{
    if (operationDepth != 0) return;
    while (!postedFunctions.empty()) {
        std::unique_ptr<Functor> functor(postedFunctions.front());
        postedFunctions.pop_front();
        if (functor) (*functor)();
    }
}

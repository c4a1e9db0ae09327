#include "arbor/document/IDocObserver.h"

#include "arbor/document/Functor.h"

Arbor::IDocObserver::~IDocObserver() = default;

void Arbor::IDocObserver::unObserve(Token) { }

void Arbor::IDocObserver::beforeBatchChanges() { }

void Arbor::IDocObserver::afterBatchChanges() { }

void Arbor::IDocObserver::onEvent(DomEvent&) { }

Arbor::Functor::~Functor() = default;

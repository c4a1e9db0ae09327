#include "arbor/document/internal/NodeWatch.h"

#include "arbor/document/Document.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_set>
#include <vector>

// The watcher list of one document, allocated with its first watcher.
struct Arbor::NodeWatchList {
    std::vector<NodeWatcher*> watchers;

    static NodeWatchList*& of(Document* document) { return document->nodeWatchers; }
};

namespace {

// The documents that have watchers. A node may outlive its document (a range can hold the last
// reference to it, and the nodes it holds die after it), so a dying node looks its document up
// here, by address only, instead of reading it. Each thread keeps the answer for the last document
// it asked about until the set changes, so releasing many nodes of one document costs an atomic
// load per node.
std::mutex watchedMutex;
std::unordered_set<const Arbor::Document*>* watchedDocuments = nullptr; // under watchedMutex
std::atomic<unsigned long> watchedGeneration { 1 }; // changes with every change of the set
std::atomic<unsigned long> watchedCount { 0 };

thread_local unsigned long cachedGeneration = 0;
thread_local const Arbor::Document* cachedDocument = nullptr;
thread_local bool cachedWatched = false;

void markWatched(const Arbor::Document* document, bool watched)
{
    std::lock_guard<std::mutex> lock(watchedMutex);
    if (!watchedDocuments) watchedDocuments = new std::unordered_set<const Arbor::Document*>;
    if (watched) {
        if (!watchedDocuments->insert(document).second) return;
        watchedCount.fetch_add(1, std::memory_order_relaxed);
    } else {
        if (!watchedDocuments->erase(document)) return;
        watchedCount.fetch_sub(1, std::memory_order_relaxed);
    }
    watchedGeneration.fetch_add(1, std::memory_order_release);
}

} // namespace

bool Arbor::isWatchedDocument(const Document* document) noexcept
{
    if (watchedCount.load(std::memory_order_relaxed) == 0) return false;
    if (watchedGeneration.load(std::memory_order_acquire) == cachedGeneration
        && document == cachedDocument)
        return cachedWatched;
    std::lock_guard<std::mutex> lock(watchedMutex);
    cachedGeneration = watchedGeneration.load(std::memory_order_relaxed);
    cachedDocument = document;
    cachedWatched = watchedDocuments && watchedDocuments->count(document) != 0;
    return cachedWatched;
}

void Arbor::NodeWatcher::documentDestroyed(Document*) noexcept { }

void Arbor::addNodeWatcher(Document* document, NodeWatcher* watcher)
{
    NodeWatchList*& list = NodeWatchList::of(document);
    if (!list) {
        auto made = std::make_unique<NodeWatchList>();
        markWatched(document, true);
        list = made.release();
    } else if (std::find(list->watchers.begin(), list->watchers.end(), watcher)
        != list->watchers.end()) {
        return;
    }
    try {
        list->watchers.push_back(watcher);
    } catch (...) {
        if (list->watchers.empty()) {
            markWatched(document, false);
            delete list;
            list = nullptr;
        }
        throw;
    }
}

void Arbor::removeNodeWatcher(Document* document, NodeWatcher* watcher) noexcept
{
    NodeWatchList*& list = NodeWatchList::of(document);
    if (!list) return;
    auto& watchers = list->watchers;
    watchers.erase(std::remove(watchers.begin(), watchers.end(), watcher), watchers.end());
    if (watchers.empty()) {
        markWatched(document, false);
        delete list;
        list = nullptr;
    }
}

Arbor::NodeWatcher* Arbor::findNodeWatcher(Document* document, bool (*is)(const NodeWatcher*))
{
    if (NodeWatchList* list = NodeWatchList::of(document)) {
        for (NodeWatcher* watcher : list->watchers) {
            if (is(watcher)) return watcher;
        }
    }
    return nullptr;
}

void Arbor::reportNodeDestroyed(Node* node) noexcept
{
    // Watchers neither join nor leave during the calls, so the list stays as it is.
    for (NodeWatcher* watcher : NodeWatchList::of(node->document)->watchers)
        watcher->nodeDestroyed(node);
}

void Arbor::endNodeWatch(Document* document) noexcept
{
    NodeWatchList* list = NodeWatchList::of(document);
    if (!list) return;
    NodeWatchList::of(document) = nullptr;
    markWatched(document, false);
    for (NodeWatcher* watcher : list->watchers)
        watcher->documentDestroyed(document);
    delete list;
}

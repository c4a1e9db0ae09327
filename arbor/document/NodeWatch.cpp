#include "arbor/document/NodeWatch.h"

#include "arbor/document/Document.h"

#include <algorithm>
#include <vector>

// The watcher list of one document, allocated with its first watcher.
struct Arbor::NodeWatchList {
    std::vector<NodeWatcher*> watchers;

    static NodeWatchList*& of(Document* document) { return document->nodeWatchers; }
};

void Arbor::NodeWatcher::documentDestroyed(Document*) noexcept { }

void Arbor::addNodeWatcher(Document* document, NodeWatcher* watcher)
{
    NodeWatchList*& list = NodeWatchList::of(document);
    if (!list) {
        list = new NodeWatchList;
    } else if (std::find(list->watchers.begin(), list->watchers.end(), watcher)
        != list->watchers.end()) {
        return;
    }
    try {
        list->watchers.push_back(watcher);
    } catch (...) {
        if (list->watchers.empty()) {
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
    for (NodeWatcher* watcher : list->watchers)
        watcher->documentDestroyed(document);
    delete list;
}

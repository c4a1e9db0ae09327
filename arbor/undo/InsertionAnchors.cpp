#include "arbor/undo/InsertionAnchors.h"

#include <memory>

namespace {

bool isAnchors(const Arbor::NodeWatcher* watcher)
{
    return dynamic_cast<const Arbor::InsertionAnchors*>(watcher) != nullptr;
}

} // namespace

Arbor::InsertionAnchors* Arbor::InsertionAnchors::find(Document* document)
{
    return static_cast<InsertionAnchors*>(findNodeWatcher(document, isAnchors));
}

Arbor::InsertionAnchors& Arbor::InsertionAnchors::of(Document* document)
{
    if (InsertionAnchors* anchors = find(document)) return *anchors;
    auto anchors = std::make_unique<InsertionAnchors>();
    addNodeWatcher(document, anchors.get());
    return *anchors.release(); // deleted by documentDestroyed
}

unsigned long long Arbor::InsertionAnchors::hold(Node* node)
{
    auto [at, added] = entries.try_emplace(node, Entry { nextIdentity, 0 });
    if (added) ++nextIdentity;
    ++at->second.holders;
    return at->second.identity;
}

void Arbor::InsertionAnchors::release(Node* node, unsigned long long identity) noexcept
{
    auto at = entries.find(node);
    if (at == entries.end() || at->second.identity != identity) return;
    if (--at->second.holders == 0) entries.erase(at);
}

bool Arbor::InsertionAnchors::holds(Node* node, unsigned long long identity) const
{
    auto at = entries.find(node);
    return at != entries.end() && at->second.identity == identity;
}

void Arbor::InsertionAnchors::nodeDestroyed(Node* node) noexcept
{
    if (!entries.empty()) entries.erase(node);
}

void Arbor::InsertionAnchors::documentDestroyed(Document*) noexcept { delete this; }

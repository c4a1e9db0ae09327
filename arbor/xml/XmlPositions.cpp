#include "arbor/xml/XmlPositions.h"

#include "arbor/document/Document.h"
#include "arbor/document/internal/NodeWatch.h"

#include <memory>
#include <unordered_map>

namespace {

// The positions of one document's loaded nodes. The document owns it through its watcher list:
// a node that dies leaves the table (so a new node at the same address has no position), and the
// table goes with the document.
class PositionTable final : public Arbor::NodeWatcher {
public:
    std::unordered_map<const Arbor::Node*, Arbor::XmlSourcePosition> positions;

    void nodeDestroyed(Arbor::Node* node) noexcept override { positions.erase(node); }
    void documentDestroyed(Arbor::Document*) noexcept override { delete this; }

    static bool is(const Arbor::NodeWatcher* watcher)
    {
        return dynamic_cast<const PositionTable*>(watcher) != nullptr;
    }
};

PositionTable* tableOf(Arbor::Document* document)
{
    return static_cast<PositionTable*>(Arbor::findNodeWatcher(document, PositionTable::is));
}

} // namespace

void Arbor::XmlPositions::record(
    Document* document, const std::vector<std::pair<Node*, XmlSourcePosition>>& entries)
{
    std::unique_ptr<PositionTable> made;
    PositionTable* table = tableOf(document);
    if (!table) {
        made.reset(new PositionTable);
        table = made.get();
    }
    table->positions.reserve(table->positions.size() + entries.size());
    for (const auto& entry : entries)
        table->positions[entry.first] = entry.second;
    if (made) {
        addNodeWatcher(document, made.get());
        made.release();
    }
}

Arbor::XmlSourcePosition Arbor::sourcePosition(const Node* node)
{
    if (!node || !node->ownerDocument()) return {};
    PositionTable* table = tableOf(node->ownerDocument());
    if (!table) return {};
    auto found = table->positions.find(node);
    return found == table->positions.end() ? XmlSourcePosition() : found->second;
}

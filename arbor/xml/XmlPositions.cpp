#include "arbor/xml/XmlPositions.h"

#include <mutex>
#include <unordered_map>

namespace {

// One table for the process, keyed by node: documents of different threads share it, so it has
// a lock of its own.
struct Table {
    std::mutex mutex;
    std::unordered_map<const Arbor::Node*, Arbor::XmlSourcePosition> positions;
};

Table& table()
{
    static Table* instance = new Table; // never destroyed: nodes may die during exit
    return *instance;
}

} // namespace

void Arbor::XmlPositions::record(
    Document*, const std::vector<std::pair<Node*, XmlSourcePosition>>& entries)
{
    Table& t = table();
    std::lock_guard<std::mutex> lock(t.mutex);
    t.positions.reserve(t.positions.size() + entries.size());
    for (const auto& entry : entries)
        t.positions[entry.first] = entry.second;
}

Arbor::XmlSourcePosition Arbor::sourcePosition(const Node* node)
{
    Table& t = table();
    std::lock_guard<std::mutex> lock(t.mutex);
    auto found = t.positions.find(node);
    return found == t.positions.end() ? XmlSourcePosition() : found->second;
}

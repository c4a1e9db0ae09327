#include "arbor/undo/internal/InsertionAnchors.h"

#include <cstdint>
#include <memory>
#include <typeinfo>

namespace {

bool isAnchors(const Arbor::NodeWatcher* watcher)
{
    // The class is final: comparing the dynamic type is enough, and much cheaper than a cast.
    return typeid(*watcher) == typeid(Arbor::InsertionAnchors);
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

std::size_t Arbor::InsertionAnchors::home(const Node* node) const
{
    // Nodes made one after another mostly lie one after another, and so do the changes that
    // anchor them: within a 4 MiB stretch of memory neighbouring nodes get neighbouring places
    // (the table is walked in order, not at random), while the stretches themselves are spread.
    const auto key = reinterpret_cast<std::uintptr_t>(node);
    const std::uint64_t place = (key >> 6) + (key >> 22) * 0x9e3779b97f4a7c15ULL;
    return static_cast<std::size_t>(place) & (table.size() - 1);
}

const Arbor::InsertionAnchors::Entry* Arbor::InsertionAnchors::lookup(const Node* node) const
{
    if (used == 0) return nullptr;
    for (std::size_t at = home(node);; at = (at + 1) & (table.size() - 1)) {
        const Entry& entry = table[at];
        if (entry.node == node) return &entry;
        if (!entry.node) return nullptr;
    }
}

Arbor::InsertionAnchors::Entry* Arbor::InsertionAnchors::lookup(const Node* node)
{
    return const_cast<Entry*>(static_cast<const InsertionAnchors*>(this)->lookup(node));
}

// Frees the entry's place and moves later entries of its probe run back into the gap, so every
// lookup still meets its entry before the first free place.
void Arbor::InsertionAnchors::erase(Entry* entry) noexcept
{
    const std::size_t mask = table.size() - 1;
    std::size_t gap = static_cast<std::size_t>(entry - table.data());
    for (std::size_t at = (gap + 1) & mask; table[at].node; at = (at + 1) & mask) {
        const std::size_t want = home(table[at].node);
        // The entry may fill the gap when its home does not lie between the gap and it.
        if (((at - want) & mask) >= ((at - gap) & mask)) {
            table[gap] = table[at];
            gap = at;
        }
    }
    table[gap].node = nullptr;
    --used;
}

void Arbor::InsertionAnchors::grow()
{
    std::vector<Entry> old(table.empty() ? 16 : table.size() * 2, Entry { nullptr, 0, 0 });
    old.swap(table);
    for (const Entry& entry : old) {
        if (!entry.node) continue;
        std::size_t at = home(entry.node);
        while (table[at].node)
            at = (at + 1) & (table.size() - 1);
        table[at] = entry;
    }
}

unsigned long long Arbor::InsertionAnchors::hold(Node* node)
{
    Entry* entry = lookup(node);
    if (!entry) {
        if (2 * (used + 1) > table.size()) grow();
        std::size_t at = home(node);
        while (table[at].node)
            at = (at + 1) & (table.size() - 1);
        entry = &table[at];
        *entry = Entry { node, nextIdentity++, 0 };
        ++used;
    }
    ++entry->holders;
    return entry->identity;
}

void Arbor::InsertionAnchors::release(Node* node, unsigned long long identity) noexcept
{
    Entry* entry = lookup(node);
    if (!entry || entry->identity != identity) return;
    if (--entry->holders == 0) erase(entry);
}

bool Arbor::InsertionAnchors::holds(Node* node, unsigned long long identity) const
{
    const Entry* entry = lookup(node);
    return entry && entry->identity == identity;
}

void Arbor::InsertionAnchors::nodeDestroyed(Node* node) noexcept
{
    if (Entry* entry = lookup(node)) erase(entry);
}

void Arbor::InsertionAnchors::documentDestroyed(Document*) noexcept { delete this; }

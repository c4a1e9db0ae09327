#include "arbor/undo/internal/InsertionAnchors.h"

#include <cstdint>
#include <memory>
#include <new>

Arbor::InsertionAnchors::InsertionAnchors(Document* document)
    : document(document)
    , base(document->unrecordedChildChanges)
{
}

void Arbor::InsertionAnchors::startLog(Document* document)
{
    std::unique_ptr<InsertionAnchors> log(new InsertionAnchors(document));
    addNodeWatcher(document, log.get());
    document->insertionAnchors = log.release();
}

void Arbor::InsertionAnchors::release(Document* document) noexcept
{
    if (--document->anchoredOperations != 0) return;
    if (InsertionAnchors* log = document->insertionAnchors) {
        document->insertionAnchors = nullptr;
        removeNodeWatcher(document, log);
        delete log;
    }
}

bool Arbor::InsertionAnchors::since(const Document* document, const Node* node,
    unsigned long long stamp, unsigned long long Entry::*field)
{
    if (document->unrecordedChildChanges == stamp) return false;
    const InsertionAnchors* log = document->insertionAnchors;
    if (!log) return true; // none since the last operation it watched ended: nothing is known
    // Changes before the log started, or that it could not note, are unknown.
    if (stamp < log->base || stamp < log->unloggedBefore) return true;
    const Entry* entry = log->lookup(node);
    return entry && entry->*field > stamp;
}

bool Arbor::InsertionAnchors::lost(
    const Document* document, const Node* node, unsigned long long stamp)
{
    return since(document, node, stamp, &Entry::death);
}

bool Arbor::InsertionAnchors::rearranged(
    const Document* document, const Node* parent, unsigned long long stamp)
{
    return since(document, parent, stamp, &Entry::changed);
}

std::size_t Arbor::InsertionAnchors::home(const Node* node) const
{
    const auto key = reinterpret_cast<std::uintptr_t>(node);
    const std::uint64_t place = (key >> 4) * 0x9e3779b97f4a7c15ULL;
    return static_cast<std::size_t>(place >> 20) & (table.size() - 1);
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

bool Arbor::InsertionAnchors::grow() noexcept
{
    try {
        std::vector<Entry> old(table.empty() ? 64 : table.size() * 2, Entry { nullptr, 0, 0 });
        old.swap(table);
        for (const Entry& entry : old) {
            if (!entry.node) continue;
            std::size_t at = home(entry.node);
            while (table[at].node)
                at = (at + 1) & (table.size() - 1);
            table[at] = entry;
        }
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// The entry of `node`, made if there is none; null when memory ran out, and then no stamp before
// `now` can be trusted any more.
Arbor::InsertionAnchors::Entry* Arbor::InsertionAnchors::place(
    const Node* node, unsigned long long now) noexcept
{
    if (const Entry* found = lookup(node)) return const_cast<Entry*>(found);
    if (2 * (used + 1) > table.size() && !grow()) {
        unloggedBefore = now;
        return nullptr;
    }
    std::size_t at = home(node);
    while (table[at].node)
        at = (at + 1) & (table.size() - 1);
    table[at] = Entry { node, 0, 0 };
    ++used;
    return &table[at];
}

void Arbor::InsertionAnchors::nodeDestroyed(Node* node) noexcept
{
    const unsigned long long now = document->unrecordedChildChanges;
    if (now == base) return; // every change since the first operation was recorded
    if (Entry* entry = place(node, now)) entry->death = now;
}

void Arbor::InsertionAnchors::childrenChanged(const Node* parent) noexcept
{
    const unsigned long long now = document->unrecordedChildChanges;
    if (Entry* entry = place(parent, now)) entry->changed = now;
}

void Arbor::InsertionAnchors::documentDestroyed(Document* ended) noexcept
{
    ended->insertionAnchors = nullptr;
    delete this;
}

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

bool Arbor::InsertionAnchors::lost(
    const Document* document, const Node* node, unsigned long long stamp)
{
    if (document->unrecordedChildChanges == stamp) return false;
    const InsertionAnchors* log = document->insertionAnchors;
    if (!log) return true; // ended with its document: nothing can be trusted
    if (stamp < log->unloggedBefore) return true;
    const Entry* entry = log->lookup(node);
    return entry && entry->death > stamp;
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
        std::vector<Entry> old(table.empty() ? 64 : table.size() * 2, Entry { nullptr, 0 });
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

void Arbor::InsertionAnchors::nodeDestroyed(Node* node) noexcept
{
    const unsigned long long now = document->unrecordedChildChanges;
    if (now == base) return; // every change since the first operation was recorded
    if (const Entry* found = lookup(node)) {
        const_cast<Entry*>(found)->death = now;
        return;
    }
    if (2 * (used + 1) > table.size() && !grow()) {
        unloggedBefore = now;
        return;
    }
    std::size_t at = home(node);
    while (table[at].node)
        at = (at + 1) & (table.size() - 1);
    table[at] = Entry { node, now };
    ++used;
}

void Arbor::InsertionAnchors::documentDestroyed(Document* ended) noexcept
{
    ended->insertionAnchors = nullptr;
    delete this;
}

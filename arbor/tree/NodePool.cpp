#include "arbor/tree/internal/NodePool.h"

#include "arbor/foundation/internal/Pooling.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>

namespace {

using Arbor::NodePool;

constexpr std::size_t granule = 8;
constexpr std::size_t classCount = NodePool::maxSize / granule + 1;
// Regions of this many bytes are taken from the global heap and cut into slots of every size.
constexpr std::size_t chunkBytes = 32 * 1024;
// A thread's list gives `batch` slots to the global list when it holds twice as many.
constexpr unsigned batch = 256;

// A free slot. The first slot of a batch on the global list also links the next batch and
// knows how many slots its own list holds.
struct Free {
    Free* next;
    Free* nextBatch;
    std::size_t count;
};
static_assert(sizeof(Free) <= 3 * granule);
constexpr std::size_t minSize = sizeof(Free);

struct Chunk {
    alignas(std::max_align_t) Chunk* next;
};

// The unused end of a chunk that an exiting thread leaves for the next thread that needs one.
struct Region {
    Region* next;
    unsigned char* end;
};

// What every thread gives back at its exit and takes when its own list runs dry; the chunks are
// listed so that the pool's memory stays reachable. Constant-initialised and never destroyed, so
// nodes freed by static destructors still find it. `batches` changes only under `lock`; it is
// read without it to skip the lock when there is nothing to take.
struct Shared {
    std::mutex lock;
    std::atomic<Free*> batches[classCount] {};
    Chunk* chunks = nullptr;
    Region* spare = nullptr;
};
Shared shared;

enum class State : unsigned char { unregistered, live, dead };

// Trivial, so a thread's lists need no initialisation guard. New slots are cut one after the
// other from the thread's current chunk (`bump` to `bumpEnd`), whatever their size, so nodes
// made together lie together, as the tree is usually walked.
struct Local {
    Free* head[classCount];
    unsigned count[classCount];
    unsigned char* bump;
    unsigned char* bumpEnd;
    State state;
};
thread_local Local local;

std::size_t slotSize(std::size_t index) { return index * granule; }

void giveBatch(std::size_t index, Free* head, std::size_t count) noexcept
{
    head->count = count;
    std::lock_guard<std::mutex> guard(shared.lock);
    head->nextBatch = shared.batches[index].load(std::memory_order_relaxed);
    shared.batches[index].store(head, std::memory_order_relaxed);
}

Free* takeBatch(std::size_t index) noexcept
{
    if (!shared.batches[index].load(std::memory_order_relaxed)) return nullptr;
    std::lock_guard<std::mutex> guard(shared.lock);
    Free* head = shared.batches[index].load(std::memory_order_relaxed);
    if (head) shared.batches[index].store(head->nextBatch, std::memory_order_relaxed);
    return head;
}

void push(Free* slot, std::size_t index)
{
    slot->next = local.head[index];
    local.head[index] = slot;
    ++local.count[index];
}

// Turns what is left of the thread's chunk into one free slot of the size class it fills (a
// slot whose size is a multiple of 16 starts on a multiple of 16, as objects of that size may
// need). Only called with less than `maxSize` bytes left.
void retireTail()
{
    unsigned char* start = local.bump;
    std::size_t size = static_cast<std::size_t>(local.bumpEnd - start);
    if (size % 16 == 0 && reinterpret_cast<std::uintptr_t>(start) % 16 != 0) {
        start += 8;
        size -= 8;
    }
    if (size >= minSize) push(reinterpret_cast<Free*>(start), size / granule);
    local.bump = local.bumpEnd = nullptr;
}

void newRegion()
{
    retireTail();
    std::lock_guard<std::mutex> guard(shared.lock);
    if (Region* region = shared.spare) {
        shared.spare = region->next;
        local.bump = reinterpret_cast<unsigned char*>(region);
        local.bumpEnd = region->end;
        return;
    }
    auto* chunk = static_cast<Chunk*>(::operator new(chunkBytes));
    chunk->next = shared.chunks;
    shared.chunks = chunk;
    local.bump = reinterpret_cast<unsigned char*>(chunk) + sizeof(Chunk);
    local.bumpEnd = reinterpret_cast<unsigned char*>(chunk) + chunkBytes;
}

// A new slot cut from the thread's chunk.
void* cut(std::size_t size)
{
    for (;;) {
        unsigned char* slot = local.bump;
        if (size % 16 == 0) slot += reinterpret_cast<std::uintptr_t>(slot) % 16;
        if (slot && local.bumpEnd - slot >= static_cast<std::ptrdiff_t>(size)) {
            local.bump = slot + size;
            return slot;
        }
        newRegion();
    }
}

// Hands the thread's lists and the rest of its chunk to the other threads when the thread exits;
// afterwards the thread's allocations and releases go through the global lists.
struct Reaper {
    bool armed = false;
    ~Reaper()
    {
        if (local.bumpEnd - local.bump > static_cast<std::ptrdiff_t>(NodePool::maxSize)) {
            auto* region = reinterpret_cast<Region*>(local.bump);
            region->end = local.bumpEnd;
            std::lock_guard<std::mutex> guard(shared.lock);
            region->next = shared.spare;
            shared.spare = region;
        } else if (local.bump) {
            retireTail();
        }
        local.bump = local.bumpEnd = nullptr;
        for (std::size_t i = 0; i < classCount; ++i) {
            if (local.head[i]) giveBatch(i, local.head[i], local.count[i]);
            local.head[i] = nullptr;
            local.count[i] = 0;
        }
        local.state = State::dead;
    }
};
thread_local Reaper reaper;

void registerThread()
{
    reaper.armed = true; // makes the thread run the reaper at its exit
    local.state = State::live;
}

void* allocateSlow(std::size_t index)
{
    if (local.state == State::unregistered) registerThread();
    if (local.state == State::dead) {
        // The thread is past its exit: take one slot from the global list or the heap.
        std::lock_guard<std::mutex> guard(shared.lock);
        if (Free* head = shared.batches[index].load(std::memory_order_relaxed)) {
            Free* rest = head->next;
            if (rest) {
                rest->count = head->count - 1;
                rest->nextBatch = head->nextBatch;
            }
            shared.batches[index].store(rest ? rest : head->nextBatch, std::memory_order_relaxed);
            return head;
        }
        return ::operator new(slotSize(index));
    }
    if (Free* head = local.head[index]) {
        local.head[index] = head->next;
        --local.count[index];
        return head;
    }
    if (Free* head = takeBatch(index)) {
        local.head[index] = head->next;
        local.count[index] = static_cast<unsigned>(head->count - 1);
        return head;
    }
    return cut(slotSize(index));
}

void releaseSlow(Free* slot, std::size_t index) noexcept
{
    if (local.state == State::unregistered) registerThread();
    if (local.state == State::dead) {
        slot->next = nullptr;
        giveBatch(index, slot, 1);
        return;
    }
    push(slot, index);
    if (local.count[index] < 2 * batch) return;
    // Keep the newest `batch` slots, hand the older ones on.
    Free* last = slot;
    for (unsigned i = 1; i < batch; ++i)
        last = last->next;
    Free* older = last->next;
    last->next = nullptr;
    giveBatch(index, older, local.count[index] - batch);
    local.count[index] = batch;
}

std::size_t classOf(std::size_t size)
{
    return (size < minSize ? minSize : size + granule - 1) / granule;
}

} // namespace

void* Arbor::NodePool::allocate(std::size_t size)
{
    if (size > maxSize || !Plinth::poolingEnabled()) return ::operator new(size);
    const std::size_t index = classOf(size);
    Free* slot = local.head[index];
    if (slot && local.state == State::live) {
        local.head[index] = slot->next;
        --local.count[index];
        // The next slot of the list is the next node made of this size: its line is on its way
        // while this one is built.
        __builtin_prefetch(slot->next, 1);
        return slot;
    }
    return allocateSlow(index);
}

void Arbor::NodePool::release(void* memory, std::size_t size) noexcept
{
    if (!memory) return;
    if (size > maxSize || !Plinth::poolingEnabled()) return ::operator delete(memory);
    const std::size_t index = classOf(size);
    auto* slot = static_cast<Free*>(memory);
    if (local.state == State::live && local.count[index] + 1 < 2 * batch) {
        slot->next = local.head[index];
        local.head[index] = slot;
        ++local.count[index];
        return;
    }
    releaseSlow(slot, index);
}

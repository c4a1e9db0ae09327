#include "arbor/tree/NodePool.h"

#include "arbor/foundation/Pooling.h"

#include <mutex>
#include <new>

namespace {

using Arbor::NodePool;

constexpr std::size_t granule = 8;
constexpr std::size_t classCount = NodePool::maxSize / granule + 1;
// Chunks of this many bytes are carved into slots of one size class.
constexpr std::size_t chunkBytes = 32 * 1024;
// A thread's list gives `batch` slots to the global list when it holds twice as many.
constexpr unsigned batch = 256;

static_assert(alignof(std::max_align_t) % granule == 0);

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

// What every thread gives back at its exit and takes when its own list runs dry; the chunks are
// listed so that the pool's memory stays reachable. Constant-initialised and never destroyed, so
// nodes freed by static destructors still find it.
struct Shared {
    std::mutex lock;
    Free* batches[classCount] = {};
    Chunk* chunks = nullptr;
};
Shared shared;

enum class State : unsigned char { unregistered, live, dead };

// Trivial, so a thread's lists need no initialisation guard.
struct Local {
    Free* head[classCount];
    unsigned count[classCount];
    State state;
};
thread_local Local local;

void giveBatch(std::size_t index, Free* head, std::size_t count) noexcept
{
    head->nextBatch = nullptr;
    head->count = count;
    std::lock_guard<std::mutex> guard(shared.lock);
    head->nextBatch = shared.batches[index];
    shared.batches[index] = head;
}

Free* takeBatch(std::size_t index) noexcept
{
    std::lock_guard<std::mutex> guard(shared.lock);
    Free* head = shared.batches[index];
    if (head) shared.batches[index] = head->nextBatch;
    return head;
}

// Hands the thread's lists to the global list when the thread exits; afterwards the thread's
// allocations and releases go through the global list.
struct Reaper {
    bool armed = false;
    ~Reaper()
    {
        for (std::size_t i = 0; i < classCount; ++i) {
            if (local.head[i]) giveBatch(i, local.head[i], local.count[i]);
            local.head[i] = nullptr;
            local.count[i] = 0;
        }
        local.state = State::dead;
    }
};
thread_local Reaper reaper;

std::size_t slotSize(std::size_t index) { return index * granule; }

// A new chunk's slots for the list of size class `index`.
void carve(std::size_t index)
{
    auto* chunk = static_cast<Chunk*>(::operator new(chunkBytes));
    {
        std::lock_guard<std::mutex> guard(shared.lock);
        chunk->next = shared.chunks;
        shared.chunks = chunk;
    }
    const std::size_t size = slotSize(index);
    const std::size_t count = (chunkBytes - sizeof(Chunk)) / size;
    local.head[index] = static_cast<Free*>(Plinth::threadSlots(
        reinterpret_cast<unsigned char*>(chunk) + sizeof(Chunk), count, size, local.head[index]));
    local.count[index] += static_cast<unsigned>(count);
}

void* allocateSlow(std::size_t index)
{
    if (local.state == State::unregistered) {
        reaper.armed = true; // makes the thread run the reaper at its exit
        local.state = State::live;
    }
    if (local.state == State::dead) {
        // The thread is past its exit: take one slot from the global list or the heap.
        std::lock_guard<std::mutex> guard(shared.lock);
        if (Free* head = shared.batches[index]) {
            Free* rest = head->next;
            if (rest) {
                rest->count = head->count - 1;
                rest->nextBatch = head->nextBatch;
            }
            shared.batches[index] = rest ? rest : head->nextBatch;
            return head;
        }
        return ::operator new(slotSize(index));
    }
    if (Free* head = takeBatch(index)) {
        local.head[index] = head;
        local.count[index] = static_cast<unsigned>(head->count);
    } else {
        carve(index);
    }
    Free* slot = local.head[index];
    local.head[index] = slot->next;
    --local.count[index];
    return slot;
}

void releaseSlow(Free* slot, std::size_t index) noexcept
{
    if (local.state == State::unregistered) {
        reaper.armed = true;
        local.state = State::live;
    }
    if (local.state == State::dead) {
        slot->next = nullptr;
        giveBatch(index, slot, 1);
        return;
    }
    slot->next = local.head[index];
    local.head[index] = slot;
    if (++local.count[index] < 2 * batch) return;
    // Keep the newest `batch` slots, hand the older ones on.
    Free* last = slot;
    for (unsigned i = 1; i < batch; ++i)
        last = last->next;
    Free* older = last->next;
    last->next = nullptr;
    giveBatch(index, older, local.count[index] - batch);
    local.count[index] = batch;
}

} // namespace

void* Arbor::NodePool::allocate(std::size_t size)
{
    if (size > maxSize || !Plinth::poolingEnabled()) return ::operator new(size);
    const std::size_t index = (size < minSize ? minSize : size + granule - 1) / granule;
    Free* slot = local.head[index];
    if (slot && local.state == State::live) {
        local.head[index] = slot->next;
        --local.count[index];
        return slot;
    }
    return allocateSlow(index);
}

void Arbor::NodePool::release(void* memory, std::size_t size) noexcept
{
    if (!memory) return;
    if (size > maxSize || !Plinth::poolingEnabled()) return ::operator delete(memory, size);
    const std::size_t index = (size < minSize ? minSize : size + granule - 1) / granule;
    auto* slot = static_cast<Free*>(memory);
    if (local.state == State::live && local.count[index] + 1 < 2 * batch) {
        slot->next = local.head[index];
        local.head[index] = slot;
        ++local.count[index];
        return;
    }
    releaseSlow(slot, index);
}

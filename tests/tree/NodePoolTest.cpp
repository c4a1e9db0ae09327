// The memory of the library's node classes: reused after release, also across threads, and
// subclasses of other sizes and alignments. Sanitizer and Valgrind runs allocate every node from
// the global heap; there the address checks are skipped and the rest still runs.

#include "arbor/foundation/internal/Pooling.h"
#include "tests/support/Host.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <thread>

namespace {

using NodePoolTest = HostTest;
using Make = std::function<Arbor::Node*(Arbor::Document*)>;

// More than a thread keeps of one size before it hands slots on to the other threads, and fewer.
constexpr int many = 1500;
constexpr int few = 300;

std::vector<Arbor::Node*> makeMany(Arbor::Document* document, const Make& make, int count = many)
{
    std::vector<Arbor::Node*> nodes(count);
    for (Arbor::Node*& node : nodes)
        (node = make(document))->ref();
    return nodes;
}

std::set<Arbor::Node*> releaseAll(const std::vector<Arbor::Node*>& nodes)
{
    for (Arbor::Node* node : nodes)
        node->unref();
    return { nodes.begin(), nodes.end() };
}

// How many of `nodes` take memory that was not in `freed`; releases them.
long fresh(const std::vector<Arbor::Node*>& nodes, const std::set<Arbor::Node*>& freed)
{
    const long count = std::count_if(
        nodes.begin(), nodes.end(), [&](Arbor::Node* node) { return !freed.count(node); });
    releaseAll(nodes);
    return count;
}

const std::vector<std::pair<const char*, Make>> kinds = {
    { "element", [](Arbor::Document* d) { return new Arbor::BasicElement(d, "e"); } },
    { "text", [](Arbor::Document* d) { return d->createTextNode(u"some text"); } },
    { "comment", [](Arbor::Document* d) { return new Arbor::Comment(d, u"c"); } },
    { "fragment", [](Arbor::Document* d) { return d->createDocumentFragment(); } },
};

} // namespace

// Same-thread reuse first; then few enough nodes that the freeing thread keeps them all until it
// exits, after which a later thread reuses them.
TEST_F(NodePoolTest, ReleasedMemoryIsReusedAlsoAcrossThreads)
{
    Arbor::Document* doc = &document();
    for (const auto& [name, make] : kinds) {
        const std::set<Arbor::Node*> freedHere = releaseAll(makeMany(doc, make));
        const long unusedHere = fresh(makeMany(doc, make), freedHere);
        std::vector<Arbor::Node*> nodes;
        std::thread([&] { nodes = makeMany(doc, make, few); }).join();
        std::set<Arbor::Node*> freed;
        long unusedByFreeingThread = 0, unusedByLaterThread = 0;
        std::thread([&] {
            freed = releaseAll(nodes);
            unusedByFreeingThread = fresh(makeMany(doc, make, few), freed);
        }).join();
        std::thread([&] { unusedByLaterThread = fresh(makeMany(doc, make, few), freed); }).join();
        if (Plinth::poolingEnabled()) {
            EXPECT_EQ(unusedHere + unusedByFreeingThread, 0) << name;
            EXPECT_EQ(unusedByLaterThread, 0) << name << ": the exited thread's memory is reused";
        }
    }
}

namespace {

// Host elements of other sizes than the library's: one pointer more, more than the pool serves,
// and over-aligned. Each fills its own bytes and checks them when it dies.
template <std::size_t Bytes, std::size_t Align = alignof(std::max_align_t)>
class Sized final : public Arbor::BasicElement {
public:
    Sized(Arbor::Document* document, unsigned char fill)
        : BasicElement(document, "sized")
        , fill(fill)
    {
        std::memset(payload, fill, Bytes);
    }
    ~Sized() override
    {
        EXPECT_TRUE(
            std::all_of(payload, payload + Bytes, [&](unsigned char c) { return c == fill; }));
    }

private:
    unsigned char fill;
    alignas(Align) unsigned char payload[Bytes];
};

} // namespace

TEST_F(NodePoolTest, SubclassesOfOtherSizesAndAlignments)
{
    static_assert(sizeof(Sized<8>) != sizeof(Arbor::BasicElement));
    std::vector<Plinth::Ref<Arbor::Node>> nodes;
    for (int i = 0; i < 300; ++i) {
        const auto fill = static_cast<unsigned char>(i);
        nodes.emplace_back(new Sized<8>(&document(), fill));
        nodes.emplace_back(new Sized<200>(&document(), fill));
        nodes.emplace_back(new Sized<32, 64>(&document(), fill));
        nodes.emplace_back(new Arbor::BasicElement(&document(), "plain"));
        nodes.emplace_back(document().createTextNode(u"t"));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(nodes[nodes.size() - 3].get()) % 64, 0u);
    }
    // Every second node goes, then the same kinds come back into the freed memory.
    for (std::size_t i = 0; i < nodes.size(); i += 2)
        nodes[i].reset();
    for (std::size_t i = 0; i < nodes.size(); i += 2)
        nodes[i] = Plinth::Ref<Arbor::Node>(new Sized<8>(&document(), 0xA5));
    for (const auto& node : nodes)
        EXPECT_TRUE(!node->asText() || ascii(node->asText()->data()) == "t");
    nodes.clear(); // each Sized checks its bytes as it dies

    // The placement and nothrow forms of `new` still work on the library's classes.
    Plinth::Ref<Arbor::Node> kept(new (std::nothrow) Arbor::Text(&document(), u"n"));
    alignas(Arbor::Text) unsigned char place[sizeof(Arbor::Text)];
    (new (place) Arbor::Text(&document(), u"p"))->~Text();
    EXPECT_EQ(ascii(kept->asText()->data()), "n");
}

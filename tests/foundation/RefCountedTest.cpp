#include "arbor/foundation/RefCounted.h"

#include "arbor/foundation/Operation.h"
#include "arbor/foundation/Ref.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// A counted object that reports its destruction and whether it is in the destroying state then,
// and takes and drops a reference on itself from its destructor.
class Probe final : public Plinth::RefCounted<Plinth::IResource> {
public:
    explicit Probe(int& destroyed)
        : destroyed(destroyed)
    {
    }
    ~Probe() override
    {
        ++destroyed;
        sawDestroying = isBeingDestroyed();
        ref();
        unref();
    }
    static bool sawDestroying;

private:
    int& destroyed;
};
bool Probe::sawDestroying = false;

// Reads the link that holds it from its destructor.
class LinkWatcher final : public Plinth::RefCounted<Plinth::IResource> {
public:
    LinkWatcher(LinkWatcher* const& link, const void*& seen)
        : link(link)
        , seen(seen)
    {
    }
    ~LinkWatcher() override { seen = link; }

private:
    LinkWatcher* const& link;
    const void*& seen;
};

} // namespace

TEST(RefCountedTest, DestroysWhenUnrefFindsOrLeavesZero)
{
    struct Case {
        const char* name;
        const char* steps; // 'r' = ref(), 'u' = unref()
        int destroyedAfterStep; // 1-based; 0 = never
    };
    const Case cases[] = {
        { "unref on a fresh object", "u", 1 },
        { "ref then unref", "ru", 2 },
        { "two refs need two unrefs", "rruu", 4 },
        { "one ref left", "rrru", 0 },
        { "balanced pairs before the last unref", "rurrruuu", 2 },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        int destroyed = 0;
        Probe* probe = new Probe(destroyed);
        const std::string steps = c.steps;
        int destroyedAt = 0;
        for (std::size_t i = 0; i < steps.size() && !destroyedAt; ++i) {
            if (steps[i] == 'r')
                probe->ref();
            else
                probe->unref();
            if (destroyed) destroyedAt = static_cast<int>(i + 1);
        }
        EXPECT_EQ(destroyedAt, c.destroyedAfterStep);
        if (!destroyedAt) delete probe;
        EXPECT_EQ(destroyed, 1) << "the pair inside the destructor destroys nothing again";
        EXPECT_EQ(Probe::sawDestroying, destroyedAt != 0);
        Probe::sawDestroying = false;
    }
}

TEST(RefCountedTest, RefHoldsOneReferencePerHolder)
{
    int destroyed = 0;
    Probe* probe = new Probe(destroyed);
    {
        Plinth::Ref<Probe> first(probe);
        {
            Plinth::Ref<Probe> copy(first);
            EXPECT_EQ(probe->refCount, 2u);
            Plinth::Ref<Probe> moved(std::move(copy));
            EXPECT_EQ(probe->refCount, 2u);
            EXPECT_FALSE(copy);
            const Plinth::Ref<Probe>& self = moved;
            moved = self;
            EXPECT_EQ(probe->refCount, 2u);
        }
        EXPECT_EQ(probe->refCount, 1u);
        EXPECT_EQ(destroyed, 0);
    }
    EXPECT_EQ(destroyed, 1);
}

TEST(RefCountedTest, AdoptAndReleaseHandOverWithoutCounting)
{
    int destroyed = 0;
    Probe* probe = new Probe(destroyed);
    probe->ref();
    Plinth::Ref<Probe> holder = Plinth::Ref<Probe>::adopt(probe);
    EXPECT_EQ(probe->refCount, 1u);
    Probe* released = holder.release();
    EXPECT_FALSE(holder);
    EXPECT_EQ(released->refCount, 1u);
    holder = Plinth::Ref<Probe>::adopt(released);
    holder.reset();
    EXPECT_EQ(destroyed, 1);
}

TEST(RefCountedTest, AssignCountedRelinksAndReleases)
{
    int destroyed = 0;
    Probe* a = new Probe(destroyed);
    Probe* b = new Probe(destroyed);
    Probe* link = nullptr;

    Plinth::assignCounted(link, a);
    Plinth::assignCounted(link, a); // relinking to itself must not destroy
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(a->refCount, 1u);

    Plinth::assignCounted(link, b);
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(link, b);

    Plinth::releaseCounted(link);
    EXPECT_EQ(link, nullptr);
    EXPECT_EQ(destroyed, 2);
    Plinth::releaseCounted(link);
    EXPECT_EQ(destroyed, 2);
}

TEST(RefCountedTest, ReleaseCountedClearsLinkBeforeDestroying)
{
    LinkWatcher* link = nullptr;
    const void* seen = &link;
    Plinth::assignCounted(link, new LinkWatcher(link, seen));
    Plinth::releaseCounted(link);
    EXPECT_EQ(seen, nullptr);
}

TEST(OperationTest, RedoRunsExecuteUnlessOverridden)
{
    struct Counting final : Plinth::Operation {
        int executed = 0;
        void execute() override { ++executed; }
        void undo() override { }
    };
    Counting operation;
    operation.execute();
    operation.redo();
    EXPECT_EQ(operation.executed, 2);
}

#include "arbor/foundation/RefCounted.h"

#include "arbor/foundation/Ref.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// A counted object that reports its destruction, whether it is in the destroying state then and
// what the link that held it reads, and takes and drops a reference on itself from its destructor.
class Probe final : public Plinth::RefCounted<Plinth::IResource> {
public:
    explicit Probe(int& destroyed, Probe* const* link = nullptr)
        : destroyed(destroyed)
        , link(link)
    {
    }
    ~Probe() override
    {
        ++destroyed;
        sawDestroying = isBeingDestroyed();
        linkSeen = link ? *link : this;
        ref();
        unref();
    }
    static bool sawDestroying;
    static const Probe* linkSeen;

private:
    int& destroyed;
    Probe* const* link;
};
bool Probe::sawDestroying = false;
const Probe* Probe::linkSeen = nullptr;

} // namespace

TEST(RefCountedTest, DestroysWhenUnrefFindsOrLeavesZero)
{
    struct Case {
        const char* steps; // 'r' = ref(), 'u' = unref()
        int destroyedAfterStep; // 1-based; 0 = never
    };
    const Case cases[]
        = { { "u", 1 }, { "ru", 2 }, { "rruu", 4 }, { "rrru", 0 }, { "rurrruuu", 2 } };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.steps);
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

// Relinking to the linked object keeps it; the link is cleared before the old object goes.
TEST(RefCountedTest, AssignCountedRelinksAndReleases)
{
    int destroyed = 0;
    Probe* link = nullptr;
    Probe* a = new Probe(destroyed, &link);
    Plinth::assignCounted(link, a);
    Plinth::assignCounted(link, a);
    EXPECT_EQ(destroyed, 0);
    Probe* b = new Probe(destroyed, &link);
    Plinth::assignCounted(link, b);
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(link, b);
    Plinth::releaseCounted(link);
    EXPECT_EQ(link, nullptr);
    EXPECT_EQ(Probe::linkSeen, nullptr);
    EXPECT_EQ(destroyed, 2);
    Plinth::releaseCounted(link);
    EXPECT_EQ(destroyed, 2);
}

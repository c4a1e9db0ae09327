#include "tests/range/RangeFixture.h"

#include <string>
#include <vector>

using Arbor::DomEvent;
using Arbor::Node;
using Arbor::Range;
using Plinth::Ref;

namespace {

class ConformanceRangeTest : public RangeTest {
protected:
    void SetUp() override
    {
        RangeTest::SetUp();
        makeChildren(3);
        events.clear();
    }
};

// A selected range may hold the last references on its document. Moving it off the document
// still announces the move, and the document goes only afterwards, leaving the host's range
// detached.
TEST_F(ConformanceRangeTest, RangeReleasingItsDocumentAnnouncesFirst)
{
    auto* own = new TestDocument;
    Ref<Range> r(own->createRange(true));
    TestElement* top = appendElement(own, "top");
    ASSERT_EQ(own->refCount, 2u) << "held by the range's two points only";
    EventLog heard;
    own->addObserver(&heard);

    r->selectNodeContents(top);
    const std::vector<std::string> expected = { "BeforeSelectionChange((top,0)-(top,0))",
        "AfterSelectionChange", "beforeBatch", "unObserve(all)" };
    EXPECT_EQ(heard.lines(), expected);
    EXPECT_TRUE(r->isDetached());
    EXPECT_FALSE(r->isSelected());
    EXPECT_EQ(r->refCount, 1u) << "only the test holds it";
}

} // namespace

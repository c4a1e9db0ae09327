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

// Observers of AfterSelectionChange see the range's references already moved: the old
// containers have been let go, the new ones are held.
TEST_F(ConformanceRangeTest, AfterSelectionChangeSeesTheOldContainersReleased)
{
    struct Case {
        const char* what;
        Node* from; // the range covers the contents of this node first
        Node* to; // and then the contents of this one
    };
    const Case cases[] = {
        { "element to element", p, c[1] },
        { "document to element", &document(), root() },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        Ref<Range> r = selectedRange(test.from, 0, test.from, test.from->items());
        const unsigned long fromCount = test.from->refCount;
        const unsigned long toCount = test.to->refCount;
        std::vector<std::string> seen;
        CallbackObserver watcher;
        watcher.react = [&](DomEvent& event) {
            if (event.type != Arbor::tok_BeforeSelectionChange
                && event.type != Arbor::tok_AfterSelectionChange)
                return;
            seen.push_back(std::string(event.type.name) + " old "
                + std::to_string(fromCount - test.from->refCount) + " released, new "
                + std::to_string(test.to->refCount - toCount) + " taken");
        };
        document().addObserver(&watcher);

        r->selectNodeContents(test.to);
        const std::vector<std::string> expected
            = { "BeforeSelectionChange old 0 released, new 0 taken",
                  "AfterSelectionChange old 2 released, new 2 taken" };
        EXPECT_EQ(seen, expected);
        EXPECT_EQ(test.from->refCount, fromCount - 2);
        EXPECT_EQ(test.to->refCount, toCount + 2);
        document().removeObserver(&watcher);
    }
}

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

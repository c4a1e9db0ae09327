#include "tests/support/Host.h"

#include <vector>

using SelectedRangesTest = HostTest;

TEST_F(SelectedRangesTest, LoopVisitsTheSelectedRangesInListOrder)
{
    for (Arbor::Range* range : Arbor::selectedRanges(&document()))
        ADD_FAILURE() << "no range is selected yet, got " << range;

    Arbor::Text* text = appendText(root(), u"abcdef");
    Arbor::Range* first = document().createRange(true);
    Plinth::Ref<Arbor::Range> unselected(document().createRange(false));
    Arbor::Range* second = document().createRange(true);

    std::vector<Arbor::Range*> seen;
    for (Arbor::Range* range : Arbor::selectedRanges(&document())) {
        seen.push_back(range);
        range->setEnd(text, 4); // the body may move the current range
        range->setStart(text, 1);
    }
    EXPECT_EQ(seen, (std::vector<Arbor::Range*> { first, second }));
    EXPECT_EQ(points(first), "(t,1)-(t,4)");
    EXPECT_EQ(points(second), "(t,1)-(t,4)");
    EXPECT_EQ(points(unselected.get()), "(#document,0)-(#document,0)");
}

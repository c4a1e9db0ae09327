// Offsets plus counts at the edges: the largest count ("to the end") must give what exact
// arithmetic gives, for child runs, the ranges that follow them and the point/run comparison.
// (Text edits with such counts are checked against exact arithmetic by the random operations.)

#include "tests/support/Host.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

using EdgeArithmeticTest = HostTest;

namespace {

using Arbor::Node;
using Arbor::Range;

__extension__ typedef unsigned __int128 Wide;

constexpr unsigned long kMax = std::numeric_limits<unsigned long>::max();

} // namespace

// A run removed or replaced with the largest count stops at the last child; ranges in and after it
// land where exact arithmetic puts them; undo restores the children. (Detached parents: the raw
// shapes in ReplaceChildrenTest.)
TEST_F(EdgeArithmeticTest, ChildRunsWithHugeCounts)
{
    for (unsigned long index : { 0UL, 2UL, 4UL }) {
        for (bool withNew : { false, true }) {
            SCOPED_TRACE("from " + std::to_string(index) + (withNew ? ", replaced" : ", removed"));
            Node* p = appendElement(root(), "p");
            std::vector<Node*> children;
            for (const char* name : { "c0", "c1", "c2", "c3", "c4" })
                children.push_back(appendElement(p, name));
            std::vector<Plinth::Ref<Range>> ranges;
            for (unsigned long k = 0; k <= 5; ++k)
                ranges.push_back(range(p, k, p, k));
            ranges.push_back(range(children[4], 0, children[4], 0));
            ranges.push_back(range(children[0], 0, children[0], 0));
            // Points are checked after the change has been undone and redone, which puts them
            // back where the change put them.
            expectUndoRedoRestores([&] {
                p->replaceChildren(
                    children[index], kMax, withNew ? document().makeElement("n") : nullptr);
            });
            std::string expected = "<p>";
            for (unsigned long k = 0; k < index; ++k)
                expected += "<c" + std::to_string(k) + "></c" + std::to_string(k) + ">";
            EXPECT_EQ(xml(p), expected + (withNew ? "<n></n></p>" : "</p>"));
            for (unsigned long k = 0; k <= 6; ++k) {
                const std::string at = std::to_string(k < index ? k : index);
                EXPECT_EQ(points(ranges[k].get()), "(p," + at + ")-(p," + at + ")") << k;
            }
            EXPECT_EQ(points(ranges[7].get()), index == 0 ? "(p,0)-(p,0)" : "(c0,0)-(c0,0)");
            ranges.clear();
            root()->removeChild(p);
            if (HasFailure()) return;
        }
    }
}

// The run is `count` children of p from `index`: points at or behind the run's start and before
// its end, or anywhere inside its children, are in it; points behind it come after; points ahead of
// it, inside a sibling outside it, above p or outside its tree come before.
TEST_F(EdgeArithmeticTest, ComparePointWithRangeWhenIndexPlusCountOverflows)
{
    Plinth::Ref<Node> top(document().makeElement("top"));
    Node* p = appendElement(top.get(), "p");
    std::vector<Node*> children;
    for (const char* name : { "c0", "c1", "c2", "c3", "c4" })
        children.push_back(appendElement(p, name));
    Node* grandchild = appendElement(children[2], "g");
    Plinth::Ref<Node> orphan(document().makeElement("orphan"));

    for (unsigned long index : { 0UL, 2UL, 5UL }) {
        for (unsigned long count : { kMax, kMax - 1, kMax - index + 1, 3UL, 1UL, 0UL }) {
            SCOPED_TRACE("index " + std::to_string(index) + ", count " + std::to_string(count));
            const Wide end = static_cast<Wide>(index) + count;
            for (unsigned long offset = 0; offset <= 5; ++offset) {
                const int expected = offset < index ? -1 : (offset < end ? 0 : 1);
                EXPECT_EQ(Range::comparePointWithRange(p, offset, p, index, count), expected)
                    << "point (p," << offset << ")";
            }
            for (unsigned long k = 0; k < 5; ++k) {
                const int expected = k >= index && k < end ? 0 : -1;
                EXPECT_EQ(Range::comparePointWithRange(children[k], 0, p, index, count), expected)
                    << "point in c" << k;
            }
            EXPECT_EQ(Range::comparePointWithRange(grandchild, 0, p, index, count),
                2 >= index && 2 < end ? 0 : -1)
                << "point below c2";
            EXPECT_EQ(Range::comparePointWithRange(top.get(), 1, p, index, count), -1);
            EXPECT_EQ(Range::comparePointWithRange(orphan.get(), 0, p, index, count), -1);
        }
    }
}

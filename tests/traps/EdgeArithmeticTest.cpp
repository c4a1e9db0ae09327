// Offsets plus counts at the edges: the largest count ("to the end") at offsets 0, in the middle
// and at the end must give what exact arithmetic gives, for text edits, the ranges that follow
// them, child runs and the point/run comparison.

#include "tests/support/Host.h"
#include "tests/support/Links.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

using EdgeArithmeticTest = HostTest;

namespace {

using Arbor::Node;
using Arbor::Range;

__extension__ typedef unsigned __int128 Wide;

constexpr unsigned long kMax = std::numeric_limits<unsigned long>::max();

// Where a point in a text lands when `count` units from `offset` are replaced by `added` units,
// computed in arithmetic wide enough that nothing wraps.
unsigned long expectedPoint(
    unsigned long point, unsigned long offset, unsigned long count, unsigned long added)
{
    unsigned long moved = point;
    if (point >= offset)
        moved = static_cast<Wide>(point) < static_cast<Wide>(offset) + count
            ? offset
            : static_cast<unsigned long>(point - count);
    return offset < moved ? moved + added : moved;
}

// The units a count covers from `offset` in a text of `length` units, in wide arithmetic.
unsigned long expectedClip(unsigned long length, unsigned long offset, unsigned long count)
{
    const Wide end = static_cast<Wide>(offset) + count;
    return static_cast<unsigned long>((end < length ? end : length) - offset);
}

enum class Place { Content, DetachedParent, Parentless };
const char* const placeNames[] = { "in the content", "in a detached element", "parentless" };
enum class Edit { Substring, Delete, Replace };
const char* const editNames[] = { "substringData", "deleteData", "replaceData" };

} // namespace

TEST_F(EdgeArithmeticTest, TextEditsWithHugeCounts)
{
    const std::string initial = "abcdef";
    for (Place place : { Place::Content, Place::DetachedParent, Place::Parentless }) {
        for (Edit edit : { Edit::Substring, Edit::Delete, Edit::Replace }) {
            for (unsigned long offset : { 0UL, 3UL, 6UL, 7UL, kMax }) {
                for (unsigned long count : { kMax, kMax - 1, kMax - offset, 2UL, 0UL }) {
                    SCOPED_TRACE(std::string(placeNames[static_cast<int>(place)]) + ", "
                        + editNames[static_cast<int>(edit)] + "(" + std::to_string(offset) + ", "
                        + std::to_string(count) + ")");
                    Plinth::Ref<Node> holder(document().makeElement("d"));
                    if (place == Place::Content) root()->appendChild(holder.get());
                    Plinth::Ref<Arbor::Text> text(document().makeText(u"abcdef"));
                    if (place != Place::Parentless) holder->appendChild(text.get());
                    std::vector<Plinth::Ref<Range>> ranges;
                    if (place == Place::Content) {
                        for (unsigned long p = 0; p <= 6; ++p)
                            ranges.push_back(range(text.get(), p, text.get(), p));
                        ranges.push_back(range(text.get(), 1, text.get(), 5));
                    }
                    document().clearUndoStack();
                    document().newUndoTask();

                    if (offset > initial.size()) {
                        expectDomError(Arbor::DomException::INDEX_SIZE_ERR, [&] {
                            if (edit == Edit::Substring)
                                std::free(text->substringData(offset, count));
                            else if (edit == Edit::Delete)
                                text->deleteData(offset, count);
                            else
                                text->replaceData(offset, count, u"XY");
                        });
                        EXPECT_EQ(ascii(text->data()), initial);
                        EXPECT_FALSE(document().canUndo());
                    } else {
                        const unsigned long clipped = expectedClip(6, offset, count);
                        EXPECT_EQ(text->clip(offset, count), clipped);
                        std::string expected = initial;
                        unsigned long added = 0;
                        if (edit == Edit::Substring) {
                            char16_t* copy = text->substringData(offset, count);
                            EXPECT_EQ(ascii(copy), initial.substr(offset, clipped));
                            EXPECT_EQ(copy == nullptr, clipped == 0);
                            std::free(copy);
                        } else if (edit == Edit::Delete) {
                            text->deleteData(offset, count);
                            expected.erase(offset, clipped);
                        } else {
                            text->replaceData(offset, count, u"XY");
                            expected.replace(offset, clipped, "XY");
                            added = 2;
                        }
                        EXPECT_EQ(ascii(text->data()), expected);
                        for (unsigned long p = 0; p <= 6 && !ranges.empty(); ++p) {
                            const unsigned long q = edit == Edit::Substring
                                ? p
                                : expectedPoint(p, offset, count, added);
                            EXPECT_EQ(ranges[p]->startContainer, text.get());
                            EXPECT_EQ(ranges[p]->startOffset, q) << "point " << p;
                            EXPECT_EQ(ranges[p]->endOffset, q) << "point " << p;
                        }
                        if (!ranges.empty() && edit != Edit::Substring) {
                            const unsigned long s = expectedPoint(1, offset, count, added);
                            const unsigned long e = expectedPoint(5, offset, count, added);
                            EXPECT_EQ(ranges.back()->startOffset, s);
                            EXPECT_EQ(ranges.back()->endOffset, e);
                        }
                        if (place == Place::Content && edit != Edit::Substring) {
                            document().undo();
                            EXPECT_EQ(ascii(text->data()), initial) << "undo";
                            document().redo();
                            EXPECT_EQ(ascii(text->data()), expected) << "redo";
                        }
                    }
                    ranges.clear();
                    if (place == Place::Content) root()->removeChild(holder.get());
                    if (HasFailure()) return;
                }
            }
        }
    }
}

// A split anywhere from the start to the end gives two nodes, neither with an empty buffer; past
// the end it is refused before anything changes. A parentless text is not asked (refuseEdit).
TEST_F(EdgeArithmeticTest, SplitTextAtEveryEdge)
{
    for (Place place : { Place::Content, Place::DetachedParent, Place::Parentless }) {
        for (unsigned long offset : { 0UL, 1UL, 3UL, 6UL, 7UL, kMax }) {
            SCOPED_TRACE(std::string(placeNames[static_cast<int>(place)]) + ", split at "
                + std::to_string(offset));
            Plinth::Ref<Node> holder(document().makeElement("d"));
            if (place == Place::Content) root()->appendChild(holder.get());
            Plinth::Ref<TestText> text(document().makeText(u"abcdef"));
            if (place != Place::Parentless) {
                holder->appendChild(text.get());
                appendElement(holder.get(), "after");
            } else {
                text->refuseEdit = true;
            }
            std::vector<Plinth::Ref<Range>> ranges;
            if (place == Place::Content) {
                for (unsigned long p = 0; p <= 6; ++p)
                    ranges.push_back(range(text.get(), p, text.get(), p));
            }
            document().clearUndoStack();
            document().newUndoTask();
            const std::string before = xml(&document());
            Held held { { text.get(), 1 }, { holder.get(), 1 } };

            if (offset > 6) {
                expectDomError(
                    Arbor::DomException::INDEX_SIZE_ERR, [&] { text->splitText(offset); });
                EXPECT_EQ(siblings(text.get(), text->parent),
                    place == Place::Parentless ? "'abcdef'" : "'abcdef' after");
                EXPECT_FALSE(document().canUndo());
            } else {
                Arbor::Text* fresh = text->splitText(offset);
                ASSERT_NE(fresh, nullptr);
                EXPECT_EQ(ascii(text->data()), std::string("abcdef").substr(0, offset));
                EXPECT_EQ(ascii(fresh->data()), std::string("abcdef").substr(offset));
                EXPECT_EQ(fresh->data() == nullptr, offset == 6);
                for (Arbor::Text* part : { static_cast<Arbor::Text*>(text.get()), fresh })
                    EXPECT_TRUE(!part->data() || *part->data()) << "an empty buffer";
                EXPECT_EQ(text->nextSibling(), fresh);
                EXPECT_EQ(fresh->previousSibling(), text.get());
                EXPECT_EQ(fresh->parentNode(), text->parentNode());
                EXPECT_EQ(fresh->document, &document());
                for (unsigned long p = 0; p < ranges.size(); ++p) {
                    const unsigned long q = expectedPoint(p, offset, 6 - offset, 0);
                    EXPECT_EQ(ranges[p]->startContainer, text.get());
                    EXPECT_EQ(ranges[p]->startOffset, q) << "point " << p;
                }
            }
            if (place == Place::Content) {
                EXPECT_LINKS_SOUND({ text.get() });
                const std::string after = xml(&document());
                if (document().canUndo()) {
                    document().undo();
                    EXPECT_EQ(xml(&document()), before);
                    document().redo();
                    EXPECT_EQ(xml(&document()), after);
                    EXPECT_LINKS_SOUND({ text.get() });
                }
            } else {
                EXPECT_LINKS_SOUND({ text.get(), holder.get() }, &held);
            }
            ranges.clear();
            if (place == Place::Content) root()->removeChild(holder.get());
        }
    }
}

// A run removed or replaced with the largest count stops at the last child; ranges in and after it
// land where exact arithmetic puts them; undo restores the children.
TEST_F(EdgeArithmeticTest, ChildRunsWithHugeCounts)
{
    for (bool inDocument : { false, true }) {
        for (unsigned long index : { 0UL, 2UL, 4UL }) {
            for (bool withNew : { false, true }) {
                SCOPED_TRACE(std::string(inDocument ? "in the content" : "detached") + ", from "
                    + std::to_string(index) + (withNew ? ", replaced" : ", removed"));
                Plinth::Ref<Node> p(document().makeElement("p"));
                if (inDocument) root()->appendChild(p.get());
                std::vector<Node*> children;
                for (const char* name : { "c0", "c1", "c2", "c3", "c4" })
                    children.push_back(appendElement(p.get(), name));
                std::vector<Plinth::Ref<Range>> ranges;
                if (inDocument) {
                    for (unsigned long k = 0; k <= 5; ++k)
                        ranges.push_back(range(p.get(), k, p.get(), k));
                    ranges.push_back(range(children[4], 0, children[4], 0));
                    ranges.push_back(range(children[0], 0, children[0], 0));
                }
                document().clearUndoStack();
                document().newUndoTask();
                const std::string before = xml(&document());

                Node* fresh = withNew ? document().makeElement("n") : nullptr;
                p->replaceChildren(children[index], kMax, fresh);
                std::string expected = "<p>";
                for (unsigned long k = 0; k < index; ++k)
                    expected += "<c" + std::to_string(k) + "></c" + std::to_string(k) + ">";
                expected += withNew ? "<n></n></p>" : "</p>";
                EXPECT_EQ(xml(p.get()), expected);
                EXPECT_LINKS_SOUND({ p.get() });

                if (inDocument) {
                    for (unsigned long k = 0; k <= 5; ++k)
                        EXPECT_EQ(points(ranges[k].get()),
                            "(p," + std::to_string(k < index ? k : index) + ")-(p,"
                                + std::to_string(k < index ? k : index) + ")")
                            << "point " << k;
                    EXPECT_EQ(points(ranges[6].get()),
                        "(p," + std::to_string(index) + ")-(p," + std::to_string(index) + ")");
                    EXPECT_EQ(
                        points(ranges[7].get()), index == 0 ? "(p,0)-(p,0)" : "(c0,0)-(c0,0)");
                    const std::string after = xml(&document());
                    document().undo();
                    EXPECT_EQ(xml(&document()), before);
                    EXPECT_LINKS_SOUND({ p.get() });
                    document().redo();
                    EXPECT_EQ(xml(&document()), after);
                    ranges.clear();
                    root()->removeChild(p.get());
                }
                if (HasFailure()) return;
            }
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

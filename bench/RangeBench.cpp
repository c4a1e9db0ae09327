// What live ranges cost a change: every replacement visits every range of the document, so the
// time of one edit grows with the number of ranges the host keeps.

#include "arbor/arbor.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

using Arbor::Node;
using Arbor::Range;

constexpr int sectionCount = 100;

bool at(const Range* range, const Node* sc, unsigned long so, const Node* ec, unsigned long eo)
{
    return range->startContainer == sc && range->startOffset == so && range->endContainer == ec
        && range->endOffset == eo;
}

/// A document with no undo history, and ranges that the bench holds until it ends.
struct Fixture {
    Plinth::Ref<Arbor::BasicDocument> document { new Arbor::BasicDocument };
    Arbor::Element* root = nullptr;
    std::vector<Range*> ranges;

    Fixture()
    {
        root = document->createElement(Arbor::Token("root"));
        document->appendChild(root);
        document->maxUndoTasks(0);
    }

    Range* addRange(Node* sc, unsigned long so, Node* ec, unsigned long eo)
    {
        Range* range = document->createRange(false);
        range->ref();
        range->setEnd(ec, eo);
        range->setStart(sc, so);
        ranges.push_back(range);
        return range;
    }

    ~Fixture()
    {
        for (Range* range : ranges)
            range->unref();
        document->tearDown();
    }
};

// One element inserted in front of 100 sections and removed again. Even ranges lie in the
// document element (and move), odd ones inside a section (and stay).
void BM_ChildEditsUnderRanges(benchmark::State& state)
{
    const auto rangeCount = static_cast<int>(state.range(0));
    Fixture fixture;
    Arbor::Element* root = fixture.root;
    std::vector<Node*> sections;
    for (int i = 0; i < sectionCount; ++i) {
        Node* section = root->appendChild(fixture.document->createElement(Arbor::Token("s")));
        section->appendChild(fixture.document->createElement(Arbor::Token("leaf")));
        sections.push_back(section);
    }
    for (int k = 0; k < rangeCount; ++k) {
        if (k % 2 == 0)
            fixture.addRange(root, k % sectionCount, root, sectionCount);
        else
            fixture.addRange(sections[k % sectionCount], 0, sections[k % sectionCount], 1);
    }
    Plinth::Ref<Node> extra(fixture.document->createElement(Arbor::Token("extra")));

    const std::vector<Range*>& ranges = fixture.ranges;
    root->insertBefore(extra.get(), sections[0]);
    bool right = at(ranges[0], root, 0, root, sectionCount + 1)
        && (rangeCount < 2 || at(ranges[1], sections[1], 0, sections[1], 1))
        && (rangeCount < 3 || at(ranges[2], root, 3, root, sectionCount + 1));
    root->removeChild(extra.get());
    right = right && at(ranges[0], root, 0, root, sectionCount)
        && (rangeCount < 3 || at(ranges[2], root, 2, root, sectionCount));
    if (!right) {
        state.SkipWithError("the ranges did not follow the edits");
        return;
    }

    for (auto _ : state) {
        root->insertBefore(extra.get(), sections[0]);
        root->removeChild(extra.get());
    }
    state.SetItemsProcessed(state.iterations() * 2);
}
BENCHMARK(BM_ChildEditsUnderRanges)->Arg(1)->Arg(100)->Arg(10000);

// One unit inserted at the start of a text and deleted again; range k covers units 2k to 2k+1.
void BM_TextEditsUnderRanges(benchmark::State& state)
{
    const auto rangeCount = static_cast<int>(state.range(0));
    Fixture fixture;
    const std::u16string data(static_cast<std::size_t>(2 * rangeCount + 10), u'a');
    Arbor::Text* text = fixture.document->createTextNode(data.c_str());
    fixture.root->appendChild(text);
    for (int k = 0; k < rangeCount; ++k)
        fixture.addRange(text, 2 * k, text, 2 * k + 1);

    const std::vector<Range*>& ranges = fixture.ranges;
    const unsigned long last = 2 * static_cast<unsigned long>(rangeCount - 1);
    text->insertData(0, u"x");
    bool right = at(ranges[0], text, 0, text, 2)
        && (rangeCount < 2 || at(ranges.back(), text, last + 1, text, last + 2));
    text->deleteData(0, 1);
    right
        = right && at(ranges[0], text, 0, text, 1) && at(ranges.back(), text, last, text, last + 1);
    if (!right) {
        state.SkipWithError("the ranges did not follow the edits");
        return;
    }

    for (auto _ : state) {
        text->insertData(0, u"x");
        text->deleteData(0, 1);
    }
    state.SetItemsProcessed(state.iterations() * 2);
}
BENCHMARK(BM_TextEditsUnderRanges)->Arg(1)->Arg(100)->Arg(10000);

} // namespace

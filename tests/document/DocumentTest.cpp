#include "tests/support/Host.h"

#include <functional>
#include <string>
#include <vector>

namespace {

using DocumentTest = HostTest;

// Deferred work that counts its runs and the instances alive.
class CountingFunctor final : public Arbor::Functor {
public:
    static int live;
    int& runs;

    explicit CountingFunctor(int& runs)
        : runs(runs)
    {
        ++live;
    }
    ~CountingFunctor() override { --live; }
    void operator()() override { ++runs; }
};
int CountingFunctor::live = 0;

// Calls `action` on every event it receives.
class ActionObserver final : public Arbor::IDocObserver {
public:
    std::function<void(Arbor::DomEvent&)> action;
    void onEvent(Arbor::DomEvent& event) override
    {
        if (action) action(event);
    }
};

TEST_F(DocumentTest, NewDocumentAnswers)
{
    Plinth::Ref<TestDocument> fresh(new TestDocument);
    EXPECT_EQ(fresh->firstChild(), nullptr);
    EXPECT_EQ(fresh->documentElement(), nullptr);
    EXPECT_EQ(fresh->nodeType(), 9);
    EXPECT_EQ(fresh->nodeName(), Arbor::Token("#document"));
    EXPECT_EQ(fresh->ownerDocument(), fresh.get());
    fresh->setNodeValue(u"x");
    EXPECT_EQ(fresh->nodeValue(), nullptr);
    EXPECT_FALSE(fresh->hasAttributes());
    EXPECT_EQ(fresh->cloneNode(true), nullptr);
    EXPECT_EQ(fresh->cloneNode(false), nullptr);
    EXPECT_FALSE(fresh->canUndo());
    EXPECT_FALSE(fresh->canRedo());
    EXPECT_EQ(fresh->maxUndoTasks(), 100u);
    EXPECT_EQ(fresh->observers.size(), 2u) << "the range list, for text and for children";
    EXPECT_EQ(xml(fresh.get()), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n\n");
}

TEST_F(DocumentTest, FactoriesMakeUnlinkedNodesOfTheDocument)
{
    Arbor::Text* text = document().createTextNode(u"hi");
    Arbor::DocumentFragment* fragment = document().createDocumentFragment();
    for (Arbor::Node* node :
        { static_cast<Arbor::Node*>(text), static_cast<Arbor::Node*>(fragment) }) {
        SCOPED_TRACE(nameOf(node));
        EXPECT_EQ(node->refCount, 0u);
        EXPECT_EQ(node->ownerDocument(), &document());
        EXPECT_EQ(node->parentNode(), nullptr);
        EXPECT_EQ(node->firstChild(), nullptr);
    }
    EXPECT_EQ(xml(text), "hi");
    Plinth::Ref<Arbor::DocumentFragment> holdFragment(fragment);
    fragment->appendChild(text);
    root()->appendChild(fragment);
    EXPECT_EQ(text->parentNode(), root());
}

TEST_F(DocumentTest, WholeDocumentXml)
{
    TestElement* p = appendElement(root(), "p");
    p->setAttribute("class", Arbor::UStringVariant(u"a\"b"));
    appendText(p, u"x < y & z");
    appendElement(p, "br");
    appendText(root(), u"tail");
    appendText(root(), u"!");
    EXPECT_EQ(xml(&document()),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<root><p class=\"a&quot;b\">x &lt; y &amp; z<br></br></p>tail!</root>\n");
}

TEST_F(DocumentTest, TornDownDocumentStaysQuiet)
{
    EventLog late;
    TestText* t = appendText(root(), u"abc");
    document().newUndoTask();
    t->appendData(u"d");
    events.clear();
    document().tearDown();
    document().tearDown();
    EXPECT_EQ(events.take(), (std::vector<std::string> { "beforeBatch", "unObserve(all)" }));
    EXPECT_EQ(document().rangeList, nullptr);
    EXPECT_GE(document().batchDepth, 1u);
    EXPECT_EQ(document().maxUndoTasks(), 0u);
    EXPECT_FALSE(document().canUndo());
    EXPECT_EQ(document().createRange(false), nullptr);

    document().addObserver(&late);
    t->appendData(u"e");
    appendElement(root(), "q");
    root()->setAttribute("k", Arbor::LongVariant(1));
    EXPECT_TRUE(late.lines().empty());
    EXPECT_EQ(xml(root()), "<root k=\"1\">abcde<q></q></root>");
    EXPECT_FALSE(document().canUndo());

    int runs = 0;
    document().postFunction(new CountingFunctor(runs));
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(CountingFunctor::live, 0);
    document().removeObserver(&late);
}

// Torn down from an observer in the middle of a change: the functions queued so far are
// deleted unrun, the change completes, and nothing is left over.
TEST_F(DocumentTest, TearDownDuringAChangeDropsQueuedFunctions)
{
    ActionObserver observer;
    int runs = 0;
    observer.action = [&](Arbor::DomEvent& event) {
        if (event.type != Arbor::tok_AfterReplaceChildren) return;
        document().postFunction(new CountingFunctor(runs));
        document().tearDown();
    };
    document().addObserver(&observer);
    appendElement(root(), "p");
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(CountingFunctor::live, 0);
    EXPECT_EQ(document().operationDepth, 0u);
    EXPECT_EQ(xml(root()), "<root><p></p></root>");
    EXPECT_FALSE(document().canUndo());
}

// Released with everything still attached: observers (one registered twice), a history that
// keeps a removed node, ranges. Nothing may outlive it (the fixture counts host objects; the
// sanitizers count the rest). Ranges hold the document they start on, so a document that still
// has them is torn down before its last release.
TEST_F(DocumentTest, ReleaseFreesEverything)
{
    for (const bool withRanges : { true, false }) {
        SCOPED_TRACE(withRanges ? "torn down, then released" : "released only");
        EventLog log;
        Plinth::Ref<TestDocument> doc(new TestDocument);
        TestElement* top = doc->makeElement("top");
        doc->appendChild(top);
        doc->addObserver(&log);
        doc->addObserver(&log, Arbor::tok_AfterReplaceText);
        TestText* t = doc->makeText(u"abc");
        top->appendChild(t);
        doc->newUndoTask();
        t->deleteData(0, 1);
        top->removeChild(t);
        Plinth::Ref<Arbor::Range> kept;
        if (withRanges) {
            kept = Plinth::Ref<Arbor::Range>(doc->createRange(true));
            kept->selectNodeContents(top);
            doc->createRange(false);
        }
        log.clear();
        if (withRanges) doc->tearDown();
        kept.reset();
        doc.reset();
        EXPECT_EQ(log.lines(),
            (std::vector<std::string> {
                "beforeBatch", "beforeBatch", "unObserve(all)", "unObserve(AfterReplaceText)" }));
    }
}

} // namespace

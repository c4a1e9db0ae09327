#include "arbor/range/internal/RangeList.h"
#include "tests/support/Host.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

// An event log that runs the callbacks it is given.
class Hooks final : public EventLog {
public:
    std::function<void(Arbor::DomEvent&)> event;
    std::function<void()> afterBatch;

    void afterBatchChanges() override
    {
        EventLog::afterBatchChanges();
        if (afterBatch) afterBatch();
    }
    void onEvent(Arbor::DomEvent& e) override
    {
        EventLog::onEvent(e);
        if (event) event(e);
    }
};

class BatchTest : public HostTest {
protected:
    Hooks hooks;
    TestText* t = nullptr;

    void SetUp() override
    {
        HostTest::SetUp();
        t = appendText(root(), u"abc");
        events.clear();
    }
};

// Nested batches are one batch and an unmatched end is ignored; every registration hears its
// bounds, whatever its type. Inside, the tree changes in full, hooks included, but nothing is
// announced or recorded, and the history from before is gone. A change made when the batch
// ends is announced and recorded.
TEST_F(BatchTest, BatchSuspendsEventsAndHistory)
{
    document().addObserver(&hooks, Arbor::tok_AfterReplaceText);
    document().maxUndoTasks(7);
    t->appendData(u"d");
    ASSERT_TRUE(document().canUndo());
    events.clear();
    hooks.clear();

    document().beginBatchChanges();
    document().beginBatchChanges();
    EXPECT_EQ(document().maxUndoTasks(), 0u);
    EXPECT_FALSE(document().canUndo());
    TestElement* p = appendElement(root(), "p");
    p->passNotices = true;
    TestElement* q = appendElement(p, "q");
    p->setAttribute("k", Arbor::LongVariant(1));
    t->appendData(u"e");
    document().endBatchChanges();
    EXPECT_EQ(p->parentChanges, 1) << "the tree still changes in full";
    EXPECT_EQ(q->parentChanges, 1);
    EXPECT_EQ(hookLog(),
        (Lines { "beforeSetAttribute(p,p,k)", "beforeSetAttribute(q,p,k)",
            "afterSetAttribute(p,p,k)", "afterSetAttribute(q,p,k)" }));
    EXPECT_EQ(xml(root()), "<root>abcde<p k=\"1\"><q></q></p></root>");
    EXPECT_EQ(events.lines(), (Lines { "beforeBatch" })) << "no event inside a batch";

    hooks.afterBatch = [this] { t->appendData(u"!"); };
    document().endBatchChanges();
    document().endBatchChanges(); // unmatched: ignored
    EXPECT_EQ(document().batchDepth, 0u);
    EXPECT_EQ(hooks.take(), (Lines { "beforeBatch", "afterBatch", "AfterReplaceText(t)" }))
        << "whatever the registration's type";
    EXPECT_EQ(events.lines(),
        (Lines { "beforeBatch", "afterBatch", "BeforeReplaceText(t,5,0,\"!\")",
            "AfterReplaceText(t)" }));
    EXPECT_EQ(document().maxUndoTasks(), 7u);
    document().undo();
    EXPECT_EQ(xml(t), "abcde");
    EXPECT_FALSE(document().canUndo());
}

// A function posted during a change waits until the change has been recorded and the unheld
// ranges have been let go, and its own change joins the same task.
TEST_F(BatchTest, PostedFunctionRunsAfterTheOperation)
{
    document().addObserver(&hooks, Arbor::tok_BeforeReplaceChildren);
    bool ran = false;
    hooks.event = [&](Arbor::DomEvent&) {
        hooks.event = nullptr;
        document().createRange(false); // held by nobody
        document().postFunction(new PostedTask([&] {
            ran = true;
            EXPECT_EQ(document().operationDepth, 0u);
            EXPECT_TRUE(document().canUndo()) << "the operation is recorded";
            EXPECT_EQ(xml(root()), "<root>abc<p></p></root>");
            EXPECT_EQ(static_cast<Arbor::Node*>(document().rangeList)->items(), 0u)
                << "unheld ranges are let go";
            root()->setAttribute("k", Arbor::LongVariant(1));
        }));
        document().executePostedFunctions(); // an operation runs: does nothing
        EXPECT_FALSE(ran);
        EXPECT_EQ(PostedTask::live, 1);
    };
    document().newUndoTask();
    appendElement(root(), "p");
    EXPECT_TRUE(ran);
    EXPECT_EQ(xml(root()), "<root k=\"1\">abc<p></p></root>");
    document().undo();
    EXPECT_EQ(xml(root()), "<root>abc</root>") << "one task";
}

TEST_F(BatchTest, ThrowingFunctionIsDeletedAndTheRestStayQueued)
{
    document().addObserver(&hooks, Arbor::tok_AfterReplaceText);
    Lines ran;
    hooks.event = [&](Arbor::DomEvent&) {
        hooks.event = nullptr;
        document().postFunction(new PostedTask([&] {
            ran.push_back("first");
            throw std::runtime_error("posted function failed");
        }));
        document().postFunction(new PostedTask([&] { ran.push_back("second"); }));
    };
    EXPECT_THROW(t->appendData(u"d"), std::runtime_error);
    EXPECT_EQ(xml(t), "abcd") << "the change itself went through";
    EXPECT_TRUE(document().canUndo());
    EXPECT_EQ(ran, (Lines { "first" }));
    EXPECT_EQ(PostedTask::live, 1) << "the thrower is deleted";
    EXPECT_EQ(document().postedFunctions.size(), 1u);

    document().executePostedFunctions();
    EXPECT_EQ(ran, (Lines { "first", "second" }));
    EXPECT_EQ(PostedTask::live, 0);
}

TEST_F(BatchTest, TornDownDocumentStaysQuiet)
{
    document().newUndoTask();
    t->appendData(u"d");
    events.clear();
    document().tearDown();
    document().tearDown();
    EXPECT_EQ(events.take(), (Lines { "beforeBatch", "unObserve(all)" }));
    EXPECT_EQ(document().maxUndoTasks(), 0u);
    EXPECT_FALSE(document().canUndo());

    document().addObserver(&hooks);
    t->appendData(u"e");
    appendElement(root(), "q");
    root()->setAttribute("k", Arbor::LongVariant(1));
    EXPECT_TRUE(hooks.lines().empty());
    EXPECT_EQ(xml(root()), "<root k=\"1\">abcde<q></q></root>");
    EXPECT_FALSE(document().canUndo());

    // Outside any operation (a torn-down document stays in its batch) a posted function runs at
    // once and is deleted; null is ignored.
    int runs = 0;
    document().postFunction(new PostedTask([&] { ++runs; }));
    EXPECT_EQ(runs, 1);
    document().postFunction(nullptr);
}

// Torn down from an observer in the middle of a change: the functions queued so far are
// deleted unrun, the change completes, and nothing is left over.
TEST_F(BatchTest, TearDownDuringAChangeDropsQueuedFunctions)
{
    document().addObserver(&hooks, Arbor::tok_AfterReplaceChildren);
    int runs = 0;
    hooks.event = [&](Arbor::DomEvent&) {
        document().postFunction(new PostedTask([&] { ++runs; }));
        document().tearDown();
    };
    appendElement(root(), "p");
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(document().operationDepth, 0u);
    EXPECT_EQ(xml(root()), "<root>abc<p></p></root>");
    EXPECT_FALSE(document().canUndo());
}

} // namespace

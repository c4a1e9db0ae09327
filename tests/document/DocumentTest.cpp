#include "tests/support/Host.h"

#include <functional>
#include <string>
#include <vector>

namespace {

using DocumentTest = HostTest;

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

    // Outside any operation (a torn-down document stays in its batch) a posted function runs at
    // once and is deleted; null is ignored.
    int runs = 0;
    document().postFunction(new PostedTask([&] { ++runs; }));
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(PostedTask::live, 0);
    document().postFunction(nullptr);
    document().removeObserver(&late);
}

// Torn down from an observer in the middle of a change: the functions queued so far are
// deleted unrun, the change completes, and nothing is left over.
TEST_F(DocumentTest, TearDownDuringAChangeDropsQueuedFunctions)
{
    CallbackObserver observer;
    int runs = 0;
    observer.react = [&](Arbor::DomEvent& event) {
        if (event.type != Arbor::tok_AfterReplaceChildren) return;
        document().postFunction(new PostedTask([&] { ++runs; }));
        document().tearDown();
    };
    document().addObserver(&observer);
    appendElement(root(), "p");
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(PostedTask::live, 0);
    EXPECT_EQ(document().operationDepth, 0u);
    EXPECT_EQ(xml(root()), "<root><p></p></root>");
    EXPECT_FALSE(document().canUndo());
}

} // namespace

#include "tests/support/Host.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;
using DocumentUndoTest = HostTest;

Lines concat(const Lines& a, const Lines& b, const Lines& c)
{
    Lines all(a);
    all.insert(all.end(), b.begin(), b.end());
    all.insert(all.end(), c.begin(), c.end());
    return all;
}

// Each change runs on a fresh <p k="v"><a/>hello<b/></p>; undo must give back the exact XML from
// before, redo the exact XML from after, and the operations fire the same events each time.
TEST_F(DocumentUndoTest, EveryChangeUndoesAndRedoesExactly)
{
    struct Nodes {
        TestElement* p;
        TestElement* a;
        TestText* t;
        TestElement* b;
    };
    struct Case {
        const char* name;
        std::function<void(Nodes&)> change;
        Lines doLines;
        Lines undoLines;
    };
    auto children = [](const char* before, const char* after) {
        return Lines { std::string("BeforeReplaceChildren(") + before + ")",
            std::string("AfterReplaceChildren(") + after + ")" };
    };
    auto text = [](const char* before) {
        return Lines { std::string("BeforeReplaceText(") + before + ")", "AfterReplaceText(t)" };
    };
    const Lines setW { "BeforeSetAttribute(p,k=w)", "AfterSetAttribute(p,k)" };
    const Lines setV { "BeforeSetAttribute(p,k=v)", "AfterSetAttribute(p,k)" };
    const Lines setN { "BeforeSetAttribute(p,n=1)", "AfterSetAttribute(p,n)" };
    const Lines removeK { "BeforeRemoveAttribute(p,k)", "AfterRemoveAttribute(p,k)" };
    const Lines removeN { "BeforeRemoveAttribute(p,n)", "AfterRemoveAttribute(p,n)" };
    auto fresh = [this](const char* name) { return document().makeElement(name); };
    const Case cases[] = {
        { "append", [&](Nodes& n) { n.p->appendChild(fresh("x")); },
            children("p,child=null,new=x,count=0", "p"),
            children("p,child=x,new=null,count=1", "p") },
        { "insert", [&](Nodes& n) { n.p->insertBefore(fresh("x"), n.t); },
            children("p,child=t,new=x,count=0", "p"), children("p,child=x,new=null,count=1", "p") },
        { "replace", [&](Nodes& n) { n.p->replaceChild(fresh("x"), n.t); },
            children("p,child=t,new=x,count=1", "p"), children("p,child=x,new=t,count=1", "p") },
        { "remove", [&](Nodes& n) { n.p->removeChild(n.t); },
            children("p,child=t,new=null,count=1", "p"), children("p,child=b,new=t,count=0", "p") },
        { "remove the last", [&](Nodes& n) { n.p->removeChild(n.b); },
            children("p,child=b,new=null,count=1", "p"),
            children("p,child=null,new=b,count=0", "p") },
        { "fragment",
            [&](Nodes& n) {
                Plinth::Ref<Arbor::DocumentFragment> f(document().createDocumentFragment());
                f->appendChild(fresh("x"));
                f->appendChild(fresh("y"));
                n.p->insertBefore(f.get(), n.b);
            },
            children("p,child=b,new=x,count=0", "p"), children("p,child=x,new=null,count=2", "p") },
        { "move between parents", [&](Nodes& n) { n.a->appendChild(n.b); },
            concat(children("p,child=b,new=null,count=1", "p"),
                children("a,child=null,new=b,count=0", "a"), {}),
            concat(children("a,child=b,new=null,count=1", "a"),
                children("p,child=null,new=b,count=0", "p"), {}) },
        { "text insertion", [&](Nodes& n) { n.t->insertData(2, u"XY"); }, text("t,2,0,\"XY\""),
            text("t,2,2,null") },
        { "text deletion", [&](Nodes& n) { n.t->deleteData(1, 2); }, text("t,1,2,null"),
            text("t,1,0,\"el\"") },
        { "text replacement", [&](Nodes& n) { n.t->replaceData(1, 3, u"ipp"); },
            text("t,1,3,\"ipp\""), text("t,1,3,\"ell\"") },
        { "split", [&](Nodes& n) { n.t->splitText(2); },
            concat(children("p,child=b,new=t,count=0", "p"), text("t,2,3,null"), {}),
            concat(text("t,2,0,\"llo\""), children("p,child=t,new=null,count=1", "p"), {}) },
        { "attribute added", [&](Nodes& n) { n.p->setAttribute("n", Arbor::LongVariant(1)); }, setN,
            removeN },
        { "attribute overwritten",
            [&](Nodes& n) { n.p->setAttribute("k", Arbor::UStringVariant(u"w")); }, setW, setV },
        { "attribute removed", [&](Nodes& n) { n.p->removeAttribute("k"); }, removeK, setV },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Nodes n;
        n.p = appendElement(root(), "p");
        n.p->setAttribute("k", Arbor::UStringVariant(u"v"));
        n.a = appendElement(n.p, "a");
        n.t = appendText(n.p, u"hello");
        n.b = appendElement(n.p, "b");
        events.clear();

        hookLog().clear();
        expectUndoRedoRestores([&] { c.change(n); });
        const Lines all = concat(c.doLines, c.undoLines, c.doLines);
        EXPECT_EQ(events.take(), all);
        EXPECT_EQ(static_cast<long>(hookLog().size()),
            std::count_if(all.begin(), all.end(),
                [](const std::string& line) { return line.find("Attribute(") != line.npos; }))
            << "one hook call per attribute event";

        root()->removeChild(n.p);
        document().clearUndoStack();
    }
}

TEST_F(DocumentUndoTest, TwoChangesFormOneTask)
{
    TestText* t = appendText(root(), u"ab");
    document().newUndoTask();
    t->appendData(u"c");
    root()->setAttribute("k", Arbor::LongVariant(2));
    const std::string changed = xml(&document());
    events.clear();

    document().undo();
    EXPECT_EQ(xml(t), "ab");
    EXPECT_FALSE(root()->hasAttribute("k"));
    EXPECT_EQ(events.take(),
        (Lines { "BeforeRemoveAttribute(root,k)", "AfterRemoveAttribute(root,k)",
            "BeforeReplaceText(t,2,1,null)", "AfterReplaceText(t)" }));
    EXPECT_TRUE(document().canRedo());

    document().redo();
    EXPECT_EQ(xml(&document()), changed);
    EXPECT_EQ(events.take(),
        (Lines { "BeforeReplaceText(t,2,0,\"c\")", "AfterReplaceText(t)",
            "BeforeSetAttribute(root,k=2)", "AfterSetAttribute(root,k)" }));
    EXPECT_FALSE(document().canRedo());
}

TEST_F(DocumentUndoTest, TaskLimit)
{
    TestText* t = appendText(root(), u"a");
    document().maxUndoTasks(0);
    events.clear();
    t->appendData(u"b");
    EXPECT_EQ(xml(t), "ab");
    EXPECT_EQ(events.lines().size(), 2u) << "changes still fire their events";
    EXPECT_FALSE(document().canUndo());

    document().maxUndoTasks(5);
    t->appendData(u"c");
    document().undo();
    document().redo();
    EXPECT_EQ(xml(t), "abc");
    document().maxUndoTasks(document().maxUndoTasks());
    EXPECT_FALSE(document().canUndo());
    EXPECT_FALSE(document().canRedo());
    EXPECT_EQ(document().maxUndoTasks(), 5u);
}

TEST_F(DocumentUndoTest, HundredAndFirstTaskDropsTheOldest)
{
    TestText* t = appendText(root(), u"");
    document().clearUndoStack();
    for (int i = 0; i < 101; ++i) {
        document().newUndoTask();
        t->appendData(u"x");
    }
    int undone = 0;
    while (document().canUndo()) {
        document().undo();
        ++undone;
    }
    EXPECT_EQ(undone, 100);
    EXPECT_EQ(xml(t), "x") << "the first task was dropped";
}

TEST_F(DocumentUndoTest, NullOperationRunsNoPostedFunction)
{
    int runs = 0;
    document().postedFunctions.push_back(new PostedTask([&] { ++runs; }));
    const Snapshot before = snapshot();
    document().doModelOperation(nullptr);
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(snapshot(), before);
    document().undo(); // nothing to undo, but the queue runs
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(document().postedFunctions.empty());
}

} // namespace

#include "tests/support/Host.h"

#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;
using DocumentUndoTest = HostTest;

// The events of a change written short, one step per ';': "p child new count" and "a ..." are
// child changes of p or a, "t offset count data" a text edit of t, "+k=v" and "-k" attribute
// changes of p.
Lines expand(const std::string& form)
{
    Lines out;
    std::istringstream steps(form);
    for (std::string step; std::getline(steps, step, ';');) {
        std::istringstream in(step);
        std::string a, b, c, d;
        in >> a >> b >> c >> d;
        if (a == "t") {
            out.push_back("BeforeReplaceText(t," + b + "," + c + "," + d + ")");
            out.push_back("AfterReplaceText(t)");
        } else if (a[0] == '+' || a[0] == '-') {
            const std::string kind = a[0] == '+' ? "SetAttribute(p," : "RemoveAttribute(p,";
            out.push_back("Before" + kind + a.substr(1) + ")");
            out.push_back("After" + kind + a.substr(1, a.find('=') - 1) + ")");
        } else {
            out.push_back(
                "BeforeReplaceChildren(" + a + ",child=" + b + ",new=" + c + ",count=" + d + ")");
            out.push_back("AfterReplaceChildren(" + a + ")");
        }
    }
    return out;
}

// Each change runs on a fresh <p k="v"><a/>hello<b/></p>: undo and redo give back the XML (checked
// by expectUndoRedoRestores), fire the inverse and then the same events, and call one attribute
// hook per attribute event.
TEST_F(DocumentUndoTest, EveryChangeFiresItsEventsOnUndoAndRedo)
{
    struct Nodes {
        TestElement *p, *a;
        TestText* t;
        TestElement* b;
    };
    auto fresh = [this](const char* name) { return document().makeElement(name); };
    const struct {
        const char* name;
        std::function<void(Nodes&)> change;
        const char *done, *undone;
    } cases[] = {
        { "append", [&](Nodes& n) { n.p->appendChild(fresh("x")); }, "p null x 0", "p x null 1" },
        { "replace", [&](Nodes& n) { n.p->replaceChild(fresh("x"), n.t); }, "p t x 1", "p x t 1" },
        { "remove", [&](Nodes& n) { n.p->removeChild(n.t); }, "p t null 1", "p b t 0" },
        { "remove the last", [&](Nodes& n) { n.p->removeChild(n.b); }, "p b null 1", "p null b 0" },
        { "fragment",
            [&](Nodes& n) {
                Plinth::Ref<Arbor::DocumentFragment> f(document().createDocumentFragment());
                f->appendChild(fresh("x"));
                f->appendChild(fresh("y"));
                n.p->insertBefore(f.get(), n.b);
            },
            "p b x 0", "p x null 2" },
        { "move between parents", [&](Nodes& n) { n.a->appendChild(n.b); }, "p b null 1;a null b 0",
            "a b null 1;p null b 0" },
        { "text insertion", [&](Nodes& n) { n.t->insertData(2, u"XY"); }, "t 2 0 \"XY\"",
            "t 2 2 null" },
        { "text replacement", [&](Nodes& n) { n.t->replaceData(1, 3, u"ipp"); }, "t 1 3 \"ipp\"",
            "t 1 3 \"ell\"" },
        { "split", [&](Nodes& n) { n.t->splitText(2); }, "p b t 0;t 2 3 null",
            "t 2 0 \"llo\";p t null 1" },
        { "attribute added", [&](Nodes& n) { n.p->setAttribute("n", Arbor::LongVariant(1)); },
            "+n=1", "-n" },
        { "attribute overwritten",
            [&](Nodes& n) { n.p->setAttribute("k", Arbor::UStringVariant(u"w")); }, "+k=w",
            "+k=v" },
        { "attribute removed", [&](Nodes& n) { n.p->removeAttribute("k"); }, "-k", "+k=v" },
    };
    for (const auto& c : cases) {
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
        const Lines done = expand(c.done), undone = expand(c.undone);
        Lines all = done;
        all.insert(all.end(), undone.begin(), undone.end());
        all.insert(all.end(), done.begin(), done.end());
        EXPECT_EQ(events.take(), all);
        EXPECT_EQ(static_cast<long>(hookLog().size()),
            std::count_if(all.begin(), all.end(),
                [](const std::string& line) { return line.find("Attribute(") != line.npos; }));
        root()->removeChild(n.p);
        document().clearUndoStack();
    }
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
    for (; document().canUndo(); ++undone)
        document().undo();
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
}

} // namespace

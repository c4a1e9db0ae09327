// The last unref() of a document that was never torn down: its destructor tears it down itself,
// and the references that ranges and observers take and drop on the way must not destroy it a
// second time.

#include "tests/support/Host.h"
#include "tests/traps/LinkCheck.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Arbor::Range;

// Hears the end of its registrations; optionally holds the document for a moment meanwhile, as a
// host helper keeping a Ref on the document would.
class EndWatcher : public Arbor::IDocObserver {
public:
    Arbor::Document* document = nullptr;
    bool takeReference = false;
    std::vector<std::string> ended;
    bool sawDestruction = true;

    void unObserve(Arbor::Token type) override
    {
        ended.push_back(type.name ? type.name : "all");
        sawDestruction = sawDestruction && document->isBeingDestroyed();
        if (takeReference) Plinth::Ref<Arbor::Document> hold(document);
    }
};

Range* rangeIn(Arbor::Document* doc, bool selected, Arbor::Node* sc, unsigned long so,
    Arbor::Node* ec, unsigned long eo)
{
    Range* range = doc->createRange(selected);
    range->setEnd(ec, eo);
    range->setStart(sc, so);
    return range;
}

} // namespace

TEST(DocumentDestructorTest, LastUnrefWithoutTearDownDestroysOnce)
{
    struct Case {
        const char* name;
        bool observe;
        bool takeReference;
    };
    const Case cases[] = {
        { "no host observer", false, false },
        { "host observer still registered", true, false },
        { "host observer taking a reference in unObserve", true, true },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const long baseline = liveHostObjects();
        EndWatcher watcher;
        Plinth::Ref<Range> held;
        {
            Plinth::Ref<TestDocument> doc(new TestDocument);
            TestElement* root = doc->makeElement("root");
            doc->appendChild(root);
            TestText* text = doc->makeText(u"some text");
            root->appendChild(text);
            TestElement* a = doc->makeElement("a");
            root->appendChild(a);
            a->appendChild(doc->makeText(u"inner"));
            // History: an applied task and an undone one, both holding nodes.
            doc->newUndoTask();
            root->removeChild(a);
            doc->newUndoTask();
            root->appendChild(doc->makeElement("b"));
            text->deleteData(0, 5);
            doc->undo();
            ASSERT_TRUE(doc->canUndo());
            ASSERT_TRUE(doc->canRedo());

            rangeIn(doc.get(), true, text, 1, text, 3);
            rangeIn(doc.get(), true, root, 0, text, 2);
            rangeIn(doc.get(), false, root, 0, root, 1);
            held = Plinth::Ref<Range>(rangeIn(doc.get(), false, text, 0, root, 1));
            ASSERT_EQ(doc->refCount, 1u) << "only the test counts the document";
            if (c.observe) {
                watcher.document = doc.get();
                watcher.takeReference = c.takeReference;
                doc->addObserver(&watcher);
                doc->addObserver(&watcher, Arbor::tok_BeforeReplaceText);
            }
        } // the last reference goes: ~Document runs tearDown itself

        EXPECT_EQ(liveHostObjects(), baseline);
        if (c.observe) {
            EXPECT_EQ(watcher.ended, (std::vector<std::string> { "all", "BeforeReplaceText" }));
            EXPECT_TRUE(watcher.sawDestruction);
        }
        EXPECT_TRUE(held->isDetached());
        EXPECT_EQ(held->parentNode(), nullptr);
    }
}

// The last unref() of a document that was never torn down: its destructor tears it down itself,
// and the references that ranges and observers take and drop on the way must not destroy it a
// second time.

#include "tests/support/Host.h"

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
    std::vector<std::string> heard;
    bool sawDestruction = true;

    void beforeBatchChanges() override { heard.push_back("beforeBatch"); }
    void unObserve(Arbor::Token type) override
    {
        heard.push_back(type.name ? type.name : "all");
        sawDestruction = sawDestruction && document->isBeingDestroyed();
        if (takeReference) Plinth::Ref<Arbor::Document> hold(document);
    }
};

} // namespace

// Released with everything still attached: observers (one registered twice), a history that keeps
// a removed node and an undone insertion, selected, unheld and held ranges. Nothing may outlive it.
TEST(DocumentDestructorTest, LastUnrefWithoutTearDownDestroysOnce)
{
    struct Case {
        const char* name;
        bool observe;
        bool takeReference;
        bool tearDownFirst;
    };
    const Case cases[] = {
        { "no host observer", false, false, false },
        { "host observer still registered", true, false, false },
        { "host observer taking a reference in unObserve", true, true, false },
        { "torn down, then released", true, false, true },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const long baseline = liveHostObjects();
        EndWatcher watcher;
        Plinth::Ref<Range> held;
        {
            Plinth::Ref<TestDocument> doc(new TestDocument);
            TestElement* root = appendElement(doc.get(), "root");
            TestText* text = appendText(root, u"some text");
            TestElement* a = appendElement(root, "a");
            appendText(a, u"inner");
            // History: an applied task and an undone one, both holding nodes.
            doc->newUndoTask();
            root->removeChild(a);
            doc->newUndoTask();
            appendElement(root, "b");
            text->deleteData(0, 5);
            doc->undo();
            ASSERT_TRUE(doc->canUndo());
            ASSERT_TRUE(doc->canRedo());

            newRange(doc.get(), true, text, 1, text, 3);
            newRange(doc.get(), true, root, 0, text, 2);
            newRange(doc.get(), false, root, 0, root, 1);
            held = Plinth::Ref<Range>(newRange(doc.get(), false, text, 0, root, 1));
            ASSERT_EQ(doc->refCount, 1u) << "only the test counts the document";
            if (c.observe) {
                watcher.document = doc.get();
                watcher.takeReference = c.takeReference;
                doc->addObserver(&watcher);
                doc->addObserver(&watcher, Arbor::tok_BeforeReplaceText);
            }
            if (c.tearDownFirst) doc->tearDown();
        } // the last reference goes: ~Document runs tearDown itself

        EXPECT_EQ(liveHostObjects(), baseline);
        if (c.observe) {
            EXPECT_EQ(watcher.heard,
                (std::vector<std::string> {
                    "beforeBatch", "beforeBatch", "all", "BeforeReplaceText" }));
            EXPECT_EQ(watcher.sawDestruction, !c.tearDownFirst);
        }
        EXPECT_TRUE(held->isDetached());
        EXPECT_EQ(held->parentNode(), nullptr);
    }
}

#include "tests/allocfail/FailingAllocator.h"
#include "tests/support/Host.h"
#include "tests/support/Links.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// Every allocating path, run with its first, second, third... allocation failed until it
// completes: the failure reaches the caller as std::bad_alloc, nothing leaks, the links stay
// sound and the document keeps the state the failed change promises.

namespace {

using Arbor::Node;

/// What a failed change leaves behind.
enum class Promise {
    Unchanged, ///< the state from before the change
    Atomic, ///< the state from before or the state from after (a change is applied but its undo
            ///< record could not be kept)
    Sound, ///< any state whose links are sound (changes made of two steps)
};

/// One run's objects: a document with content, a detached element and whatever the scenario keeps.
struct World {
    Plinth::Ref<TestDocument> document { new TestDocument };
    TestElement* root = nullptr;
    TestElement* p = nullptr;
    TestText* text = nullptr;
    Plinth::Ref<TestElement> detached;
    Plinth::Ref<TestText> detachedText;
    std::vector<Plinth::Ref<Node>> kept;
    Plinth::Ref<Arbor::Range> range;
    std::string name;
    std::string output;

    World()
    {
        root = appendElement(document.get(), "root");
        p = appendElement(root, "p");
        p->setAttribute(Arbor::Token("class"), Arbor::StringVariant("intro"));
        text = appendText(p, u"hello world");
        appendElement(root, "q");
        detached = Plinth::Ref<TestElement>(document->makeElement("d"));
        detachedText = Plinth::Ref<TestText>(appendText(detached.get(), u"detached text"));
        document->clearUndoStack();
        kept.reserve(8); // so keeping a node never fails after the node was made
    }

    ~World()
    {
        range.reset();
        document->tearDown();
    }

    std::string xml() const
    {
        std::ostringstream os;
        document->putXml(os);
        detached->putXml(os);
        for (const auto& node : kept)
            node->putXml(os);
        return os.str();
    }
};

struct Scenario {
    using Step = std::function<void(World&)>;
    using State = std::function<std::string(World&)>;

    const char* name;
    Promise promise;
    Step setup;
    Step action;
    /// The state compared before and after; the XML of everything the world holds by default.
    State state = nullptr;
    /// The library may absorb the failure itself (a stream that turns bad instead of throwing).
    bool mayAbsorb = false;
};

std::string stateOf(const Scenario& scenario, World& world)
{
    return scenario.state ? scenario.state(world) : world.xml();
}

unsigned long tokenRun = 0;

const Scenario scenarios[] = {
    { "interning a new name", Promise::Unchanged,
        [](World& w) { w.name = "allocfail:name:" + std::to_string(++tokenRun); },
        [](World& w) { Arbor::Token token(w.name.c_str()); },
        [](World& w) {
            return std::string(Arbor::Token::find(w.name.c_str()).isNull() ? "new" : "interned");
        } },
    { "creating text", Promise::Unchanged, nullptr,
        [](World& w) { w.kept.emplace_back(w.document->createTextNode(u"a new text node")); } },
    { "creating an element", Promise::Unchanged, nullptr,
        [](World& w) { w.kept.emplace_back(w.document->createElement(Arbor::Token("made"))); } },
    { "creating a document", Promise::Unchanged, nullptr,
        [](World&) { Plinth::Ref<TestDocument> other(new TestDocument); } },
    { "editing detached text", Promise::Unchanged, nullptr,
        [](World& w) { w.detachedText->replaceData(2, 3, u"XYZ"); } },
    { "editing text in the content", Promise::Atomic, nullptr,
        [](World& w) { w.text->replaceData(2, 3, u"XYZ"); } },
    { "copying a substring", Promise::Unchanged, nullptr,
        [](World& w) { std::free(w.text->substringData(1, 4)); } },
    // With a parent the split is two steps: a failed cut leaves the new node inserted.
    { "splitting detached text", Promise::Sound, nullptr,
        [](World& w) { w.detachedText->splitText(4); } },
    { "splitting parentless text", Promise::Unchanged,
        [](World& w) { w.kept.emplace_back(w.document->makeText(u"parentless text")); },
        [](World& w) { static_cast<Arbor::Text*>(w.kept.back().get())->splitText(4); },
        [](World& w) {
            Node* lone = w.kept.back().get();
            return w.xml() + "+" + (lone->nextSibling() ? "split" : "whole");
        } },
    { "splitting text in the content", Promise::Sound, nullptr,
        [](World& w) { w.text->splitText(4); } },
    { "string attribute in the content", Promise::Atomic, nullptr,
        [](World& w) {
            w.p->setAttribute(Arbor::Token("title"), Arbor::StringVariant("a title"));
        } },
    { "UTF-16 attribute on a detached element", Promise::Unchanged, nullptr,
        [](World& w) {
            w.detached->setAttribute(Arbor::Token("title"), Arbor::UStringVariant(u"wide"));
        } },
    { "shared string variants", Promise::Unchanged, nullptr,
        [](World&) {
            Arbor::FixedStringVariant narrow(Plinth::FixedStringBase<char>("narrow"));
            Arbor::FixedUStringVariant wide(Plinth::FixedStringBase<char16_t>(u"wide"));
            Arbor::Variant copy = narrow;
            copy = wide;
        } },
    { "removing an attribute in the content", Promise::Atomic, nullptr,
        [](World& w) { w.p->removeAttribute(Arbor::Token("class")); } },
    { "registering an observer", Promise::Unchanged, nullptr,
        [](World& w) {
            static EventLog log;
            w.document->addObserver(&log, Arbor::tok_AfterReplaceText);
        },
        [](World& w) { return std::to_string(w.document->observers.size()); } },
    { "posting a function from an observer", Promise::Atomic,
        [](World& w) {
            // A post that cannot queue the function leaves it to the poster.
            static CallbackObserver poster;
            poster.react = [document = w.document.get()](Arbor::DomEvent&) {
                std::unique_ptr<Arbor::Functor> task(new PostedTask);
                document->postFunction(task.get());
                task.release();
            };
            w.document->addObserver(&poster);
        },
        [](World& w) { w.text->appendData(u"!"); } },
    { "appending in the content", Promise::Atomic,
        [](World& w) { w.kept.emplace_back(w.document->makeElement("new")); },
        [](World& w) { w.root->appendChild(w.kept.back().get()); } },
    { "removing from the content", Promise::Atomic, nullptr,
        [](World& w) { w.root->removeChild(w.root->lastChild()); } },
    { "moving between parents in the content", Promise::Sound, nullptr,
        [](World& w) { w.root->appendChild(w.text); } },
    { "undoing", Promise::Atomic,
        [](World& w) {
            w.text->appendData(u" again");
            w.document->newUndoTask();
            w.text->replaceData(0, 5, u"goodbye");
        },
        [](World& w) { w.document->undo(); } },
    { "redoing", Promise::Atomic,
        [](World& w) {
            w.root->appendChild(w.document->makeElement("r"));
            w.document->undo();
        },
        [](World& w) { w.document->redo(); } },
    // A task fails part way: its earlier changes stay undone and the history is dropped.
    { "undoing a task of two changes", Promise::Sound,
        [](World& w) {
            w.text->appendData(u" again");
            w.root->appendChild(w.document->makeElement("r"));
        },
        [](World& w) { w.document->undo(); } },
    { "unpacking a fragment", Promise::Atomic,
        [](World& w) {
            Arbor::DocumentFragment* fragment = w.document->createDocumentFragment();
            w.kept.emplace_back(fragment);
            fragment->appendChild(w.document->makeText(u"one"));
            fragment->appendChild(w.document->makeElement("two"));
            fragment->appendChild(w.document->makeText(u"three"));
        },
        [](World& w) { w.root->insertBefore(w.kept.back().get(), w.p); },
        [](World& w) {
            std::ostringstream os;
            w.document->putXml(os);
            return os.str() + std::to_string(w.kept.back()->items());
        } },
    { "making and moving a selected range", Promise::Sound, nullptr,
        [](World& w) {
            w.range = Plinth::Ref<Arbor::Range>(w.document->createRange(true));
            w.range->setEnd(w.text, 5);
            w.range->setStart(w.text, 2);
            w.text->replaceData(0, 3, u"text under the range");
        } },
    { "cloning a range", Promise::Unchanged,
        [](World& w) {
            w.range = Plinth::Ref<Arbor::Range>(w.document->createRange(false));
            w.range->selectNodeContents(w.p);
        },
        [](World& w) { w.kept.emplace_back(w.range->cloneRange(true)); } },
    { "cloning a subtree", Promise::Unchanged, nullptr,
        [](World& w) { Plinth::Ref<Node> copy(w.root->cloneNode(true)); } },
    { "writing XML", Promise::Sound, nullptr,
        [](World& w) {
            std::ostringstream os;
            w.document->putXml(os);
            w.detached->putXml(os);
            w.output = os ? os.str() : "bad stream";
        },
        [](World& w) { return w.output; }, true },
};

} // namespace

TEST(AllocationFailureTest, EveryAllocationFailedInTurn)
{
    unsigned long injected = 0;
    for (const Scenario& scenario : scenarios) {
        SCOPED_TRACE(scenario.name);
        std::string after;
        {
            World world;
            if (scenario.setup) scenario.setup(world);
            scenario.action(world);
            after = stateOf(scenario, world);
        }
        for (unsigned long k = 1;; ++k) {
            SCOPED_TRACE("allocation " + std::to_string(k));
            const long live = liveHostObjects();
            bool done = false;
            {
                World world;
                if (scenario.setup) scenario.setup(world);
                const std::string before = stateOf(scenario, world);
                bool thrown = false;
                AllocFail::arm(k);
                try {
                    scenario.action(world);
                } catch (const std::bad_alloc&) {
                    thrown = true;
                }
                const bool failed = AllocFail::disarm();
                const std::string state = stateOf(scenario, world);
                if (!failed) {
                    EXPECT_FALSE(thrown);
                    EXPECT_EQ(state, after);
                    done = true;
                } else {
                    ++injected;
                    if (!thrown && !scenario.mayAbsorb)
                        ADD_FAILURE() << "the failure did not reach the caller";
                    if (scenario.promise == Promise::Unchanged) {
                        EXPECT_EQ(state, before);
                    } else if (scenario.promise == Promise::Atomic) {
                        EXPECT_TRUE(state == before || state == after) << state;
                    }
                }
                EXPECT_LINKS_SOUND({ world.document.get(), world.detached.get() });
            }
            EXPECT_EQ(liveHostObjects(), live) << "host objects leaked";
            if (done || k > 10000 || ::testing::Test::HasFailure()) break;
        }
    }
    std::cout << "allocation failures injected: " << injected
              << (AllocFail::countsMalloc() ? " (operator new and malloc)" : " (operator new only)")
              << "\n";
    if (*AllocFail::skipped()) std::cout << "not replaced: " << AllocFail::skipped() << "\n";
}

// Text lengths may be counted a block at a time inside a buffer's malloc block, as far as the
// allocator says the block reaches. An allocator that replaces malloc but not the call that tells
// a block's size (this program's) must not be asked: its blocks are not the C library's, and a
// count that trusted the C library's answer here would run into the unreadable page behind.
TEST(AllocationFailureTest, ForeignMallocBlocksAreReadOnlyUpToTheTerminator)
{
    if (!AllocFail::countsMalloc()) GTEST_SKIP() << AllocFail::skipped();
    Plinth::Ref<TestDocument> document(new TestDocument);
    AllocFail::guardNextMalloc(16); // seven units and the terminator
    Plinth::Ref<TestText> text(document->makeText(u"abcdefg"));
    EXPECT_EQ(text->length(), 7u);
    text->appendData(u"h");
    EXPECT_EQ(text->length(), 8u);
}

#include "tests/support/Host.h"
#include "tests/tree/TreeCheck.h"

#include <climits>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

using TextTest = HostTest;

namespace {

// What a text holds, "" for a null buffer, "(empty buffer)" for an allocated empty one.
std::string held(Arbor::Text* text)
{
    if (text->data() && !*text->data()) return "(empty buffer)";
    return ascii(text->data());
}

} // namespace

TEST_F(TextTest, EmptyTextHasNoBuffer)
{
    Plinth::Ref<TestText> fromEmpty(document().makeText(u""));
    Plinth::Ref<Arbor::Text> fromNull(document().createTextNode(nullptr));
    for (Arbor::Text* text : { static_cast<Arbor::Text*>(fromEmpty.get()), fromNull.get() }) {
        EXPECT_EQ(text->length(), 0u);
        EXPECT_EQ(text->items(), 0u);
        EXPECT_EQ(text->data(), nullptr);
    }
    const char16_t source[] = u"ab";
    fromEmpty->appendData(source);
    EXPECT_EQ(held(fromEmpty.get()), "ab");
    EXPECT_NE(fromEmpty->data(), source) << "the node keeps its own copy";
}

// Every form of the edit, on a detached text (applied at once) and on one in the document (an
// undoable operation; refused edits leave the document as it was).
TEST_F(TextTest, EditsClipCountsAndRefuseOffsetsPastTheEnd)
{
    using Edit = std::function<void(Arbor::Text&)>;
    struct Case {
        const char* name;
        const char16_t* initial;
        Edit edit;
        const char* expected; // null: INDEX_SIZE_ERR
    };
    const Case cases[] = {
        { "replace inside", u"hello", [](Arbor::Text& t) { t.replaceData(1, 2, u"XY"); }, "hXYlo" },
        { "replace nothing by nothing", u"hello",
            [](Arbor::Text& t) { t.replaceData(1, 0, nullptr); }, "hello" },
        { "replace all by empty string", u"hello", [](Arbor::Text& t) { t.replaceData(0, 5, u""); },
            "" },
        { "huge count from the start", u"hello",
            [](Arbor::Text& t) { t.replaceData(0, ULONG_MAX, u"Z"); }, "Z" },
        { "huge count from the middle", u"hello",
            [](Arbor::Text& t) { t.replaceData(2, ULONG_MAX, u"Z"); }, "heZ" },
        { "huge count at the end", u"hello",
            [](Arbor::Text& t) { t.replaceData(5, ULONG_MAX, u"!"); }, "hello!" },
        { "replace past the end", u"hello", [](Arbor::Text& t) { t.replaceData(6, 0, u"x"); },
            nullptr },
        { "huge offset", u"hello", [](Arbor::Text& t) { t.replaceData(ULONG_MAX, 1, u"x"); },
            nullptr },
        { "delete huge from the start", u"hello",
            [](Arbor::Text& t) { t.deleteData(0, ULONG_MAX); }, "" },
        { "delete huge from the middle", u"hello",
            [](Arbor::Text& t) { t.deleteData(2, ULONG_MAX); }, "he" },
        { "delete huge at the end", u"hello", [](Arbor::Text& t) { t.deleteData(5, ULONG_MAX); },
            "hello" },
        { "delete inside", u"hello", [](Arbor::Text& t) { t.deleteData(1, 3); }, "ho" },
        { "delete length", u"hello", [](Arbor::Text& t) { t.deleteData(0, t.length()); }, "" },
        { "insert at the end", u"hello", [](Arbor::Text& t) { t.insertData(5, u"!"); }, "hello!" },
        { "insert past the end", u"hello", [](Arbor::Text& t) { t.insertData(6, u"!"); }, nullptr },
        { "append empty", u"hello", [](Arbor::Text& t) { t.appendData(u""); }, "hello" },
        { "append to empty", u"", [](Arbor::Text& t) { t.appendData(u"ab"); }, "ab" },
        { "set null", u"hello", [](Arbor::Text& t) { t.setData(nullptr); }, "" },
        { "set", u"hello", [](Arbor::Text& t) { t.setData(u"new"); }, "new" },
        { "set node value", u"", [](Arbor::Text& t) { t.setNodeValue(u"v"); }, "v" },
        { "empty: huge count", u"", [](Arbor::Text& t) { t.replaceData(0, ULONG_MAX, u"abc"); },
            "abc" },
        { "empty: nothing", u"", [](Arbor::Text& t) { t.replaceData(0, 0, nullptr); }, "" },
        { "empty: offset 1", u"", [](Arbor::Text& t) { t.insertData(1, u"x"); }, nullptr },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        Plinth::Ref<TestText> detached(document().makeText(test.initial));
        TestText* inDocument = appendText(root(), test.initial);
        if (!test.expected) {
            expectDomError(1, [&] { test.edit(*detached); });
            EXPECT_EQ(held(detached.get()), ascii(test.initial));
            const Snapshot before = snapshot();
            expectDomError(1, [&] { test.edit(*inDocument); });
            EXPECT_EQ(snapshot(), before);
        } else {
            test.edit(*detached);
            EXPECT_EQ(held(detached.get()), test.expected);
            EXPECT_EQ(detached->length(), std::string(test.expected).size());
            expectUndoRedoRestores([&] { test.edit(*inDocument); });
            EXPECT_EQ(held(inDocument), test.expected);
        }
        root()->removeChild(inDocument);
    }
}

TEST_F(TextTest, SubstringDataClips)
{
    struct Case {
        const char16_t* initial;
        unsigned long offset;
        unsigned long count;
        const char* expected; // "" for null; null: INDEX_SIZE_ERR
    };
    const Case cases[] = {
        { u"hello", 0, 0, "" },
        { u"hello", 5, 5, "" },
        { u"hello", 2, 100, "llo" },
        { u"hello", 4, 1, "o" },
        { u"hello", 0, ULONG_MAX, "hello" },
        { u"hello", 2, ULONG_MAX, "llo" },
        { u"hello", 5, ULONG_MAX, "" },
        { u"hello", 6, 1, nullptr },
        { u"hello", ULONG_MAX, 1, nullptr },
        { u"", 0, 5, "" },
        { u"", 0, ULONG_MAX, "" },
        { u"", 1, 0, nullptr },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(ascii(test.initial) + " " + std::to_string(test.offset) + " "
            + std::to_string(test.count));
        Plinth::Ref<TestText> text(document().makeText(test.initial));
        if (!test.expected) {
            expectDomError(1, [&] { std::free(text->substringData(test.offset, test.count)); });
            continue;
        }
        char16_t* part = text->substringData(test.offset, test.count);
        EXPECT_EQ(ascii(part), test.expected);
        EXPECT_EQ(part == nullptr, !*test.expected) << "an empty result is null";
        std::free(part);
    }
}

// The offset is checked first, then read-only, then the node's own refusal, all before any change.
TEST_F(TextTest, RefusalOrder)
{
    TestText* t = appendText(root(), u"abc");
    struct Case {
        const char* name;
        bool readOnly;
        bool refuse;
        std::function<void()> call;
        long code;
    };
    const Case cases[] = {
        { "offset before read-only", true, true, [&] { t->replaceData(4, 0, u"x"); }, 1 },
        { "read-only before refusal", true, true, [&] { t->replaceData(0, 1, u"x"); }, 7 },
        { "refusal", false, true, [&] { t->deleteData(0, 1); }, 3 },
        { "split: offset before read-only", true, false, [&] { t->splitText(4); }, 1 },
        { "split: read-only", true, false, [&] { t->splitText(1); }, 7 },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        t->readOnlyNode = test.readOnly;
        t->refuseEdit = test.refuse;
        const Snapshot before = snapshot();
        expectDomError(test.code, test.call);
        EXPECT_EQ(snapshot(), before);
    }
}

TEST_F(TextTest, SplitParentlessText)
{
    struct Case {
        unsigned long offset;
        const char* chain; // null: INDEX_SIZE_ERR
    };
    const Case cases[] = {
        { 0, "'' 'abc'" },
        { 1, "'a' 'bc'" },
        { 3, "'abc' ''" },
        { 4, nullptr },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.offset);
        Plinth::Ref<TestText> text(document().makeText(u"abc"));
        text->refuseEdit = true; // not asked on this path
        if (!test.chain) {
            expectDomError(1, [&] { text->splitText(test.offset); });
            EXPECT_EQ(siblings(text.get()), "'abc'");
            continue;
        }
        Arbor::Text* tail = text->splitText(test.offset);
        EXPECT_EQ(siblings(text.get()), test.chain);
        EXPECT_EQ(text->next, tail);
        EXPECT_EQ(tail->refCount, 1u) << "held by the link from the first part";
        EXPECT_EQ(tail->document, &document());
        for (Arbor::Text* part : { static_cast<Arbor::Text*>(text.get()), tail })
            EXPECT_NE(held(part), "(empty buffer)");
    }

    // Splitting again puts the new node between the two.
    Plinth::Ref<TestText> text(document().makeText(u"abcdef"));
    text->splitText(4);
    text->splitText(2);
    EXPECT_EQ(siblings(text.get()), "'ab' 'cd' 'ef'");
}

TEST_F(TextTest, SplitInsideTheDocumentIsTwoOperations)
{
    TestText* t = appendText(root(), u"abcdef");
    appendElement(root(), "after");
    events.clear();
    document().newUndoTask();
    Arbor::Text* tail = t->splitText(2);
    EXPECT_EQ(children(root()), "'ab' 'cdef' after");
    EXPECT_EQ(tail->refCount, 1u);
    EXPECT_EQ(events.take(),
        (std::vector<std::string> { "BeforeReplaceChildren(root,child=after,new=t,count=0)",
            "AfterReplaceChildren(root)", "BeforeReplaceText(t,2,4,null)",
            "AfterReplaceText(t)" }));
    document().undo();
    EXPECT_EQ(children(root()), "'abcdef' after");
    document().redo();
    EXPECT_EQ(children(root()), "'ab' 'cdef' after");
}

TEST_F(TextTest, SplitWithAParentThatRefuses)
{
    // The edit refused after the insertion: the new node stays, the text keeps everything.
    TestText* t = appendText(root(), u"abcdef");
    t->refuseEdit = true;
    expectDomError(3, [&] { t->splitText(3); });
    EXPECT_EQ(children(root()), "'abcdef' 'def'");
    // Only the tree holds it: the reference splitText kept across the refused edit is gone.
    EXPECT_EQ(t->nextSibling()->refCount, 1u);
    events.clear();

    // The insertion refused: nothing changes and the new node is released.
    Plinth::Ref<TestElement> parent(document().makeElement("p"));
    TestText* u = appendText(parent.get(), u"abcdef");
    appendElement(parent.get(), "k");
    parent->refuseChildren = true;
    expectDomError(3, [&] { u->splitText(3); });
    EXPECT_EQ(children(parent.get()), "'abcdef' k");

    // A detached parent: the new node goes right after the text.
    parent->refuseChildren = false;
    u->splitText(2);
    EXPECT_EQ(children(parent.get()), "'ab' 'cdef' k");
    EXPECT_TRUE(events.lines().empty());
}

TEST_F(TextTest, CloneCopiesTheData)
{
    TestText* source = appendText(root(), u"abc");
    events.clear();
    for (bool deep : { false, true }) {
        SCOPED_TRACE(deep);
        Plinth::Ref<Arbor::Node> copy(source->cloneNode(deep));
        Arbor::Text* text = copy->asText();
        ASSERT_NE(text, nullptr);
        EXPECT_EQ(held(text), "abc");
        EXPECT_NE(text->data(), source->data());
        EXPECT_EQ(text->parent, nullptr);
        EXPECT_EQ(text->document, &document());
        text->appendData(u"!");
        EXPECT_EQ(held(source), "abc");
    }
    Plinth::Ref<Arbor::Node> empty(
        Plinth::Ref<TestText>(document().makeText(nullptr))->cloneNode(true));
    EXPECT_EQ(empty->asText()->data(), nullptr);
    EXPECT_TRUE(events.lines().empty());
}

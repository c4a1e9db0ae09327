#include "tests/support/Host.h"

#include <climits>
#include <functional>
#include <string>

using CommentTest = HostTest;

namespace {

Arbor::DataNode* makeData(Arbor::Document& document, bool comment, const char16_t* data)
{
    if (comment) return document.createComment(data);
    return document.createProcessingInstruction(Arbor::Token("pi"), data);
}

} // namespace

TEST_F(CommentTest, NodesOfTheirOwnKind)
{
    Plinth::Ref<Arbor::Comment> comment(document().createComment(u"note"));
    Plinth::Ref<Arbor::ProcessingInstruction> pi(
        document().createProcessingInstruction(Arbor::Token("style"), u"href=\"a.css\""));
    Plinth::Ref<Arbor::ProcessingInstruction> bare(
        document().createProcessingInstruction(Arbor::Token("go"), nullptr));
    EXPECT_EQ(comment->nodeType(), 8);
    EXPECT_EQ(std::string(comment->nodeName()), "#comment");
    EXPECT_EQ(pi->nodeType(), 7);
    EXPECT_EQ(pi->nodeName(), Arbor::Token("style"));
    EXPECT_EQ(pi->target(), Arbor::Token("style"));
    for (Arbor::Node* node :
        { static_cast<Arbor::Node*>(comment.get()), static_cast<Arbor::Node*>(pi.get()) }) {
        EXPECT_EQ(node->asText(), nullptr) << "text collectors must not pick up markup data";
        EXPECT_EQ(node->firstChild(), nullptr);
        EXPECT_EQ(node->ownerDocument(), &document());
        Plinth::Ref<Arbor::Text> child(document().createTextNode(u"x"));
        expectDomError(3, [&] { node->appendChild(child.get()); });
    }
    EXPECT_EQ(comment->items(), 4u);
    EXPECT_EQ(xml(comment.get()), "<!--note-->");
    EXPECT_EQ(xml(pi.get()), "<?style href=\"a.css\"?>");
    EXPECT_EQ(xml(bare.get()), "<?go?>");
    EXPECT_EQ(Arbor::dataUtf8(pi.get()), "href=\"a.css\"");
    Plinth::Ref<Arbor::Comment> utf8(Arbor::createCommentUtf8(&document(), "caf\xC3\xA9 <&>"));
    EXPECT_EQ(xml(utf8.get()), "<!--caf\xC3\xA9 <&>-->") << "comment data is not escaped";
}

// Data and targets that could not be written back are refused at creation and by every edit;
// a refused edit changes nothing, in or out of the document.
TEST_F(CommentTest, RefusesWhatCannotBeWrittenBack)
{
    struct Case {
        bool comment;
        const char16_t* data;
        bool accepted;
    };
    const Case cases[] = {
        { true, u"a-b - c", true },
        { true, u"a--b", false },
        { true, u"ends-", false },
        { true, u"-", false },
        { true, u"-starts", true },
        { true, u"tab\tand\nline", true },
        { true, u"cr\r", false },
        { true, u"bell\a", false },
        { true, u"\xFFFF", false },
        { true, u"lone \xD800 high", false },
        { true, u"pair \xD83D\xDE00", true },
        { false, u"a ? > b", true },
        { false, u"a?>b", false },
        { false, u" leading", false },
        { false, u"trailing ", true },
        { false, u"--", true },
    };
    TestElement* holder = appendElement(root(), "holder");
    for (const Case& c : cases) {
        SCOPED_TRACE(ascii(c.data));
        if (!c.accepted) {
            expectDomError(5, [&] { delete makeData(document(), c.comment, c.data); });
        } else {
            Plinth::Ref<Arbor::DataNode> made(makeData(document(), c.comment, c.data));
            EXPECT_EQ(made->length(), std::u16string(c.data).size());
        }
        // The same data made by edits of an accepted node: detached, and in the document.
        Plinth::Ref<Arbor::DataNode> detached(makeData(document(), c.comment, u"x"));
        Arbor::DataNode* inside = makeData(document(), c.comment, u"x");
        holder->appendChild(inside);
        const Snapshot before = snapshot();
        for (Arbor::DataNode* node : { detached.get(), inside }) {
            const auto edit = [&] { node->replaceData(0, 1, c.data); };
            if (c.accepted) {
                edit();
                EXPECT_EQ(Arbor::dataUtf8(node), Arbor::utf8FromUtf16(c.data));
            } else {
                expectDomError(5, edit);
                EXPECT_EQ(Arbor::dataUtf8(node), "x");
            }
        }
        if (!c.accepted) {
            EXPECT_EQ(snapshot(), before);
        }
        holder->removeChild(inside);
    }
    // Edits are checked on the data they leave: "-" next to "-" makes "--".
    Plinth::Ref<Arbor::Comment> comment(document().createComment(u"a-b"));
    expectDomError(5, [&] { comment->insertData(1, u"-"); });
    expectDomError(5, [&] { comment->deleteData(2, 1); });
    expectDomError(1, [&] { comment->insertData(4, u"c"); });
    comment->deleteData(1, ULONG_MAX);
    EXPECT_EQ(Arbor::dataUtf8(comment.get()), "a");
    Plinth::Ref<Arbor::ProcessingInstruction> pi(
        document().createProcessingInstruction(Arbor::Token("p"), u"a>"));
    expectDomError(5, [&] { pi->insertData(1, u"?"); });
    expectDomError(5, [&] { pi->insertData(0, u" "); });

    for (const char* target : { "xml", "XmL", "1st", "a b", "", "\xC3" })
        expectDomError(5, [&] { delete document().createProcessingInstruction(target, nullptr); });
    for (const char* target : { "xml-stylesheet", "xmlx", "_a.b:c", "\xC3\xA9t\xC3\xA9" })
        delete document().createProcessingInstruction(target, nullptr);
    expectDomError(5, [&] { delete document().createProcessingInstruction(Arbor::Token(), u"d"); });
}

// In the document, every data change is an undoable operation announced like a text edit, and
// ranges inside the node follow it.
TEST_F(CommentTest, EditsInTheDocumentAreUndoableWithEventsAndRanges)
{
    for (bool comment : { true, false }) {
        Arbor::DataNode* node = makeData(document(), comment, u"abcdef");
        root()->appendChild(node);
        const std::string name = comment ? "#comment" : "pi";
        Plinth::Ref<Arbor::Range> inside = range(node, 1, node, 4);
        events.clear();
        expectUndoRedoRestores([&] { node->replaceData(2, 2, u"XYZ"); });
        EXPECT_EQ(events.take(),
            (std::vector<std::string> { "BeforeReplaceText(" + name + ",2,2,\"XYZ\")",
                "AfterReplaceText(" + name + ")", "BeforeReplaceText(" + name + ",2,3,\"cd\")",
                "AfterReplaceText(" + name + ")", "BeforeReplaceText(" + name + ",2,2,\"XYZ\")",
                "AfterReplaceText(" + name + ")" }));
        EXPECT_EQ(Arbor::dataUtf8(node), "abXYZef");
        EXPECT_EQ(points(inside.get()), "(" + name + ",1)-(" + name + ",2)");
        node->insertData(0, u"12");
        EXPECT_EQ(points(inside.get()), "(" + name + ",3)-(" + name + ",4)");
        document().newUndoTask();
        node->setData(nullptr);
        EXPECT_EQ(node->data(), nullptr);
        EXPECT_EQ(points(inside.get()), "(" + name + ",0)-(" + name + ",0)");
        document().undo();
        EXPECT_EQ(Arbor::dataUtf8(node), "12abXYZef");
        root()->removeChild(node);
    }
}

// Comments and processing instructions move, copy and unpack like any node.
TEST_F(CommentTest, TakePartInChildReplacementCloningAndFragments)
{
    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    fragment->appendChild(document().createComment(u"c"));
    fragment->appendChild(document().createProcessingInstruction(Arbor::Token("p"), u"d"));
    Plinth::Ref<Arbor::Node> copy(fragment->cloneNode(true));
    TestElement* element = appendElement(root(), "e");
    expectUndoRedoRestores([&] { element->appendChild(fragment.get()); });
    EXPECT_EQ(xml(element), "<e><!--c--><?p d?></e>");
    EXPECT_EQ(fragment->firstChild(), nullptr);

    Plinth::Ref<Arbor::Node> deep(element->cloneNode(true));
    EXPECT_EQ(xml(deep.get()), "<e><!--c--><?p d?></e>");
    auto* copied = static_cast<Arbor::Comment*>(deep->firstChild());
    copied->setData(u"changed");
    EXPECT_EQ(xml(element), "<e><!--c--><?p d?></e>") << "the copy has its own data";
    ASSERT_NE(copy->firstChild(), nullptr);
    EXPECT_EQ(copy->firstChild()->nodeType(), 8);
    EXPECT_EQ(copy->lastChild()->nodeName(), Arbor::Token("p"));

    element->replaceChild(copy.get(), element->firstChild());
    EXPECT_EQ(xml(element), "<e><!--c--><?p d?><?p d?></e>");
}

#include "arbor/foundation/internal/Unicode.h"
#include "tests/support/Host.h"

#include <climits>
#include <string>
#include <vector>

using CommentTest = HostTest;

namespace {

Arbor::DataNode* makeData(Arbor::Document& document, bool comment, const char16_t* data)
{
    if (comment) return document.createComment(data);
    return document.createProcessingInstruction(Arbor::Token("pi"), data);
}

} // namespace

// Comments and processing instructions are nodes of their own kind that take no children; deep
// copies of their parents give them data of their own.
TEST_F(CommentTest, NodesOfTheirOwnKind)
{
    TestElement* element = appendElement(root(), "e");
    Arbor::Comment* comment = document().createComment(u"note");
    element->appendChild(comment);
    Arbor::ProcessingInstruction* pi
        = document().createProcessingInstruction(Arbor::Token("style"), u"d");
    element->appendChild(pi);
    EXPECT_EQ(comment->nodeType(), 8);
    EXPECT_EQ(std::string(comment->nodeName()), "#comment");
    EXPECT_EQ(comment->items(), 4u);
    EXPECT_EQ(comment->asText(), nullptr) << "text collectors must not pick up markup data";
    Plinth::Ref<Arbor::Text> child(document().createTextNode(u"x"));
    expectDomError(3, [&] { comment->appendChild(child.get()); });
    EXPECT_EQ(pi->nodeType(), 7);
    EXPECT_EQ(pi->nodeName(), Arbor::Token("style"));
    EXPECT_EQ(pi->target(), pi->nodeName());
    Plinth::Ref<Arbor::Comment> utf8(Arbor::createCommentUtf8(&document(), "caf\xC3\xA9 <&>"));
    EXPECT_EQ(xml(utf8.get()), "<!--caf\xC3\xA9 <&>-->") << "comment data is not escaped";

    Plinth::Ref<Arbor::Node> deep(element->cloneNode(true));
    static_cast<Arbor::DataNode*>(deep->firstChild())->setData(u"changed");
    static_cast<Arbor::DataNode*>(deep->lastChild())->setData(u"x");
    EXPECT_EQ(xml(deep.get()), "<e><!--changed--><?style x?></e>");
    EXPECT_EQ(xml(element), "<e><!--note--><?style d?></e>");
}

// Data and targets that could not be written back are refused at creation and by every edit; a
// refused edit changes nothing.
TEST_F(CommentTest, RefusesWhatCannotBeWrittenBack)
{
    const struct {
        bool comment;
        std::vector<const char16_t*> accepted, refused;
    } kinds[] = {
        { true, { u"a-b - c", u"-starts", u"tab\tand\nline", u"pair \xD83D\xDE00" },
            { u"a--b", u"ends-", u"-", u"cr\r", u"bell\a", u"\xFFFF", u"lone \xD800 high",
                u"\xDFFF", u"end \xD83D" } },
        { false, { u"a ? > b", u"trailing ", u"--" },
            { u"a?>b", u" leading", u"\tx", u"\nx", u"bell\a" } },
    };
    for (const auto& kind : kinds) {
        const bool comment = kind.comment;
        Arbor::DataNode* node = makeData(document(), comment, u"x");
        root()->appendChild(node);
        for (const char16_t* data : kind.refused) {
            SCOPED_TRACE(ascii(data));
            const Snapshot before = snapshot();
            expectDomError(5, [&] { delete makeData(document(), comment, data); });
            expectDomError(5, [&] { node->replaceData(0, 1, data); });
            EXPECT_EQ(snapshot(), before);
        }
        for (const char16_t* data : kind.accepted) {
            SCOPED_TRACE(ascii(data));
            Plinth::Ref<Arbor::DataNode> made(makeData(document(), comment, data));
            node->replaceData(0, node->length(), data);
            EXPECT_EQ(Arbor::dataUtf8(node), Arbor::utf8FromUtf16(data));
            EXPECT_EQ(xml(made.get()), xml(node));
        }
    }
    // Edits are checked on the data they leave: "-" next to "-" makes "--".
    Plinth::Ref<Arbor::Comment> comment(document().createComment(u"a-b"));
    expectDomError(5, [&] { comment->insertData(2, u"-x"); });
    expectDomError(5, [&] { comment->deleteData(2, 1); });
    expectDomError(1, [&] { comment->insertData(4, u"c"); });
    comment->insertData(3, u"c");
    comment->deleteData(1, ULONG_MAX);
    EXPECT_EQ(Arbor::dataUtf8(comment.get()), "a");

    for (const char* target : { "xml", "XmL", "a b", "", "\xC3", "\xC3\xA9\xC3" })
        expectDomError(5, [&] { delete document().createProcessingInstruction(target, nullptr); });
    delete document().createProcessingInstruction("xml-stylesheet", nullptr);
    // Both ends of every range of name characters, and their neighbours outside: 'S' may start a
    // name, 'N' only follow its first character, '-' neither.
    const std::pair<const char*, std::vector<char32_t>> classes[] = {
        { "S",
            { ':', '_', 'a', 'z', 'A', 'Z', 0xC0, 0xD6, 0xD8, 0xF6, 0xF8, 0x2FF, 0x370, 0x37D,
                0x37F, 0x1FFF, 0x200C, 0x200D, 0x2070, 0x218F, 0x2C00, 0x2FEF, 0x3001, 0xD7FF,
                0xF900, 0xFDCF, 0xFDF0, 0xFFFD, 0x10000, 0xEFFFF } },
        { "N", { '-', '.', '0', '9', 0xB7, 0x300, 0x36F, 0x203F, 0x2040 } },
        { "-",
            { '/', ';', '@', '[', '`', '{', ' ', 0xB6, 0xB8, 0xBF, 0xD7, 0xF7, 0x37E, 0x2000,
                0x200B, 0x200E, 0x203E, 0x2041, 0x206F, 0x2190, 0x2BFF, 0x2FF0, 0x3000, 0xF8FF,
                0xFDD0, 0xFDEF, 0xFFFE, 0xF0000 } },
    };
    for (const auto& [kind, points] : classes) {
        for (const char32_t c : points) {
            char bytes[4];
            const std::string ch(bytes, Plinth::writeUtf8(c, bytes));
            SCOPED_TRACE(std::string(kind) + " U+" + std::to_string(std::uint32_t(c)));
            for (const std::string& target : { ch, "a" + ch }) {
                auto make = [&] {
                    delete document().createProcessingInstruction(target.c_str(), nullptr);
                };
                if (*kind == 'S' || (*kind == 'N' && target != ch))
                    make();
                else
                    expectDomError(5, make);
            }
        }
    }
    expectDomError(5, [&] { delete document().createProcessingInstruction(Arbor::Token(), u"d"); });
}

// In the document, a data change is an undoable operation announced like a text edit, and ranges
// inside the node follow it.
TEST_F(CommentTest, EditsInTheDocumentAreUndoableWithEventsAndRanges)
{
    Arbor::Comment* node = document().createComment(u"abcdef");
    root()->appendChild(node);
    Plinth::Ref<Arbor::Range> inside = range(node, 1, node, 4);
    events.clear();
    expectUndoRedoRestores([&] { node->replaceData(2, 2, u"XYZ"); });
    const std::string edit = "BeforeReplaceText(#comment,2,2,\"XYZ\")";
    const std::string after = "AfterReplaceText(#comment)";
    EXPECT_EQ(events.take(),
        (std::vector<std::string> {
            edit, after, "BeforeReplaceText(#comment,2,3,\"cd\")", after, edit, after }));
    EXPECT_EQ(points(inside.get()), "(#comment,1)-(#comment,2)");
    node->insertData(0, u"12");
    EXPECT_EQ(points(inside.get()), "(#comment,3)-(#comment,4)");
    document().newUndoTask();
    node->setData(nullptr);
    EXPECT_EQ(node->data(), nullptr);
    EXPECT_EQ(points(inside.get()), "(#comment,0)-(#comment,0)");
    document().undo();
    EXPECT_EQ(Arbor::dataUtf8(node), "12abXYZef");
}

#include "tests/support/Host.h"

#include <sstream>
#include <string>

using XmlOutputTest = HostTest;

namespace {

const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

} // namespace

TEST_F(XmlOutputTest, DocumentIsDeclarationElementAndLineFeed)
{
    Plinth::Ref<TestDocument> empty(new TestDocument);
    EXPECT_EQ(xml(empty.get()), declaration + "\n");
    empty->tearDown();

    EXPECT_EQ(xml(&document()), declaration + "<root></root>\n");
    TestElement* p = appendElement(root(), "p");
    p->setAttribute("class", Arbor::UStringVariant(u"a\"<&>'b"));
    p->setAttribute("on", Arbor::BoolVariant(true));
    p->setAttribute("none", Arbor::Variant());
    p->setAttribute("tok", Arbor::TokenVariant(Arbor::Token("tok")));
    appendText(p, u"x < y & z");
    appendElement(p, "br");
    appendText(root(), u"tail");
    EXPECT_EQ(xml(&document()),
        declaration
            + "<root><p class=\"a&quot;&lt;&amp;&gt;'b\" on=\"true\" none=\"\" tok=\"tok\">"
              "x &lt; y &amp; z<br></br></p>tail</root>\n");
}

TEST_F(XmlOutputTest, ElementsTextAndNodesThatWriteNothing)
{
    TestElement* e = appendElement(root(), "e");
    appendText(e, u"ab");
    appendText(e, u"cd");
    appendText(e, nullptr);
    appendText(e, u"ef");
    e->setAttribute(Arbor::Token("k"), Arbor::LongVariant(1));
    EXPECT_EQ(xml(e), "<e k=\"1\">abcdef</e>") << "no separator between text nodes";

    // Names are written as they are, without escaping.
    TestElement* odd = appendElement(root(), "a<&\"b");
    EXPECT_EQ(xml(odd), "<a<&\"b></a<&\"b>");

    // Fragments and ranges write nothing, also with children or around content.
    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    appendElement(fragment.get(), "inside");
    EXPECT_EQ(xml(fragment.get()), "");
    EXPECT_EQ(xml(range(e, 0, e, 2).get()), "");

    std::ostringstream os;
    EXPECT_EQ(&e->putXml(os), &os);
    EXPECT_EQ(&fragment->putXml(os), &os);
    EXPECT_EQ(&e->firstChild()->putXml(os), &os);
    EXPECT_EQ(&document().putXml(os), &os);
}

TEST_F(XmlOutputTest, NullTagNameSetsBadBit)
{
    Plinth::Ref<TestElement> outer(document().makeElement("outer"));
    appendText(outer.get(), u"x");
    // A tag token without a string.
    outer->appendChild(new TestElement(&document(), Arbor::Token()));
    std::ostringstream os;
    EXPECT_EQ(&outer->putXml(os), &os);
    EXPECT_TRUE(os.bad());
    EXPECT_EQ(os.str().rfind("<outer>x<", 0), 0u) << os.str();
}

#include "tests/support/Host.h"

#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using BufferedOutputTest = HostTest;
using XmlOutputTest = HostTest;

namespace {

using Arbor::Token;

const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// A host element that writes its attributes itself, and may fail doing so.
class HostAttributes final : public Arbor::BasicElement {
public:
    bool fail = false;
    using BasicElement::BasicElement;
    std::ostream& putAttributesXml(std::ostream& os) override
    {
        if (fail) throw std::runtime_error("host");
        return os << " host=\"" << 1 << '"';
    }
};

// A host element that wraps the library's output of itself in comments.
class HostXml final : public Arbor::BasicElement {
public:
    using BasicElement::BasicElement;
    std::ostream& putXml(std::ostream& os) override
    {
        os << "<!--a-->";
        Element::putXml(os);
        return os << "<!--b-->";
    }
};

} // namespace

// Host code writes to the stream at the right point between the library's buffered bytes.
TEST_F(BufferedOutputTest, HostOverridesKeepTheirPlaceAndLibraryNodesAreBuffered)
{
    std::string run;
    for (int i = 0; i < 300; ++i) {
        TestElement* e = appendElement(root(), "e");
        e->setAttribute(Token("k"), Arbor::StringVariant("a<b"));
        appendText(e, u"x & y");
        run += "<e k=\"a&lt;b\">x &amp; y</e>";
    }
    EXPECT_EQ(xml(&document()), declaration + "<root>" + run + "</root>\n");

    auto* a = new HostAttributes(&document(), Token("h"));
    root()->insertBefore(a, root()->firstChild());
    appendText(a, u"t");
    Arbor::Element* x = new HostXml(&document(), Token("x"));
    root()->insertBefore(x, root()->firstChild());
    x->setAttribute(Token("n"), Arbor::LongVariant(2));
    appendElement(x, "in");
    const std::string host = "<root><!--a--><x n=\"2\"><in></in></x><!--b--><h host=\"1\">t</h>";
    EXPECT_EQ(xml(&document()), declaration + host + run + "</root>\n");

    // An exception from host code leaves what came before it in the stream.
    a->fail = true;
    std::ostringstream partial;
    EXPECT_THROW(document().putXml(partial), std::runtime_error);
    EXPECT_EQ(partial.str(), declaration + host.substr(0, host.find(" host")));
}

// A field width reaches the first item the attributes write through the stream's operators,
// and the rest of the output is as without it.
TEST_F(BufferedOutputTest, FieldWidthPadsTheFirstAttributeItem)
{
    root()->setAttribute(Token("k"), Arbor::LongVariant(1));
    appendText(root(), u"t");
    std::ostringstream os;
    os.width(4);
    root()->putXml(os);
    EXPECT_EQ(os.str(), "<root    k=\"1\">t</root>");
    EXPECT_EQ(os.width(), 0);
}

// Many attributes go through the hash index; removed names come back to their places, and a copy
// keeps the attributes but not the places of removed names.
TEST_F(BufferedOutputTest, ManyAttributesRemovedPlacesAndCopies)
{
    Plinth::Ref<TestElement> e(document().makeElement("e"));
    std::vector<Token> names;
    for (int i = 0; i < 1000; ++i) {
        names.emplace_back(("n" + std::to_string(i)).c_str());
        e->setAttributeRaw(names.back(), Arbor::LongVariant(i));
    }
    for (int i = 0; i < 1000; i += 2)
        e->removeAttributeRaw(names[i]);
    ASSERT_EQ(e->attributeCount(), 500u);
    EXPECT_EQ(e->attributeAt(0).first, names[1]);
    EXPECT_EQ(e->attributeAt(499).first, names[999]);
    Plinth::Ref<Arbor::Node> copy(e->cloneNode(false));
    auto* c = static_cast<Arbor::BasicElement*>(copy.get());
    EXPECT_EQ(xml(c), xml(e.get()));
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(e->hasAttribute(names[i]) + c->hasAttribute(names[i]), i % 2 ? 2 : 0) << i;
    e->setAttributeRaw(names[0], Arbor::LongVariant(-1));
    c->setAttributeRaw(names[0], Arbor::LongVariant(-1));
    EXPECT_EQ(e->attributeAt(0).first, names[0]) << "back at its place";
    EXPECT_EQ(c->attributeAt(500).first, names[0]) << "the copy has no place for it";
    EXPECT_EQ(xml(e.get()).substr(0, 22), "<e n0=\"-1\" n1=\"1\" n3=\"");
}

TEST_F(XmlOutputTest, DocumentsElementsTextAndNodesThatWriteNothing)
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

    // A tag token without a string sets the bad bit.
    Plinth::Ref<TestElement> outer(document().makeElement("outer"));
    appendText(outer.get(), u"x");
    outer->appendChild(new TestElement(&document(), Arbor::Token()));
    std::ostringstream os;
    EXPECT_EQ(&outer->putXml(os), &os);
    EXPECT_TRUE(os.bad());
    EXPECT_EQ(os.str().rfind("<outer>x<", 0), 0u) << os.str();
}

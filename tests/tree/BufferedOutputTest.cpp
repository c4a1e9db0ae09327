#include "tests/support/Host.h"

#include <ostream>
#include <sstream>
#include <stdexcept>

using BufferedOutputTest = HostTest;
using XmlOutputTest = HostTest;

namespace {

using Arbor::Token;

const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// A stream buffer that collects the bytes and counts the calls handing them over.
struct CountingBuffer : std::streambuf {
    std::string bytes;
    int writes = 0;
    std::streamsize xsputn(const char* s, std::streamsize n) override
    {
        ++writes;
        bytes.append(s, static_cast<std::size_t>(n));
        return n;
    }
    int_type overflow(int_type c) override
    {
        ++writes;
        if (!traits_type::eq_int_type(c, traits_type::eof())) bytes += traits_type::to_char_type(c);
        return traits_type::not_eof(c);
    }
};

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

// Host code writes to the stream at the right point between the library's buffered bytes, and
// the library's own nodes (text, BasicElement and its host subclasses) cost a few large writes.
TEST_F(BufferedOutputTest, HostOverridesKeepTheirPlaceAndLibraryNodesAreBuffered)
{
    std::string run;
    for (int i = 0; i < 300; ++i) {
        TestElement* e = appendElement(root(), "e");
        e->setAttribute(Token("k"), Arbor::StringVariant("a<b"));
        appendText(e, u"x & y");
        run += "<e k=\"a&lt;b\">x &amp; y</e>";
    }
    CountingBuffer counted;
    std::ostream plain(&counted);
    document().putXml(plain);
    EXPECT_EQ(counted.bytes, declaration + "<root>" + run + "</root>\n");
    EXPECT_LE(counted.writes, 4);

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
    EXPECT_TRUE(outer->putXml(os).bad());
    EXPECT_EQ(os.str().rfind("<outer>x<", 0), 0u) << os.str();
}

#include "arbor/xml/XmlLoader.h"

#include "tests/support/Host.h"
#include "tests/xml/LiveAllocations.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <system_error>
#include <tuple>

namespace {

std::string fixture(const char* name) { return std::string(ARBOR_XML_FIXTURES "/") + name; }

std::string contents(const char* name)
{
    std::ifstream in(fixture(name), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string quoted(const std::string& text)
{
    std::string out = "\"";
    for (char c : text)
        out += c == '\n' ? "\\n" : c == '\t' ? "\\t" : std::string(1, c);
    return out + "\"";
}

// The tree below `node` in one line: an element as name[attributes]{children}, a text node as
// its quoted data, so split or merged text nodes show.
std::string shape(Arbor::Node* node)
{
    if (Arbor::Text* text = node->asText()) return quoted(Arbor::textUtf8(text));
    std::string out = node->nodeName().name;
    if (auto* element = dynamic_cast<Arbor::BasicElement*>(node)) {
        out += "[";
        for (unsigned long i = 0; i < element->attributeCount(); ++i) {
            const auto& attribute = element->attributeAt(i);
            out += (i ? "," : "") + std::string(attribute.first.name) + "="
                + Arbor::getAttributeUtf8(element, attribute.first);
        }
        out += "]";
    }
    out += "{";
    for (Arbor::Node* child : Arbor::children(node))
        out += shape(child);
    return out + "}";
}

std::string shapeOf(Arbor::BasicDocument* document) { return shape(document->documentElement()); }

// Runs `load` twice and returns the blocks the second run left allocated: the first run interns
// the names it meets, which stay for the life of the process.
long allocationsLeftBy(const std::function<void()>& load)
{
    const auto run = [&] {
        try {
            load();
        } catch (...) {
        }
    };
    run();
    const long before = liveAllocations();
    run();
    return liveAllocations() - before;
}

} // namespace

TEST(XmlLoaderTest, BuildsTheTreeOfEachFixture)
{
    struct Case {
        const char* file;
        const char* shape;
    };
    const Case cases[] = {
        { "attributes.xml",
            "catalog[version=2,lang=en]{\"\\n  \"item[id=a1,note=x & y < z,quote=say \"hi\"]{}"
            "\"\\n  \"item[id=a2,spaced=one\ttwo\nthree]{}\"\\n\"}" },
        { "entities.xml", "greeting[]{\"Hello, world! <&> AB \"' \"b[]{\"world\"}}" },
        { "cdata.xml", "code[lang=c]{\"before if (a < b && c > d) { return \"]]\"; } after\"}" },
        { "skipped.xml", "doc[]{#comment{}\"one\"pi{}\" two\"#comment{}\" three\"p[]{}}" },
        { "unicode.xml",
            "text[lang=\u65e5\u672c]{\"Gr\u00fc\u00dfe, \u65e5\u672c\u8a9e, \U0001D11E and "
            "\U0001F600\"}" },
        { "latin1.xml", "p[note=caf\u00e9]{\"na\u00efve\"}" },
        { "nested.xml",
            "article[]{\"\\n  \"title[]{\"Trees\"}\"\\n  \"p[class=lead]{\"Hello \"em[]{\"world\"}"
            "\" of trees\"}\"\\n  \"p[]{\"Nodes hold nodes\"br[]{}\"and text\"}\"\\n\"}" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        Plinth::Ref<Arbor::BasicDocument> document = Arbor::loadXmlFile(fixture(c.file));
        EXPECT_EQ(shapeOf(document.get()), c.shape);
        EXPECT_EQ(document->items(), 1u);
        // What is written loads back as the same tree.
        const std::string written = xml(document.get());
        Plinth::Ref<Arbor::BasicDocument> second = Arbor::loadXml(written.data(), written.size());
        EXPECT_EQ(xml(second.get()), written);
        EXPECT_EQ(shapeOf(second.get()), c.shape);
    }
}

TEST(XmlLoaderTest, TextSpanningManyReadsIsOneNode)
{
    // Far more than one read of the stream, with references that split the parser's reports.
    std::string body;
    for (int i = 0; i < 20000; ++i)
        body += "ab&amp;\n";
    std::istringstream in("<big>" + body + "</big>");
    Plinth::Ref<Arbor::BasicDocument> document = Arbor::loadXml(in);
    Arbor::Node* big = document->documentElement();
    ASSERT_EQ(big->items(), 1u);
    EXPECT_EQ(big->firstChild()->items(), 20000u * 4);
}

TEST(XmlLoaderTest, MalformedInputReportsWhereAndLeavesNothing)
{
    struct Case {
        const char* file;
        unsigned long line;
        unsigned long column;
        const char* message;
    };
    const Case cases[] = {
        { "mismatched-tag.xml", 3, 5, "mismatched tag" },
        { "unclosed.xml", 3, 1, "no element found" },
        { "bad-entity.xml", 2, 11, "undefined entity" },
        { "two-roots.xml", 2, 1, "junk after document element" },
        { "invalid-utf8.xml", 2, 9, "not well-formed (invalid token)" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const std::string data = contents(c.file);
        try {
            Arbor::loadXml(data.data(), data.size());
            ADD_FAILURE() << "loaded malformed input";
        } catch (const Arbor::XmlParseError& e) {
            EXPECT_EQ(std::make_tuple(e.line, e.column, std::string(e.message())),
                std::make_tuple(c.line, c.column, std::string(c.message)));
            EXPECT_EQ(std::string(e.what()),
                "line " + std::to_string(c.line) + ", column " + std::to_string(c.column) + ": "
                    + c.message);
        }
        EXPECT_EQ(allocationsLeftBy([&] { Arbor::loadXml(data.data(), data.size()); }), 0);
        EXPECT_EQ(allocationsLeftBy([&] { Arbor::loadXmlFile(fixture(c.file)); }), 0);
    }
}

TEST(XmlLoaderTest, MissingFileThrowsSystemError)
{
    try {
        Arbor::loadXmlFile(fixture("no-such-file.xml"));
        ADD_FAILURE() << "loaded a missing file";
    } catch (const std::system_error& e) {
        EXPECT_EQ(e.code(), std::error_code(ENOENT, std::generic_category()));
    }
}

TEST(XmlLoaderTest, LoadIsABatchAndTheResultIsLive)
{
    Plinth::Ref<Arbor::BasicDocument> document = Arbor::loadXmlFile(fixture("nested.xml"));
    EXPECT_FALSE(document->canUndo());
    EXPECT_FALSE(document->canRedo());

    EventLog events;
    document->addObserver(&events);
    Arbor::Node* title = document->documentElement()->findChild(Arbor::Token("title"));
    ASSERT_NE(title, nullptr);
    const std::string before = xml(document.get());
    document->newUndoTask();
    title->firstChild()->asText()->appendData(u" grow");
    EXPECT_EQ(events.take(),
        (std::vector<std::string> { "BeforeReplaceText(t,5,0,\" grow\")", "AfterReplaceText(t)" }));
    ASSERT_TRUE(document->canUndo());
    document->undo();
    EXPECT_EQ(xml(document.get()), before);
    document->removeObserver(&events);
    document->tearDown();
}

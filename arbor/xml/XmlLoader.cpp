#include "arbor/xml/XmlLoader.h"

#include "arbor/foundation/Utf8.h"
#include "arbor/tree/Element.h"
#include "arbor/tree/Text.h"
#include "arbor/values/Variant.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <expat.h>
#include <fstream>
#include <istream>
#include <memory>
#include <new>
#include <system_error>
#include <vector>

namespace {

std::string positioned(unsigned long line, unsigned long column, const std::string& message)
{
    return "line " + std::to_string(line) + ", column " + std::to_string(column) + ": " + message;
}

struct ParserFree {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

// Builds a document from the parser's callbacks. The tree grows outside the document, where
// each link is made at once without events or undo records, and goes in as the document element
// when the input is complete, inside the batch that the builder keeps open for the whole load. A
// failed load drops the partial tree and then the document with the builder.
//
// Exceptions must not cross the parser, which is C: a callback that fails keeps its exception,
// stops the parser, and `feed` throws it once the parser has returned.
class TreeBuilder {
public:
    TreeBuilder();

    // Parses `bytes` more bytes from `data`; `last` marks the end of the input.
    void feed(const char* data, std::size_t bytes, bool last);
    // Links the tree into the document, closes the batch and hands the document over.
    Plinth::Ref<Arbor::BasicDocument> finish();

private:
    // Declared before the tree so that the tree is released first.
    Plinth::Ref<Arbor::BasicDocument> document;
    Plinth::Ref<Arbor::Element> root;
    // The innermost open element; null outside the root element.
    Arbor::Element* current = nullptr;
    // Character data since the last tag, in UTF-8.
    std::string text;
    std::unique_ptr<XML_ParserStruct, ParserFree> parser;
    std::exception_ptr failure;

    static void XMLCALL onStart(void* self, const XML_Char* name, const XML_Char** attributes);
    static void XMLCALL onEnd(void* self, const XML_Char* name);
    static void XMLCALL onText(void* self, const XML_Char* data, int bytes);

    template <class Step> void guarded(Step step);
    void startElement(const XML_Char* name, const XML_Char** attributes);
    void endElement();
    void flushText();
    [[noreturn]] void throwParseError() const;
};

TreeBuilder::TreeBuilder()
    : document(new Arbor::BasicDocument)
    , parser(XML_ParserCreate(nullptr))
{
    if (!parser) throw std::bad_alloc();
    XML_SetUserData(parser.get(), this);
    XML_SetElementHandler(parser.get(), onStart, onEnd);
    XML_SetCharacterDataHandler(parser.get(), onText);
    document->beginBatchChanges();
}

void TreeBuilder::feed(const char* data, std::size_t bytes, bool last)
{
    // The parser takes an int count, so a huge buffer goes in slices.
    constexpr std::size_t slice = std::size_t(1) << 30;
    do {
        const std::size_t n = std::min(bytes, slice);
        const XML_Status status = XML_Parse(parser.get(), data, int(n), last && n == bytes);
        if (failure) std::rethrow_exception(failure);
        if (status != XML_STATUS_OK) throwParseError();
        data += n;
        bytes -= n;
    } while (bytes > 0);
}

Plinth::Ref<Arbor::BasicDocument> TreeBuilder::finish()
{
    document->appendChild(root.get());
    root.reset();
    document->endBatchChanges();
    return std::move(document);
}

void XMLCALL TreeBuilder::onStart(void* self, const XML_Char* name, const XML_Char** attributes)
{
    auto* builder = static_cast<TreeBuilder*>(self);
    builder->guarded([=] { builder->startElement(name, attributes); });
}

void XMLCALL TreeBuilder::onEnd(void* self, const XML_Char*)
{
    auto* builder = static_cast<TreeBuilder*>(self);
    builder->guarded([=] { builder->endElement(); });
}

void XMLCALL TreeBuilder::onText(void* self, const XML_Char* data, int bytes)
{
    auto* builder = static_cast<TreeBuilder*>(self);
    builder->guarded([=] { builder->text.append(data, std::size_t(bytes)); });
}

template <class Step> void TreeBuilder::guarded(Step step)
{
    if (failure) return;
    try {
        step();
    } catch (...) {
        failure = std::current_exception();
        XML_StopParser(parser.get(), XML_FALSE);
    }
}

void TreeBuilder::startElement(const XML_Char* name, const XML_Char** attributes)
{
    flushText();
    Plinth::Ref<Arbor::Element> element(document->createElement(Arbor::Token(name)));
    for (const XML_Char** attribute = attributes; *attribute; attribute += 2)
        element->setAttribute(Arbor::Token(attribute[0]), Arbor::StringVariant(attribute[1]));
    if (current)
        current->appendChild(element.get());
    else
        root = element;
    current = element.get();
}

void TreeBuilder::endElement()
{
    flushText();
    Arbor::Node* parent = current->parentNode();
    current = parent ? parent->asElement() : nullptr;
}

void TreeBuilder::flushText()
{
    if (text.empty()) return;
    current->appendChild(Arbor::createTextNodeUtf8(document.get(), text));
    text.clear();
}

void TreeBuilder::throwParseError() const
{
    const XML_Error code = XML_GetErrorCode(parser.get());
    if (code == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
    // The parser counts columns from 0.
    throw Arbor::XmlParseError(XML_GetCurrentLineNumber(parser.get()),
        XML_GetCurrentColumnNumber(parser.get()) + 1, XML_ErrorString(code));
}

} // namespace

Arbor::XmlParseError::XmlParseError(
    unsigned long line, unsigned long column, const std::string& message)
    : std::runtime_error(positioned(line, column, message))
    , line(line)
    , column(column)
{
}

Arbor::XmlParseError::~XmlParseError() = default;

const char* Arbor::XmlParseError::message() const
{
    // what() is "line L, column C: message"; the message follows the first ": ".
    const char* text = what();
    for (const char* p = text; *p; ++p) {
        if (p[0] == ':' && p[1] == ' ') return p + 2;
    }
    return text;
}

Plinth::Ref<Arbor::BasicDocument> Arbor::loadXml(const char* data, std::size_t bytes)
{
    TreeBuilder builder;
    builder.feed(data, bytes, true);
    return builder.finish();
}

Plinth::Ref<Arbor::BasicDocument> Arbor::loadXml(std::istream& in)
{
    TreeBuilder builder;
    std::vector<char> buffer(64 * 1024);
    while (in) {
        in.read(buffer.data(), std::streamsize(buffer.size()));
        builder.feed(buffer.data(), std::size_t(in.gcount()), false);
    }
    if (in.bad()) throw std::ios_base::failure("cannot read the XML input");
    builder.feed(nullptr, 0, true);
    return builder.finish();
}

Plinth::Ref<Arbor::BasicDocument> Arbor::loadXmlFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::system_error(errno, std::generic_category(), "cannot open " + path);
    return loadXml(in);
}

#include "arbor/xml/XmlLoader.h"

#include "arbor/document/DocumentMisc.h"
#include "arbor/tree/Comment.h"
#include "arbor/tree/DocumentType.h"
#include "arbor/tree/DomException.h"
#include "arbor/tree/Element.h"
#include "arbor/tree/ProcessingInstruction.h"
#include "arbor/tree/Text.h"
#include "arbor/values/Variant.h"
#include "arbor/xml/XmlEncoding.h"
#include "arbor/xml/XmlPositions.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
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

// Interned names by their text, so that each name of the input is interned once per load and
// not once per use (open addressing on a hash of the bytes).
class NameCache {
public:
    Arbor::Token get(const char* name)
    {
        std::size_t hash = 14695981039346656037u;
        std::size_t length = 0;
        for (const char* p = name; *p; ++p, ++length)
            hash = (hash ^ (unsigned char)*p) * 1099511628211u;
        if (2 * (used + 1) > slots.size()) grow();
        std::size_t mask = slots.size() - 1;
        for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
            Slot& slot = slots[i];
            if (!slot.token.name) {
                slot = Slot { hash, Arbor::Token(name) };
                ++used;
                return slot.token;
            }
            if (slot.hash == hash && std::strncmp(slot.token.name, name, length + 1) == 0)
                return slot.token;
        }
    }

private:
    struct Slot {
        std::size_t hash = 0;
        Arbor::Token token;
    };
    std::vector<Slot> slots = std::vector<Slot>(64);
    std::size_t used = 0;

    void grow()
    {
        std::vector<Slot> old(slots.size() * 2);
        old.swap(slots);
        const std::size_t mask = slots.size() - 1;
        for (const Slot& slot : old) {
            if (!slot.token.name) continue;
            std::size_t i = slot.hash & mask;
            while (slots[i].token.name)
                i = (i + 1) & mask;
            slots[i] = slot;
        }
    }
};

// Appends the UTF-16 form of `bytes` of well-formed UTF-8 (the parser checked it) to `out`.
void appendUtf16(std::u16string& out, const char* bytes, std::size_t length)
{
    const auto* p = reinterpret_cast<const unsigned char*>(bytes);
    const auto* end = p + length;
    const std::size_t base = out.size();
    // The string is measured by the library's vector loads, which read on to a 64-byte boundary
    // past the terminator: keep that much room in the buffer so no read leaves the allocation.
    if (out.capacity() < base + length + 32) out.reserve(2 * (base + length) + 32);
    out.resize(base + length);
    char16_t* to = &out[base];
    while (p < end) {
        unsigned c = *p;
        if (c < 0x80) {
            *to++ = char16_t(c);
            ++p;
        } else if (c < 0xe0) {
            *to++ = char16_t((c & 0x1f) << 6 | (p[1] & 0x3f));
            p += 2;
        } else if (c < 0xf0) {
            *to++ = char16_t((c & 0x0f) << 12 | (p[1] & 0x3f) << 6 | (p[2] & 0x3f));
            p += 3;
        } else {
            const unsigned long v = (c & 0x07ul) << 18 | (p[1] & 0x3ful) << 12
                | (p[2] & 0x3ful) << 6 | (p[3] & 0x3ful);
            *to++ = char16_t(0xd800 + ((v - 0x10000) >> 10));
            *to++ = char16_t(0xdc00 + ((v - 0x10000) & 0x3ff));
            p += 4;
        }
    }
    out.resize(std::size_t(to - out.data()));
}

// Builds a document from the parser's callbacks. The tree grows outside the document, where
// each link is made with the raw primitive at once (no checks that walk to the root, no events,
// no undo records), and goes in as the document element when the input is complete, inside the
// batch that the builder keeps open for the whole load. A failed load drops the partial tree and
// then the document with the builder.
//
// Exceptions must not cross the parser, which is C: a callback that fails keeps its exception,
// stops the parser, and `parse` throws it once the parser has returned.
class TreeBuilder {
public:
    explicit TreeBuilder(const Arbor::XmlLoadOptions& options);

    // Parses the whole input; `protocolEncoding`, when given, overrides the declaration's. Returns
    // false when the input must be converted as a whole first (see `encoding`).
    bool parse(const char* data, std::size_t bytes, const char* protocolEncoding);
    // Links the tree into the document, closes the batch and hands the document over.
    Plinth::Ref<Arbor::BasicDocument> finish();

    // What the parser's handler for unknown encodings learnt.
    Arbor::XmlEncoding::Request encoding;

private:
    const Arbor::XmlLoadOptions& options;
    // Declared before the tree so that the tree is released first.
    Plinth::Ref<Arbor::BasicDocument> document;
    Plinth::Ref<Arbor::Element> root;
    // The innermost open element; null outside the root element.
    Arbor::Element* current = nullptr;
    unsigned long depth = 0;
    // Character data since the last markup, in UTF-16, and where it began.
    std::u16string wide;
    Arbor::XmlSourcePosition textStart;
    bool textStarted = false;
    // The data of a comment or processing instruction in UTF-16.
    std::u16string markupData;
    NameCache names;
    std::vector<std::pair<Arbor::Node*, Arbor::XmlSourcePosition>> positions;
    // The document type declaration while the parser is inside it: its internal subset is
    // gathered as written.
    bool inDoctype = false;
    std::string doctypeName;
    std::string doctypeSystemId;
    std::string doctypePublicId;
    std::string subset;
    std::unique_ptr<XML_ParserStruct, ParserFree> parser;
    std::exception_ptr failure;

    static void XMLCALL onStart(void* self, const XML_Char* name, const XML_Char** attributes);
    static void XMLCALL onEnd(void* self, const XML_Char* name);
    static void XMLCALL onText(void* self, const XML_Char* data, int bytes);
    static void XMLCALL onComment(void* self, const XML_Char* data);
    static void XMLCALL onInstruction(void* self, const XML_Char* target, const XML_Char* data);
    static void XMLCALL onDoctypeStart(void* self, const XML_Char* name, const XML_Char* systemId,
        const XML_Char* publicId, int hasInternalSubset);
    static void XMLCALL onDoctypeEnd(void* self);
    static void XMLCALL onSubset(void* self, const XML_Char* data, int bytes);
    static void XMLCALL onCdataStart(void* self);

    template <class Step> void guarded(Step step);
    Arbor::XmlSourcePosition here() const;
    void startElement(const XML_Char* name, const XML_Char** attributes);
    void endElement();
    void addText(const XML_Char* data, int bytes);
    void flushText();
    void markTextStart();
    void addComment(const XML_Char* data);
    void addInstruction(const XML_Char* target, const XML_Char* data);
    void endDoctype();
    // Links `node` (fresh) where the parser stands: in the open element, else in the prolog or
    // the epilog.
    void place(Arbor::Node* node, const Arbor::XmlSourcePosition& where);
    // Links `node` as the last child of the open element.
    void link(Arbor::Node* node, const Arbor::XmlSourcePosition& where);
    [[noreturn]] void throwParseError() const;
};

TreeBuilder::TreeBuilder(const Arbor::XmlLoadOptions& options)
    : options(options)
    , document(new Arbor::BasicDocument)
{
    document->beginBatchChanges();
}

bool TreeBuilder::parse(const char* data, std::size_t bytes, const char* protocolEncoding)
{
    parser.reset(XML_ParserCreate(protocolEncoding));
    if (!parser) throw std::bad_alloc();
    XML_Parser p = parser.get();
    XML_SetUserData(p, this);
    XML_SetElementHandler(p, onStart, onEnd);
    XML_SetCharacterDataHandler(p, onText);
    XML_SetCommentHandler(p, onComment);
    XML_SetProcessingInstructionHandler(p, onInstruction);
    XML_SetDoctypeDeclHandler(p, onDoctypeStart, onDoctypeEnd);
    if (options.recordPositions) XML_SetCdataSectionHandler(p, onCdataStart, nullptr);
    XML_SetUnknownEncodingHandler(p, Arbor::XmlEncoding::unknownEncodingHandler, &encoding);
    // No external entity or subset is ever read (there is no handler that could), and entity
    // expansion beyond a hundredfold of the input, once past 8 MiB, is refused.
    XML_SetParamEntityParsing(p, XML_PARAM_ENTITY_PARSING_NEVER);
    XML_SetBillionLaughsAttackProtectionMaximumAmplification(p, 100.0f);
    XML_SetBillionLaughsAttackProtectionActivationThreshold(p, 8ull << 20);

    // The parser takes an int count, so a huge buffer goes in slices.
    constexpr std::size_t slice = std::size_t(1) << 30;
    do {
        const std::size_t n = std::min(bytes, slice);
        const XML_Status status = XML_Parse(p, data, int(n), n == bytes);
        if (failure) std::rethrow_exception(failure);
        if (status != XML_STATUS_OK) {
            if (XML_GetErrorCode(p) == XML_ERROR_UNKNOWN_ENCODING && encoding.convertWhole)
                return false;
            throwParseError();
        }
        data += n;
        bytes -= n;
    } while (bytes > 0);
    return true;
}

Plinth::Ref<Arbor::BasicDocument> TreeBuilder::finish()
{
    document->appendChild(root.get());
    root.reset();
    if (options.recordPositions) Arbor::XmlPositions::record(document.get(), positions);
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
    builder->guarded([=] { builder->addText(data, bytes); });
}

void XMLCALL TreeBuilder::onComment(void* self, const XML_Char* data)
{
    auto* builder = static_cast<TreeBuilder*>(self);
    builder->guarded([=] { builder->addComment(data); });
}

void XMLCALL TreeBuilder::onInstruction(void* self, const XML_Char* target, const XML_Char* data)
{
    auto* builder = static_cast<TreeBuilder*>(self);
    builder->guarded([=] { builder->addInstruction(target, data); });
}

void XMLCALL TreeBuilder::onDoctypeStart(
    void* self, const XML_Char* name, const XML_Char* systemId, const XML_Char* publicId, int)
{
    auto* builder = static_cast<TreeBuilder*>(self);
    builder->guarded([=] {
        builder->doctypeName = name;
        builder->doctypeSystemId = systemId ? systemId : "";
        builder->doctypePublicId = publicId ? publicId : "";
        builder->inDoctype = true;
        // What the default handler sees from here to the end of the declaration is the internal
        // subset between its brackets, as written; comments and processing instructions in it
        // come through their own handlers and are put back in their places.
        XML_SetDefaultHandlerExpand(builder->parser.get(), onSubset);
    });
}

void XMLCALL TreeBuilder::onDoctypeEnd(void* self)
{
    auto* builder = static_cast<TreeBuilder*>(self);
    builder->guarded([=] { builder->endDoctype(); });
}

void XMLCALL TreeBuilder::onSubset(void* self, const XML_Char* data, int bytes)
{
    auto* builder = static_cast<TreeBuilder*>(self);
    builder->guarded([=] {
        if (builder->inDoctype) builder->subset.append(data, std::size_t(bytes));
    });
}

void XMLCALL TreeBuilder::onCdataStart(void* self)
{
    // Text that begins with a CDATA section starts at its markup, not at its first character.
    auto* builder = static_cast<TreeBuilder*>(self);
    if (!builder->textStarted) builder->markTextStart();
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

Arbor::XmlSourcePosition TreeBuilder::here() const
{
    // The parser counts columns from 0.
    return { XML_GetCurrentLineNumber(parser.get()), XML_GetCurrentColumnNumber(parser.get()) + 1 };
}

void TreeBuilder::startElement(const XML_Char* name, const XML_Char** attributes)
{
    flushText();
    if (depth >= options.maxDepth) {
        const Arbor::XmlSourcePosition where = here();
        throw Arbor::XmlParseError(where.line, where.column,
            "elements nested deeper than " + std::to_string(options.maxDepth));
    }
    Plinth::Ref<Arbor::Element> element(document->createElement(names.get(name)));
    // Only the attributes written in the tag: defaults from the internal subset, which is kept,
    // come back with it when the document is read again.
    const int specified = XML_GetSpecifiedAttributeCount(parser.get());
    for (const XML_Char** attribute = attributes; attribute < attributes + specified;
         attribute += 2)
        element->setAttributeRaw(names.get(attribute[0]), Arbor::StringVariant(attribute[1]));
    if (current)
        link(element.get(), options.recordPositions ? here() : Arbor::XmlSourcePosition());
    else {
        root = element;
        if (options.recordPositions) positions.emplace_back(element.get(), here());
    }
    current = element.get();
    ++depth;
}

void TreeBuilder::endElement()
{
    flushText();
    Arbor::Node* parent = current->parentNode();
    current = parent ? parent->asElement() : nullptr;
    --depth;
}

void TreeBuilder::addText(const XML_Char* data, int bytes)
{
    if (options.recordPositions && !textStarted) markTextStart();
    appendUtf16(wide, data, std::size_t(bytes));
}

void TreeBuilder::markTextStart()
{
    textStart = here();
    textStarted = true;
}

void TreeBuilder::flushText()
{
    textStarted = false;
    if (wide.empty()) return;
    Arbor::Text* node = document->createTextNode(wide.c_str());
    wide.clear();
    link(node, textStart);
}

void TreeBuilder::addComment(const XML_Char* data)
{
    if (inDoctype) {
        subset.append("<!--").append(data).append("-->");
        return;
    }
    if (!options.keepComments) return;
    flushText();
    const Arbor::XmlSourcePosition where = here();
    markupData.clear();
    appendUtf16(markupData, data, std::strlen(data));
    place(document->createComment(markupData.c_str()), where);
}

void TreeBuilder::addInstruction(const XML_Char* target, const XML_Char* data)
{
    if (inDoctype) {
        subset.append("<?").append(target);
        if (*data) subset.append(" ").append(data);
        subset.append("?>");
        return;
    }
    if (!options.keepProcessingInstructions) return;
    flushText();
    const Arbor::XmlSourcePosition where = here();
    markupData.clear();
    appendUtf16(markupData, data, std::strlen(data));
    place(document->createProcessingInstruction(names.get(target), markupData.c_str()), where);
}

void TreeBuilder::endDoctype()
{
    XML_SetDefaultHandlerExpand(parser.get(), nullptr);
    inDoctype = false;
    place(document->createDocumentType(
              names.get(doctypeName.c_str()), doctypePublicId, doctypeSystemId, subset),
        Arbor::XmlSourcePosition());
    subset.clear();
}

void TreeBuilder::place(Arbor::Node* node, const Arbor::XmlSourcePosition& where)
{
    if (current) return link(node, where);
    Plinth::Ref<Arbor::Node> held(node);
    (root ? document->epilog() : document->prolog())->replaceChildrenRaw(nullptr, 0, node);
    if (options.recordPositions && where.line) positions.emplace_back(node, where);
}

void TreeBuilder::link(Arbor::Node* node, const Arbor::XmlSourcePosition& where)
{
    // The node is fresh (count 0): the link takes its first reference, and a failure to record
    // its position below leaves it owned by the tree.
    current->replaceChildrenRaw(nullptr, 0, node);
    if (options.recordPositions) positions.emplace_back(node, where);
}

void TreeBuilder::throwParseError() const
{
    const XML_Error code = XML_GetErrorCode(parser.get());
    if (code == XML_ERROR_NO_MEMORY || (code == XML_ERROR_UNKNOWN_ENCODING && encoding.outOfMemory))
        throw std::bad_alloc();
    const Arbor::XmlSourcePosition where = here();
    std::string message = XML_ErrorString(code);
    if (code == XML_ERROR_UNKNOWN_ENCODING && !encoding.name.empty())
        message += ": " + encoding.name;
    throw Arbor::XmlParseError(where.line, where.column, message);
}

// Line and column just after `text`, counting characters of UTF-8 and line ends as XML does.
Arbor::XmlSourcePosition endOf(const std::string& text)
{
    Arbor::XmlSourcePosition at { 1, 1 };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\n' || (c == '\r' && (i + 1 == text.size() || text[i + 1] != '\n'))) {
            ++at.line;
            at.column = 1;
        } else if ((c & 0xc0) != 0x80 && c != '\r') {
            ++at.column;
        }
    }
    return at;
}

Plinth::Ref<Arbor::BasicDocument> loadConverted(const std::string& encoding, const char* data,
    std::size_t bytes, const Arbor::XmlLoadOptions& options)
{
    const Arbor::XmlEncoding::Converted converted
        = Arbor::XmlEncoding::toUtf8(encoding, data, bytes);
    if (converted.failed) {
        const Arbor::XmlSourcePosition at = endOf(converted.text);
        throw Arbor::XmlParseError(
            at.line, at.column, "invalid or incomplete character in encoding " + encoding);
    }
    TreeBuilder builder(options);
    builder.parse(converted.text.data(), converted.text.size(), "UTF-8");
    return builder.finish();
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

Plinth::Ref<Arbor::BasicDocument> Arbor::loadXml(
    const char* data, std::size_t bytes, const XmlLoadOptions& options)
{
    const std::string foreign = XmlEncoding::sniffForeign(data, bytes);
    if (!foreign.empty()) return loadConverted(foreign, data, bytes, options);
    std::string convertWhole;
    {
        TreeBuilder builder(options);
        if (builder.parse(data, bytes, nullptr)) return builder.finish();
        convertWhole = builder.encoding.name;
    }
    return loadConverted(convertWhole, data, bytes, options);
}

Plinth::Ref<Arbor::BasicDocument> Arbor::loadXml(std::istream& in, const XmlLoadOptions& options)
{
    // The whole input goes to the parser in one piece: an encoding that is converted as a whole
    // needs all of it, and the parser then never scans a long token twice.
    std::string data;
    std::vector<char> buffer(64 * 1024);
    while (in) {
        in.read(buffer.data(), std::streamsize(buffer.size()));
        data.append(buffer.data(), std::size_t(in.gcount()));
    }
    if (in.bad()) throw std::ios_base::failure("cannot read the XML input");
    return loadXml(data.data(), data.size(), options);
}

Plinth::Ref<Arbor::BasicDocument> Arbor::loadXmlFile(
    const std::string& path, const XmlLoadOptions& options)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::system_error(errno, std::generic_category(), "cannot open " + path);
    std::string data;
    in.seekg(0, std::ios::end);
    const std::streamoff size = in.tellg();
    in.seekg(0, std::ios::beg);
    if (size > 0) {
        data.resize(std::size_t(size));
        in.read(&data[0], size);
        data.resize(std::size_t(in.gcount()));
    }
    if (in.bad()) throw std::system_error(EIO, std::generic_category(), "cannot read " + path);
    return loadXml(data.data(), data.size(), options);
}

// The workloads on libxml2's tree API: a plain tree without events, ranges or undo; every node and
// string is its own allocation, text is UTF-8.

#include "bench/BenchSupport.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>
#include <string>
#include <vector>

namespace {

using namespace ArborBench;

const xmlChar* x(const char* s) { return reinterpret_cast<const xmlChar*>(s); }

/// A document with a root element, freed with its scope.
struct Doc {
    xmlDocPtr document;
    xmlNodePtr root;
    Doc()
    {
        static const bool initialized = (xmlInitParser(), true);
        (void)initialized;
        document = xmlNewDoc(x("1.0"));
        root = xmlNewDocNode(document, nullptr, x("root"), nullptr);
        xmlDocSetRootElement(document, root);
    }
    Doc(const Doc&) = delete;
    Doc& operator=(const Doc&) = delete;
    ~Doc() { release(); }
    void release()
    {
        if (document) xmlFreeDoc(document);
        document = nullptr;
    }
};

unsigned long sizeArg(const benchmark::State& state)
{
    return static_cast<unsigned long>(state.range(0));
}

// Text nodes alternate with elements, so xmlAddChild never merges two texts.
void appendChildren(xmlDocPtr doc, xmlNodePtr root, unsigned long n)
{
    for (unsigned long i = 0; i < n; ++i) {
        if (i % 2 == 0)
            xmlAddChild(root, xmlNewDocNode(doc, nullptr, x("e"), nullptr));
        else
            xmlAddChild(root, xmlNewDocText(doc, x(textNarrow)));
    }
}

void insertFront(xmlDocPtr doc, xmlNodePtr root, unsigned long n)
{
    for (unsigned long i = 0; i < n; ++i) {
        xmlNodePtr fresh = xmlNewDocNode(doc, nullptr, x("e"), nullptr);
        if (root->children)
            xmlAddPrevSibling(root->children, fresh);
        else
            xmlAddChild(root, fresh);
    }
}

bool hasBuildShape(xmlNodePtr root, unsigned long n)
{
    xmlNodePtr first = root->children;
    xmlNodePtr second = first ? first->next : nullptr;
    return xmlChildElementCount(root) == (n + 1) / 2 && first && first->type == XML_ELEMENT_NODE
        && second && second->type == XML_TEXT_NODE
        && std::strlen(reinterpret_cast<const char*>(second->content)) == textUnits;
}

unsigned long childCount(xmlNodePtr root)
{
    unsigned long count = 0;
    for (xmlNodePtr child = root->children; child; child = child->next)
        ++count;
    return count;
}

void BM_W1_Build_Libxml2(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        Doc doc;
        appendChildren(doc.document, doc.root, n);
        if (!hasBuildShape(doc.root, n) || childCount(doc.root) != n)
            return state.SkipWithError("wrong tree");
    }
    for (auto _ : state) {
        Doc doc;
        timed(state, [&] { appendChildren(doc.document, doc.root, n); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W1_Build_Libxml2)->Apply(sizes);

void BM_W2_InsertFront_Libxml2(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        Doc doc;
        xmlNodePtr last
            = xmlAddChild(doc.root, xmlNewDocNode(doc.document, nullptr, x("last"), nullptr));
        insertFront(doc.document, doc.root, n - 1);
        if (childCount(doc.root) != n || doc.root->last != last)
            return state.SkipWithError("wrong order");
    }
    for (auto _ : state) {
        Doc doc;
        timed(state, [&] { insertFront(doc.document, doc.root, n); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W2_InsertFront_Libxml2)->Apply(sizes);

void removeFront(xmlNodePtr root)
{
    while (xmlNodePtr child = root->children) {
        xmlUnlinkNode(child);
        xmlFreeNode(child);
    }
}

void BM_W3_RemoveFront_Libxml2(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        Doc doc;
        appendChildren(doc.document, doc.root, n);
        removeFront(doc.root);
        if (doc.root->children || doc.root->last)
            return state.SkipWithError("children not removed");
    }
    for (auto _ : state) {
        Doc doc;
        appendChildren(doc.document, doc.root, n);
        timed(state, [&] { removeFront(doc.root); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W3_RemoveFront_Libxml2)->Apply(sizes);

int appendBytes(void* context, const char* buffer, int length)
{
    auto* bytes = static_cast<std::vector<char>*>(context);
    bytes->insert(bytes->end(), buffer, buffer + length);
    return length;
}

void buildSerializeInput(Doc& doc, unsigned long n)
{
    for (unsigned long i = 0; i < n; ++i) {
        xmlNodePtr element = xmlNewDocNode(doc.document, nullptr, x("e"), nullptr);
        xmlAddChild(doc.root, element);
        xmlNewProp(element, x("id"), x(std::to_string(i).c_str()));
        xmlNewProp(element, x("kind"), x(w4Kind));
        xmlAddChild(element, xmlNewDocText(doc.document, x(w4Text)));
    }
}

void serialize(xmlDocPtr doc, std::vector<char>& bytes)
{
    xmlSaveCtxtPtr context = xmlSaveToIO(appendBytes, nullptr, &bytes, "UTF-8", 0);
    xmlSaveDoc(context, doc);
    xmlSaveClose(context);
}

void BM_W4_Serialize_Libxml2(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    Doc doc;
    buildSerializeInput(doc, n);
    std::vector<char> bytes;
    serialize(doc.document, bytes);
    const std::string once(bytes.begin(), bytes.end());
    if (countOccurrences(once, "</e>") != n || countOccurrences(once, "&lt;") != 2 * n)
        return state.SkipWithError("wrong output");
    for (auto _ : state) {
        bytes.clear();
        timed(state, [&] { serialize(doc.document, bytes); });
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(bytes.size()));
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W4_Serialize_Libxml2)->Apply(sizes);

// libxml2 has no insert operation on text: the new content is composed and set.
void editText(xmlNodePtr text, const std::vector<unsigned long>& offsets, std::string& scratch)
{
    for (unsigned long offset : offsets) {
        const char* value = reinterpret_cast<const char*>(text->content);
        scratch.assign(value, offset);
        scratch.push_back('x');
        scratch.append(value + offset);
        xmlNodeSetContentLen(text, x(scratch.c_str()), static_cast<int>(scratch.size()));
    }
}

void BM_W5_TextEdit_Libxml2(benchmark::State& state)
{
    const std::vector<unsigned long> offsets = textEditOffsets();
    const std::string data(w5Length, 'a');
    std::string scratch;
    {
        Doc doc;
        xmlNodePtr text = xmlAddChild(doc.root, xmlNewDocText(doc.document, x(data.c_str())));
        editText(text, offsets, scratch);
        if (std::strlen(reinterpret_cast<const char*>(text->content)) != w5Length + w5Edits)
            return state.SkipWithError("wrong text");
    }
    for (auto _ : state) {
        Doc doc;
        xmlNodePtr text = xmlAddChild(doc.root, xmlNewDocText(doc.document, x(data.c_str())));
        timed(state, [&] { editText(text, offsets, scratch); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(w5Edits));
}
BENCHMARK(BM_W5_TextEdit_Libxml2)->Arg(0)->UseManualTime()->Unit(benchmark::kMicrosecond);

void editChildren(Doc& doc, std::vector<xmlNodePtr>& nodes, const std::vector<ChildEdit>& script)
{
    unsigned long nextId = w6Children;
    for (const ChildEdit& edit : script) {
        if (edit.insert) {
            xmlNodePtr fresh = xmlNewDocNode(doc.document, nullptr, x("c"), nullptr);
            xmlAddPrevSibling(nodes[edit.node], fresh);
            nodes[nextId++] = fresh;
        } else {
            xmlUnlinkNode(nodes[edit.node]);
            xmlFreeNode(nodes[edit.node]);
        }
    }
}

void BM_W6_ChildEdit_Libxml2(benchmark::State& state)
{
    const std::vector<ChildEdit> script = childEditScript();
    std::vector<xmlNodePtr> nodes;
    auto setup = [&nodes](Doc& doc) {
        nodes.assign(w6Children + w6Edits, nullptr);
        for (unsigned long i = 0; i < w6Children; ++i)
            nodes[i] = xmlAddChild(doc.root, xmlNewDocNode(doc.document, nullptr, x("c"), nullptr));
    };
    {
        Doc doc;
        setup(doc);
        editChildren(doc, nodes, script);
        xmlNodePtr child = doc.root->children;
        for (unsigned long id : childOrderAfterScript()) {
            if (child != nodes[id]) return state.SkipWithError("wrong children");
            child = child->next;
        }
    }
    for (auto _ : state) {
        Doc doc;
        setup(doc);
        timed(state, [&] { editChildren(doc, nodes, script); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(w6Edits));
}
const bool w6
    = registerFixed("BM_W6_ChildEdit_Libxml2", BM_W6_ChildEdit_Libxml2, childEditPlanNoRanges);

void BM_W7_DestroyRoot_Libxml2(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    for (auto _ : state) {
        Doc doc;
        appendChildren(doc.document, doc.root, n);
        timed(state, [&] { doc.release(); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
const bool w7Root
    = registerFixed("BM_W7_DestroyRoot_Libxml2", BM_W7_DestroyRoot_Libxml2, destroyPlan);

void buildChain(Doc& doc, unsigned long n)
{
    xmlNodePtr node = doc.root;
    for (unsigned long i = 1; i < n; ++i)
        node = xmlAddChild(node, xmlNewDocNode(doc.document, nullptr, x("e"), nullptr));
}

void BM_W7_DestroyChain_Libxml2(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        Doc doc;
        buildChain(doc, n);
        unsigned long depth = 0;
        for (xmlNodePtr node = doc.root; node; node = node->children)
            ++depth;
        if (depth != n) return state.SkipWithError("wrong depth");
    }
    for (auto _ : state) {
        Doc doc;
        buildChain(doc, n);
        timed(state, [&] { doc.release(); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
const bool w7Chain
    = registerFixed("BM_W7_DestroyChain_Libxml2", BM_W7_DestroyChain_Libxml2, destroyPlan);

} // namespace

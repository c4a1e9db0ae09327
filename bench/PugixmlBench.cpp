// The workloads on pugixml: a plain DOM without events, ranges or undo. Nodes live in pages owned
// by the document, text is UTF-8.

#include "bench/BenchSupport.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <pugixml.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace ArborBench;
using DocPtr = std::unique_ptr<pugi::xml_document>;

unsigned long sizeArg(const benchmark::State& state)
{
    return static_cast<unsigned long>(state.range(0));
}

void appendChildren(pugi::xml_node root, unsigned long n)
{
    for (unsigned long i = 0; i < n; ++i) {
        if (i % 2 == 0)
            root.append_child("e");
        else
            root.append_child(pugi::node_pcdata).set_value(textNarrow);
    }
}

void insertFront(pugi::xml_node root, unsigned long n)
{
    for (unsigned long i = 0; i < n; ++i)
        root.prepend_child("e");
}

unsigned long childCount(pugi::xml_node root)
{
    unsigned long count = 0;
    for (pugi::xml_node child = root.first_child(); child; child = child.next_sibling())
        ++count;
    return count;
}

bool hasBuildShape(pugi::xml_node root, unsigned long n)
{
    pugi::xml_node first = root.first_child();
    pugi::xml_node second = first.next_sibling();
    return childCount(root) == n && first.type() == pugi::node_element
        && second.type() == pugi::node_pcdata && std::strlen(second.value()) == textUnits;
}

void BM_W1_Build_Pugixml(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        pugi::xml_document doc;
        pugi::xml_node root = doc.append_child("root");
        appendChildren(root, n);
        if (!hasBuildShape(root, n)) return state.SkipWithError("wrong tree");
    }
    for (auto _ : state) {
        DocPtr doc(new pugi::xml_document);
        pugi::xml_node root = doc->append_child("root");
        timed(state, [&] { appendChildren(root, n); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W1_Build_Pugixml)->Apply(sizes);

void BM_W2_InsertFront_Pugixml(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        pugi::xml_document doc;
        pugi::xml_node root = doc.append_child("root");
        pugi::xml_node last = root.append_child("last");
        insertFront(root, n - 1);
        if (childCount(root) != n || root.last_child() != last)
            return state.SkipWithError("wrong order");
    }
    for (auto _ : state) {
        DocPtr doc(new pugi::xml_document);
        pugi::xml_node root = doc->append_child("root");
        timed(state, [&] { insertFront(root, n); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W2_InsertFront_Pugixml)->Apply(sizes);

void removeFront(pugi::xml_node root)
{
    while (pugi::xml_node child = root.first_child())
        root.remove_child(child);
}

void BM_W3_RemoveFront_Pugixml(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        pugi::xml_document doc;
        pugi::xml_node root = doc.append_child("root");
        appendChildren(root, n);
        removeFront(root);
        if (root.first_child()) return state.SkipWithError("children not removed");
    }
    for (auto _ : state) {
        DocPtr doc(new pugi::xml_document);
        pugi::xml_node root = doc->append_child("root");
        appendChildren(root, n);
        timed(state, [&] { removeFront(root); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W3_RemoveFront_Pugixml)->Apply(sizes);

/// Appends pugixml's output to a reused byte array.
struct VectorWriter : pugi::xml_writer {
    std::vector<char> bytes;
    void write(const void* data, size_t size) override
    {
        const char* begin = static_cast<const char*>(data);
        bytes.insert(bytes.end(), begin, begin + size);
    }
};

void buildSerializeInput(pugi::xml_document& doc, unsigned long n)
{
    pugi::xml_node root = doc.append_child("root");
    for (unsigned long i = 0; i < n; ++i) {
        pugi::xml_node element = root.append_child("e");
        element.append_attribute("id").set_value(std::to_string(i).c_str());
        element.append_attribute("kind").set_value(w4Kind);
        element.append_child(pugi::node_pcdata).set_value(w4Text);
    }
}

void BM_W4_Serialize_Pugixml(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    pugi::xml_document doc;
    buildSerializeInput(doc, n);
    VectorWriter writer;
    doc.save(writer, "", pugi::format_raw);
    const std::string once(writer.bytes.begin(), writer.bytes.end());
    if (countOccurrences(once, "</e>") != n || countOccurrences(once, "&lt;") != 2 * n)
        return state.SkipWithError("wrong output");
    for (auto _ : state) {
        writer.bytes.clear();
        timed(state, [&] { doc.save(writer, "", pugi::format_raw); });
    }
    state.SetBytesProcessed(state.iterations() * static_cast<long>(writer.bytes.size()));
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W4_Serialize_Pugixml)->Apply(sizes);

// The same into a std::ostringstream, through pugixml's stream writer.
void BM_W4_Serialize_Pugixml_Ostream(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    pugi::xml_document doc;
    buildSerializeInput(doc, n);
    std::ostringstream os;
    for (auto _ : state) {
        os.str(std::string());
        timed(state, [&] { doc.save(os, "", pugi::format_raw); });
    }
    if (countOccurrences(os.str(), "</e>") != n) return state.SkipWithError("wrong output");
    state.SetBytesProcessed(state.iterations() * static_cast<long>(os.str().size()));
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W4_Serialize_Pugixml_Ostream)->Apply(sizes);

// pugixml has no insert operation on text: the new value is composed and set.
void editText(pugi::xml_node text, const std::vector<unsigned long>& offsets, std::string& scratch)
{
    for (unsigned long offset : offsets) {
        const char* value = text.value();
        scratch.assign(value, offset);
        scratch.push_back('x');
        scratch.append(value + offset);
        text.set_value(scratch.c_str(), scratch.size());
    }
}

void BM_W5_TextEdit_Pugixml(benchmark::State& state)
{
    const std::vector<unsigned long> offsets = textEditOffsets();
    const std::string data(w5Length, 'a');
    std::string scratch;
    {
        pugi::xml_document doc;
        pugi::xml_node text = doc.append_child("root").append_child(pugi::node_pcdata);
        text.set_value(data.c_str());
        editText(text, offsets, scratch);
        if (std::strlen(text.value()) != w5Length + w5Edits)
            return state.SkipWithError("wrong text");
    }
    for (auto _ : state) {
        DocPtr doc(new pugi::xml_document);
        pugi::xml_node text = doc->append_child("root").append_child(pugi::node_pcdata);
        text.set_value(data.c_str());
        timed(state, [&] { editText(text, offsets, scratch); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(w5Edits));
}
BENCHMARK(BM_W5_TextEdit_Pugixml)->Arg(0)->UseManualTime()->Unit(benchmark::kMicrosecond);

// pugixml makes nodes in place, so the node inserted by each step is created by the insertion.
void editChildren(
    pugi::xml_node root, std::vector<pugi::xml_node>& nodes, const std::vector<ChildEdit>& script)
{
    unsigned long nextId = w6Children;
    for (const ChildEdit& edit : script) {
        if (edit.insert)
            nodes[nextId++] = root.insert_child_before("c", nodes[edit.node]);
        else
            root.remove_child(nodes[edit.node]);
    }
}

void BM_W6_ChildEdit_Pugixml(benchmark::State& state)
{
    const std::vector<ChildEdit> script = childEditScript();
    auto setup = [](pugi::xml_document& doc, std::vector<pugi::xml_node>& nodes) {
        pugi::xml_node root = doc.append_child("root");
        nodes.assign(w6Children + w6Edits, pugi::xml_node());
        for (unsigned long i = 0; i < w6Children; ++i)
            nodes[i] = root.append_child("c");
        return root;
    };
    {
        pugi::xml_document doc;
        std::vector<pugi::xml_node> nodes;
        pugi::xml_node root = setup(doc, nodes);
        editChildren(root, nodes, script);
        pugi::xml_node child = root.first_child();
        for (unsigned long id : childOrderAfterScript()) {
            if (child != nodes[id]) return state.SkipWithError("wrong children");
            child = child.next_sibling();
        }
    }
    std::vector<pugi::xml_node> nodes;
    for (auto _ : state) {
        DocPtr doc(new pugi::xml_document);
        pugi::xml_node root = setup(*doc, nodes);
        timed(state, [&] { editChildren(root, nodes, script); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(w6Edits));
}
const bool w6
    = registerFixed("BM_W6_ChildEdit_Pugixml", BM_W6_ChildEdit_Pugixml, childEditPlanNoRanges);

// Releasing the document frees its pages; there is no release of a single subtree that keeps the
// document.
void BM_W7_DestroyRoot_Pugixml(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    for (auto _ : state) {
        DocPtr doc(new pugi::xml_document);
        appendChildren(doc->append_child("root"), n);
        timed(state, [&] { doc.reset(); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
const bool w7Root
    = registerFixed("BM_W7_DestroyRoot_Pugixml", BM_W7_DestroyRoot_Pugixml, destroyPlan);

void buildChain(pugi::xml_document& doc, unsigned long n)
{
    pugi::xml_node node = doc.append_child("e");
    for (unsigned long i = 1; i < n; ++i)
        node = node.append_child("e");
}

void BM_W7_DestroyChain_Pugixml(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        pugi::xml_document doc;
        buildChain(doc, n);
        unsigned long depth = 0;
        for (pugi::xml_node node = doc.first_child(); node; node = node.first_child())
            ++depth;
        if (depth != n) return state.SkipWithError("wrong depth");
    }
    for (auto _ : state) {
        DocPtr doc(new pugi::xml_document);
        buildChain(*doc, n);
        timed(state, [&] { doc.reset(); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
const bool w7Chain
    = registerFixed("BM_W7_DestroyChain_Pugixml", BM_W7_DestroyChain_Pugixml, destroyPlan);

} // namespace

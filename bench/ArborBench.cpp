// The workloads on Arbor: on a detached root ("Raw": no events, no undo record) and inside a
// document's content ("Document": every change a recorded model operation with events).

#include "arbor/arbor.h"

#include "bench/BenchSupport.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace ArborBench;
using Arbor::Node;
using Arbor::Token;
using DocumentRef = Plinth::Ref<Arbor::BasicDocument>;
using NodeRef = Plinth::Ref<Node>;

const Token tagRoot("root");
const Token tagE("e");
const Token tagC("c");
const Token attrId("id");
const Token attrKind("kind");

/// A document with no ranges of the bench's own; torn down before it is released, so ranges
/// parked on it never keep it alive.
struct Doc {
    DocumentRef document { new Arbor::BasicDocument };
    Doc() = default;
    Doc(const Doc&) = delete;
    Doc& operator=(const Doc&) = delete;
    ~Doc() { release(); }
    void release()
    {
        if (document) document->tearDown();
        document.reset();
    }
    Arbor::BasicDocument* operator->() const { return document.get(); }
};

/// A document whose content is a root element, with a fresh undo task pending.
struct DocWithRoot : Doc {
    Node* root;
    DocWithRoot()
    {
        root = document->createElement(tagRoot);
        document->appendChild(root);
        document->newUndoTask();
    }
};

/// W1/W3/W7 shape: `n` children alternating an element and an 11-unit text node.
void appendChildren(Arbor::BasicDocument* document, Node* root, unsigned long n)
{
    for (unsigned long i = 0; i < n; ++i) {
        if (i % 2 == 0)
            root->appendChild(document->createElement(tagE));
        else
            root->appendChild(document->createTextNode(textWide));
    }
}

void insertFront(Arbor::BasicDocument* document, Node* root, unsigned long n)
{
    for (unsigned long i = 0; i < n; ++i)
        root->insertBefore(document->createElement(tagE), root->firstChild());
}

bool hasBuildShape(Node* root, unsigned long n)
{
    if (root->items() != n) return false;
    Node* first = root->firstChild();
    Node* second = first ? first->nextSibling() : nullptr;
    return first && first->nodeType() == Arbor::ELEMENT_NODE && second
        && second->nodeType() == Arbor::TEXT_NODE && second->items() == textUnits;
}

unsigned long sizeArg(const benchmark::State& state)
{
    return static_cast<unsigned long>(state.range(0));
}

// W1 -------------------------------------------------------------------------------------------

void BM_W1_Build_Arbor_Raw(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        Doc doc;
        NodeRef root(doc->createElement(tagRoot));
        appendChildren(doc.document.get(), root.get(), n);
        if (!hasBuildShape(root.get(), n)) return state.SkipWithError("wrong tree");
    }
    for (auto _ : state) {
        Doc doc;
        NodeRef root(doc->createElement(tagRoot));
        timed(state, [&] { appendChildren(doc.document.get(), root.get(), n); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W1_Build_Arbor_Raw)->Apply(sizes);

void BM_W1_Build_Arbor_Document(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        DocWithRoot doc;
        appendChildren(doc.document.get(), doc.root, n);
        if (!hasBuildShape(doc.root, n) || !doc->canUndo())
            return state.SkipWithError("wrong tree or no undo record");
    }
    for (auto _ : state) {
        DocWithRoot doc;
        timed(state, [&] { appendChildren(doc.document.get(), doc.root, n); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W1_Build_Arbor_Document)->Apply(sizes);

// W2 -------------------------------------------------------------------------------------------

void BM_W2_InsertFront_Arbor_Raw(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        Doc doc;
        NodeRef root(doc->createElement(tagRoot));
        Node* last = doc->createElement(tagE);
        root->appendChild(last);
        insertFront(doc.document.get(), root.get(), n - 1);
        if (root->items() != n || root->lastChild() != last)
            return state.SkipWithError("wrong order");
    }
    for (auto _ : state) {
        Doc doc;
        NodeRef root(doc->createElement(tagRoot));
        timed(state, [&] { insertFront(doc.document.get(), root.get(), n); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W2_InsertFront_Arbor_Raw)->Apply(sizes);

void BM_W2_InsertFront_Arbor_Document(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    for (auto _ : state) {
        DocWithRoot doc;
        timed(state, [&] { insertFront(doc.document.get(), doc.root, n); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W2_InsertFront_Arbor_Document)->Apply(sizes);

// W3 -------------------------------------------------------------------------------------------

void removeFront(Node* root)
{
    while (Node* child = root->firstChild())
        root->removeChild(child);
}

void BM_W3_RemoveFront_Arbor_Raw(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        Doc doc;
        NodeRef root(doc->createElement(tagRoot));
        appendChildren(doc.document.get(), root.get(), n);
        // A watched child must be freed by its removal: hold it weakly through its count.
        NodeRef watched(root->firstChild());
        root->removeChild(watched.get());
        const bool freedOnRelease = watched->refCount == 1 && !watched->parentNode();
        removeFront(root.get());
        if (!freedOnRelease || root->items() != 0)
            return state.SkipWithError("children not removed");
    }
    for (auto _ : state) {
        Doc doc;
        NodeRef root(doc->createElement(tagRoot));
        appendChildren(doc.document.get(), root.get(), n);
        timed(state, [&] { removeFront(root.get()); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W3_RemoveFront_Arbor_Raw)->Apply(sizes);

// W4 -------------------------------------------------------------------------------------------

/// The smallest element a host can write: a tag and nothing else (no attributes, the default
/// `putAttributesXml`).
class MinimalElement final : public Arbor::Element {
public:
    MinimalElement(Arbor::Document* document, Token tag)
        : Element(document)
        , tag(tag)
    {
    }
    Node* cloneNode(bool) override { return new MinimalElement(document, tag); }
    Token tagName() override { return tag; }
    Arbor::Variant getAttribute(Token) override { return {}; }
    bool hasAttribute(Token) override { return false; }
    void setAttributeRaw(Token, const Arbor::Variant&) override { }
    void removeAttributeRaw(Token) override { }

private:
    Token tag;
};

/// W4 input: `n` elements with two attributes and a text child with markup characters; with
/// `minimal`, elements without attributes of the minimal host class.
void buildSerializeInput(Doc& doc, unsigned long n, bool minimal = false)
{
    NodeRef root(doc->createElement(tagRoot));
    for (unsigned long i = 0; i < n; ++i) {
        if (minimal) {
            Node* element = root->appendChild(new MinimalElement(doc.document.get(), tagE));
            element->appendChild(doc->createTextNode(w4TextWide));
            continue;
        }
        Arbor::Element* element = doc->createElement(tagE);
        root->appendChild(element);
        element->setAttribute(attrId, Arbor::StringVariant(std::to_string(i).c_str()));
        element->setAttribute(attrKind, Arbor::StringVariant(w4Kind));
        element->appendChild(doc->createTextNode(w4TextWide));
    }
    doc->appendChild(root.get());
    doc->clearUndoStack();
}

std::string serializeOnce(unsigned long n, bool minimal = false)
{
    Doc doc;
    buildSerializeInput(doc, n, minimal);
    StringSink sink;
    std::ostream os(&sink);
    doc->putXml(os);
    return sink.text();
}

/// W4 into the bench's memory sink, or with `ostringstream` into a `std::ostringstream`.
void serialize(benchmark::State& state, bool minimal, bool ostringstream)
{
    const unsigned long n = sizeArg(state);
    // The input is built first, on a heap no earlier tree has used, as the peers build theirs.
    Doc doc;
    buildSerializeInput(doc, n, minimal);
    const std::string once = serializeOnce(n, minimal);
    if (countOccurrences(once, "</e>") != n
        || countOccurrences(once, "&lt;") != (minimal ? 1 : 2) * n
        || once.compare(0, 5, "<?xml") != 0)
        return state.SkipWithError("wrong output");
    StringSink sink(once.size() + 64);
    std::ostream os(&sink);
    std::ostringstream string;
    for (auto _ : state) {
        if (ostringstream) {
            string.str(std::string());
            timed(state, [&] { doc->putXml(string); });
        } else {
            sink.rewind();
            timed(state, [&] { doc->putXml(os); });
        }
    }
    if ((ostringstream ? string.str() : sink.text()) != once)
        return state.SkipWithError("output differs");
    state.SetBytesProcessed(state.iterations() * static_cast<long>(once.size()));
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}

void BM_W4_Serialize_Arbor(benchmark::State& state) { serialize(state, false, false); }
BENCHMARK(BM_W4_Serialize_Arbor)->Apply(sizes);
void BM_W4_Serialize_Arbor_Ostream(benchmark::State& state) { serialize(state, false, true); }
BENCHMARK(BM_W4_Serialize_Arbor_Ostream)->Apply(sizes);
void BM_W4_Serialize_Arbor_Minimal(benchmark::State& state) { serialize(state, true, false); }
BENCHMARK(BM_W4_Serialize_Arbor_Minimal)->Apply(sizes);
void BM_W4_Serialize_Arbor_MinimalOstream(benchmark::State& state) { serialize(state, true, true); }
BENCHMARK(BM_W4_Serialize_Arbor_MinimalOstream)->Apply(sizes);

// Attribute lookup on one BasicElement with N attributes: every name once by getAttribute.
void BM_AttributeLookup_Arbor(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    Doc doc;
    NodeRef element(doc->createElement(tagE));
    std::vector<Token> names;
    for (unsigned long i = 0; i < n; ++i) {
        names.emplace_back(("a" + std::to_string(i)).c_str());
        element->asElement()->setAttribute(names.back(), Arbor::LongVariant(static_cast<long>(i)));
    }
    long sum = 0;
    for (auto _ : state) {
        timed(state, [&] {
            for (const Token& name : names) {
                const Arbor::Variant value = element->asElement()->getAttribute(name);
                sum += value.dynamicCast(Arbor::LongVariant::runtimeClass()) != nullptr;
            }
        });
    }
    if (sum != static_cast<long>(state.iterations() * n))
        return state.SkipWithError("attribute missing");
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_AttributeLookup_Arbor)
    ->Arg(2)
    ->Arg(10)
    ->Arg(1000)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

// The physical reference: copying as many bytes as Arbor writes.
void BM_W4_Serialize_Memcpy(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    const std::string source = serializeOnce(n);
    std::vector<char> target(source.size());
    for (auto _ : state) {
        timed(state, [&] {
            std::memcpy(target.data(), source.data(), source.size());
            benchmark::DoNotOptimize(target.data());
            benchmark::ClobberMemory();
        });
    }
    if (std::memcmp(target.data(), source.data(), source.size()) != 0)
        return state.SkipWithError("copy differs");
    state.SetBytesProcessed(state.iterations() * static_cast<long>(source.size()));
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
BENCHMARK(BM_W4_Serialize_Memcpy)->Apply(sizes);

// W5 -------------------------------------------------------------------------------------------

/// A root with a 10,000-unit text and `rangeCount` live ranges in it, held by the fixture.
struct TextEditInput : DocWithRoot {
    Arbor::Text* text;
    std::vector<Arbor::Range*> ranges;

    explicit TextEditInput(unsigned long rangeCount)
    {
        const std::u16string data(w5Length, u'a');
        text = document->createTextNode(data.c_str());
        root->appendChild(text);
        for (unsigned long k = 0; k < rangeCount; ++k) {
            Arbor::Range* range = document->createRange(false);
            range->ref();
            const TextRangePoints points = textRangeAt(k, rangeCount);
            range->setEnd(text, points.end);
            range->setStart(text, points.start);
            ranges.push_back(range);
        }
        document->newUndoTask();
    }
    ~TextEditInput()
    {
        for (Arbor::Range* range : ranges)
            range->unref();
    }
    bool rangeAt(unsigned long k, TextRangePoints points) const
    {
        const Arbor::Range* range = ranges[k];
        return range->startContainer == text && range->endContainer == text
            && range->startOffset == points.start && range->endOffset == points.end;
    }
    bool edited() const
    {
        if (text->length() != w5Length + w5Edits) return false;
        const unsigned long count = ranges.size();
        return count == 0
            || (rangeAt(0, textRangeAfterEdits(textRangeAt(0, count)))
                && rangeAt(count - 1, textRangeAfterEdits(textRangeAt(count - 1, count))));
    }
};

void editText(Arbor::Text* text, const std::vector<unsigned long>& offsets)
{
    for (unsigned long offset : offsets)
        text->insertData(offset, u"x");
}

void BM_W5_TextEdit_Arbor(benchmark::State& state)
{
    const unsigned long rangeCount = sizeArg(state);
    const std::vector<unsigned long> offsets = textEditOffsets();
    {
        TextEditInput input(rangeCount);
        editText(input.text, offsets);
        if (!input.edited()) return state.SkipWithError("wrong text or ranges");
    }
    for (auto _ : state) {
        TextEditInput input(rangeCount);
        timed(state, [&] { editText(input.text, offsets); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(w5Edits));
}
BENCHMARK(BM_W5_TextEdit_Arbor)->Apply(rangeCounts);

// W6 -------------------------------------------------------------------------------------------

/// A root with 10,000 element children and `rangeCount` live ranges in the root.
struct ChildEditInput : DocWithRoot {
    /// Node by id (see `ChildEdit`).
    std::vector<Node*> nodes;
    std::vector<Arbor::Range*> ranges;

    explicit ChildEditInput(unsigned long rangeCount)
        : nodes(w6Children + w6Edits)
    {
        // Built in a fragment, then moved in by one change.
        NodeRef fragment(document->createDocumentFragment());
        for (unsigned long i = 0; i < w6Children; ++i)
            nodes[i] = fragment->appendChild(document->createElement(tagC));
        root->appendChild(fragment.get());
        for (unsigned long k = 0; k < rangeCount; ++k) {
            Arbor::Range* range = document->createRange(false);
            range->ref();
            const ChildRangePoints points = childRangeAt(k, rangeCount);
            range->setEnd(root, points.end);
            range->setStart(root, points.start);
            ranges.push_back(range);
        }
        document->newUndoTask();
    }
    ~ChildEditInput()
    {
        for (Arbor::Range* range : ranges)
            range->unref();
    }
    bool rangeAt(unsigned long k, ChildRangePoints points) const
    {
        const Arbor::Range* range = ranges[k];
        return range->startContainer == root && range->endContainer == root
            && range->startOffset == points.start && range->endOffset == points.end;
    }
    bool edited() const
    {
        const std::vector<unsigned long> order = childOrderAfterScript();
        Node* child = root->firstChild();
        for (unsigned long id : order) {
            if (child != nodes[id]) return false;
            child = child->nextSibling();
        }
        const unsigned long count = ranges.size();
        return !child
            && (count == 0
                || (rangeAt(0, childRangeAfterScript(childRangeAt(0, count)))
                    && rangeAt(count - 1, childRangeAfterScript(childRangeAt(count - 1, count)))));
    }
};

void editChildren(ChildEditInput& input, const std::vector<ChildEdit>& script)
{
    unsigned long nextId = w6Children;
    for (const ChildEdit& edit : script) {
        if (edit.insert) {
            Node* fresh = input.document->createElement(tagC);
            input.root->insertBefore(fresh, input.nodes[edit.node]);
            input.nodes[nextId++] = fresh;
        } else {
            input.root->removeChild(input.nodes[edit.node]);
        }
    }
}

void BM_W6_ChildEdit_Arbor(benchmark::State& state)
{
    const unsigned long rangeCount = sizeArg(state);
    const std::vector<ChildEdit> script = childEditScript();
    {
        ChildEditInput input(rangeCount);
        editChildren(input, script);
        if (!input.edited()) return state.SkipWithError("wrong children or ranges");
    }
    for (auto _ : state) {
        ChildEditInput input(rangeCount);
        timed(state, [&] { editChildren(input, script); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(w6Edits));
}
const bool w6 = registerFixed("BM_W6_ChildEdit_Arbor", BM_W6_ChildEdit_Arbor, childEditPlan);

// W7 -------------------------------------------------------------------------------------------

void BM_W7_DestroyRoot_Arbor_Raw(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    for (auto _ : state) {
        Doc doc;
        NodeRef root(doc->createElement(tagRoot));
        appendChildren(doc.document.get(), root.get(), n);
        timed(state, [&] { root.reset(); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
const bool w7Root
    = registerFixed("BM_W7_DestroyRoot_Arbor_Raw", BM_W7_DestroyRoot_Arbor_Raw, destroyPlan);

// The whole document goes, as the peers release theirs.
void BM_W7_DestroyRoot_Arbor_Document(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    for (auto _ : state) {
        DocumentRef document(new Arbor::BasicDocument);
        NodeRef root(document->createElement(tagRoot));
        appendChildren(document.get(), root.get(), n);
        document->appendChild(root.get());
        document->clearUndoStack();
        root.reset();
        timed(state, [&] { document.reset(); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
const bool w7RootDocument = registerFixed(
    "BM_W7_DestroyRoot_Arbor_Document", BM_W7_DestroyRoot_Arbor_Document, destroyPlan);

/// A chain `n` elements deep, built from the bottom up (each new parent takes the chain so far).
NodeRef buildChain(Arbor::BasicDocument* document, unsigned long n)
{
    NodeRef top(document->createElement(tagE));
    for (unsigned long i = 1; i < n; ++i) {
        NodeRef parent(document->createElement(tagE));
        parent->appendChild(top.get());
        top = parent;
    }
    return top;
}

void BM_W7_DestroyChain_Arbor_Raw(benchmark::State& state)
{
    const unsigned long n = sizeArg(state);
    {
        Doc doc;
        NodeRef top = buildChain(doc.document.get(), n);
        unsigned long depth = 0;
        for (Node* node = top.get(); node; node = node->firstChild())
            ++depth;
        if (depth != n) return state.SkipWithError("wrong depth");
    }
    for (auto _ : state) {
        Doc doc;
        NodeRef top = buildChain(doc.document.get(), n);
        timed(state, [&] { top.reset(); });
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}
const bool w7Chain
    = registerFixed("BM_W7_DestroyChain_Arbor_Raw", BM_W7_DestroyChain_Arbor_Raw, destroyPlan);

// W8 -------------------------------------------------------------------------------------------

enum class Phase { Execute, Undo, Redo };

/// Runs `setup` untimed, then `execute`, `undo()` and `redo()`, timing only `phase`.
template <class Setup, class Execute>
void undoRedo(benchmark::State& state, Phase phase, Setup setup, Execute execute)
{
    for (auto _ : state) {
        auto input = setup();
        Arbor::Document* document = input->document.get();
        if (phase == Phase::Execute)
            timed(state, [&] { execute(*input); });
        else
            execute(*input);
        if (phase == Phase::Undo)
            timed(state, [&] { document->undo(); });
        else
            document->undo();
        if (phase == Phase::Redo) timed(state, [&] { document->redo(); });
    }
}

void W8_Build(benchmark::State& state, Phase phase)
{
    const unsigned long n = sizeArg(state);
    auto setup = [] { return std::make_unique<DocWithRoot>(); };
    auto execute = [n](DocWithRoot& input) { appendChildren(input.document.get(), input.root, n); };
    {
        auto input = setup();
        execute(*input);
        input->document->undo();
        const bool undone = input->root->items() == 0;
        input->document->redo();
        if (!undone || !hasBuildShape(input->root, n))
            return state.SkipWithError("undo or redo went wrong");
    }
    undoRedo(state, phase, setup, execute);
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}

void W8_InsertFront(benchmark::State& state, Phase phase)
{
    const unsigned long n = sizeArg(state);
    auto setup = [] { return std::make_unique<DocWithRoot>(); };
    auto execute = [n](DocWithRoot& input) { insertFront(input.document.get(), input.root, n); };
    {
        auto input = setup();
        execute(*input);
        Node* first = input->root->firstChild();
        input->document->undo();
        const bool undone = input->root->items() == 0;
        input->document->redo();
        if (!undone || input->root->items() != n || input->root->firstChild() != first)
            return state.SkipWithError("undo or redo went wrong");
    }
    undoRedo(state, phase, setup, execute);
    state.SetItemsProcessed(state.iterations() * static_cast<long>(n));
}

void W8_TextEdit(benchmark::State& state, Phase phase)
{
    const unsigned long rangeCount = sizeArg(state);
    const std::vector<unsigned long> offsets = textEditOffsets();
    auto setup = [rangeCount] { return std::make_unique<TextEditInput>(rangeCount); };
    auto execute = [&offsets](TextEditInput& input) { editText(input.text, offsets); };
    {
        auto input = setup();
        execute(*input);
        input->document->undo();
        const bool undone = input->text->length() == w5Length
            && (rangeCount == 0 || input->rangeAt(0, textRangeAt(0, rangeCount)));
        input->document->redo();
        if (!undone || !input->edited()) return state.SkipWithError("undo or redo went wrong");
    }
    undoRedo(state, phase, setup, execute);
    state.SetItemsProcessed(state.iterations() * static_cast<long>(w5Edits));
}

const bool registered = [] {
    const std::pair<const char*, Phase> phases[] = {
        { "Execute", Phase::Execute },
        { "Undo", Phase::Undo },
        { "Redo", Phase::Redo },
    };
    for (const auto& [name, phase] : phases) {
        benchmark::RegisterBenchmark(
            (std::string("BM_W8_Build_Arbor_") + name).c_str(), W8_Build, phase)
            ->Apply(smallSizes);
        benchmark::RegisterBenchmark(
            (std::string("BM_W8_InsertFront_Arbor_") + name).c_str(), W8_InsertFront, phase)
            ->Apply(smallSizes);
        benchmark::RegisterBenchmark(
            (std::string("BM_W8_TextEdit_Arbor_") + name).c_str(), W8_TextEdit, phase)
            ->Apply(rangeCounts);
    }
    return true;
}();

} // namespace

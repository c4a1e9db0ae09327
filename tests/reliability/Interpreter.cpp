#include "tests/reliability/Interpreter.h"

#include "tests/reliability/Choices.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <utility>

namespace {

class CountedFunctor final : public Arbor::Functor {
public:
    explicit CountedFunctor(unsigned long& deleted)
        : deleted(deleted)
    {
    }
    ~CountedFunctor() override { ++deleted; }
    void operator()() override { }

private:
    unsigned long& deleted;
};

// The XML with the attributes of every start tag in name order (values are escaped, so no '<'
// or '>' appears inside a tag but its brackets).
std::string sortAttributes(const std::string& xml)
{
    std::string sorted;
    std::size_t at = 0;
    while (at < xml.size()) {
        const std::size_t open = xml.find('<', at);
        const std::size_t close = open == std::string::npos ? open : xml.find('>', open);
        if (close == std::string::npos) {
            sorted += xml.substr(at);
            break;
        }
        sorted += xml.substr(at, open - at);
        std::vector<std::string> parts;
        std::istringstream tag(xml.substr(open + 1, close - open - 1));
        for (std::string part; std::getline(tag, part, ' ');)
            parts.push_back(part);
        if (parts.size() > 1) std::sort(parts.begin() + 1, parts.end());
        sorted += '<';
        for (std::size_t i = 0; i < parts.size(); ++i)
            sorted += (i ? " " : "") + parts[i];
        sorted += '>';
        at = close + 1;
    }
    return sorted;
}

} // namespace

namespace Reliability {

using namespace Choices;

unsigned long RandomSource::below(unsigned long n)
{
    // splitmix64
    std::uint64_t z = (state += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    z ^= z >> 31;
    return n ? static_cast<unsigned long>(z % n) : 0;
}

unsigned long ByteSource::below(unsigned long n)
{
    unsigned long value = 0;
    const int bytes = n <= 256 ? 1 : 2;
    for (int i = 0; i < bytes; ++i)
        value = value << 8 | (position < size ? data[position++] : 0);
    return n ? value % n : 0;
}

void ChaosObserver::unObserve(Arbor::Token) { --registrations; }

void ChaosObserver::onEvent(Arbor::DomEvent&)
{
    Arbor::Document* document = interpreter.document();
    switch (interpreter.source.below(24)) {
    case 0:
        document->removeObserver(this);
        break;
    case 1: {
        ChaosObserver& other
            = *interpreter.observers[interpreter.source.below(interpreter.observers.size())];
        document->addObserver(&other);
        ++other.registrations;
        break;
    }
    case 2:
        interpreter.postCounted();
        break;
    default:
        break;
    }
}

Interpreter::Interpreter(Source& source, bool strictAttributeOrder)
    : source(source)
    , strictAttributeOrder(strictAttributeOrder)
{
    for (int i = 0; i < 3; ++i)
        observers.push_back(std::make_unique<ChaosObserver>(*this));
    startEpisode();
}

Interpreter::~Interpreter() { releaseEverything(); }

Arbor::Document* Interpreter::document() const
{
    return static_cast<Arbor::Document*>(held[0].get());
}

void Interpreter::postCounted()
{
    ++functorsPosted;
    document()->postFunction(new CountedFunctor(functorsDeleted));
}

void Interpreter::startEpisode()
{
    liveAtStart = liveHostObjects();
    model = Model();
    held.clear();
    numbers.clear();
    bind(0, new TestDocument);
    bind(1, new TestDocument);
    for (auto& observer : observers)
        observer->registrations = 0;
    document()->addObserver(&log);
    const int root = rootId = model.addNode(Kind::Element, 0, "root");
    bind(root, static_cast<TestDocument*>(document())->makeElement("root"));
    document()->appendChild(nodeOf(root));
    model.replaceChildren(0, none, 0, root);
    model.clear();
    ++counters.episodes;
}

void Interpreter::releaseEverything()
{
    ranges.clear();
    for (int id : { 0, 1 }) {
        if (held.size() > static_cast<unsigned long>(id) && held[id]) {
            auto* document = static_cast<Arbor::Document*>(held[id].get());
            document->removeObserver(&log);
            document->tearDown();
        }
    }
    // Release the nodes and the documents in an order the choices pick.
    while (!held.empty()) {
        const unsigned long index = source.below(held.size());
        std::swap(held[index], held.back());
        held.pop_back();
    }
    numbers.clear();
}

bool Interpreter::fail(const std::string& what)
{
    if (failureText.empty())
        failureText = "step " + std::to_string(counters.steps) + " (" + operation + "): " + what;
    return false;
}

bool Interpreter::expect(long expected, long actual)
{
    if (expected == actual) {
        if (actual != 0) ++counters.refusals;
        return true;
    }
    return fail("expected result " + std::to_string(expected) + ", got " + std::to_string(actual));
}

int Interpreter::bind(int id, Arbor::Node* node)
{
    if (held.size() <= static_cast<unsigned long>(id))
        held.resize(static_cast<unsigned long>(id) + 1);
    held[static_cast<unsigned long>(id)] = Plinth::Ref<Arbor::Node>(node);
    numbers[node] = id;
    return id;
}

// Binds the model's pre-order numbers of a copy to the library's copy.
int Interpreter::bindCopy(int id, Arbor::Node* node)
{
    bind(id, node);
    Arbor::Node* child = node->firstChild();
    for (int childId : model.at(id).children) {
        if (!child) return fail("copy has fewer children than its original"), id;
        bindCopy(childId, child);
        child = child->nextSibling();
    }
    if (child) fail("copy has more children than its original");
    return id;
}

int Interpreter::numberOf(Arbor::Node* node) const
{
    if (!node) return none;
    auto found = numbers.find(node);
    return found == numbers.end() ? -2 : found->second;
}

Arbor::Node* Interpreter::nodeOf(int id) const
{
    return id < 0 ? nullptr : held[static_cast<unsigned long>(id)].get();
}

std::string Interpreter::xml()
{
    std::ostringstream os;
    document()->putXml(os);
    return os.str();
}

int Interpreter::pick(bool (*accept)(const ModelNode&), unsigned long noneChance)
{
    std::vector<int> candidates;
    for (unsigned long id = 0; id < model.nodes.size(); ++id) {
        if (model.nodes[id].alive && accept(model.nodes[id]))
            candidates.push_back(static_cast<int>(id));
    }
    if (candidates.empty() || (noneChance && source.chance(noneChance))) return none;
    return candidates[source.below(candidates.size())];
}

int Interpreter::pickParent()
{
    if (source.chance(3)) return pick(innerNode, 0);
    std::vector<int> content;
    for (unsigned long id = 0; id < model.nodes.size(); ++id) {
        if (model.nodes[id].alive && model.nodes[id].kind == Kind::Element
            && model.inContent(static_cast<int>(id)))
            content.push_back(static_cast<int>(id));
    }
    return content.empty() ? pick(innerNode, 0) : content[source.below(content.size())];
}

int Interpreter::pickChild(int parent)
{
    const std::vector<int>& children = model.at(parent).children;
    if (!children.empty() && !source.chance(4)) return children[source.below(children.size())];
    return pick(anyNode, 4);
}

unsigned long Interpreter::pickOffset(unsigned long length)
{
    switch (source.below(12)) {
    case 0:
        return ULONG_MAX;
    case 1:
        return length + 1 + source.below(3);
    case 2:
        return ULONG_MAX - source.below(3);
    default:
        return source.below(length + 1);
    }
}

std::u16string Interpreter::pickText()
{
    static const char16_t alphabet[] = u"ab<&>\r\n\"x\xD800\xDC00\xFFFF\x00E9 ";
    std::u16string text;
    for (unsigned long n = source.below(6); n > 0; --n)
        text.push_back(alphabet[source.below(sizeof alphabet / sizeof alphabet[0] - 1)]);
    return text;
}

Arbor::Variant Interpreter::pickValue()
{
    const std::u16string wide = pickText();
    const std::string narrow = "v" + std::to_string(source.below(1000));
    switch (source.below(11)) {
    case 0:
        return Arbor::Variant();
    case 1:
        return Arbor::BoolVariant(source.chance(2));
    case 2:
        return Arbor::LongVariant(static_cast<long>(source.below(2000)) - 1000);
    case 3:
        return Arbor::FloatVariant(static_cast<float>(source.below(100)) / 8);
    case 4:
        return Arbor::DoubleVariant(static_cast<double>(source.below(100000)) / 7);
    case 5:
        return Arbor::StringVariant(source.chance(8) ? nullptr : narrow.c_str());
    case 6:
        return Arbor::UStringVariant(source.chance(8) ? nullptr : wide.c_str());
    case 7:
        return Arbor::FixedStringVariant(Plinth::FixedStringBase<char>(narrow.c_str()));
    case 8:
        return Arbor::FixedUStringVariant(Plinth::FixedStringBase<char16_t>(wide.c_str()));
    default:
        return Arbor::TokenVariant(Arbor::Token(tags[source.below(4)]));
    }
}

bool Interpreter::step()
{
    if (!failureText.empty()) return false;
    ++counters.steps;
    log.clear();
    hookLog().clear();
    model.xmlBeforeStep = xml();
    model.unrecordedInStep = false;
    // Each operation with its weight out of 40.
    using Run = bool (*)(Interpreter&);
    static const std::pair<unsigned long, Run> operations[] = {
        { 3, [](Interpreter& i) { return i.makeNode(); } },
        { 6, [](Interpreter& i) { return i.childOperation(); } },
        { 2, [](Interpreter& i) { return i.directReplace(); } },
        { 4, [](Interpreter& i) { return i.textOperation(); } },
        { 2, [](Interpreter& i) { return i.splitText(); } },
        { 3, [](Interpreter& i) { return i.attributeOperation(); } },
        { 1, [](Interpreter& i) { return i.cloneNode(); } },
        { 1, [](Interpreter& i) { return i.toggleSwitch(); } },
        { 4, [](Interpreter& i) { return i.historyOperation(); } },
        { 1,
            [](Interpreter& i) {
                return i.source.chance(2) ? i.batchOperation() : i.observerOperation();
            } },
        { 1, [](Interpreter& i) { return i.observerOperation(); } },
        { 4, [](Interpreter& i) { return i.rangeOperation(); } },
        { 1, [](Interpreter& i) { return i.releaseNode(); } },
        { 1, [](Interpreter& i) { return i.source.chance(40) ? i.tearDown() : i.query(); } },
        { 6, [](Interpreter& i) { return i.query(); } },
    };
    bool ok = true;
    unsigned long choice = source.below(40);
    for (const auto& entry : operations) {
        if (choice < entry.first) {
            ok = entry.second(*this);
            break;
        }
        choice -= entry.first;
    }
    // ARBOR_TRACE=1 lists the steps, to find the one that leads to a failure.
    static const bool trace = std::getenv("ARBOR_TRACE") != nullptr;
    if (trace)
        std::fprintf(stderr, "%lu %s: undo tasks %zu, done %lu\n", counters.steps,
            operation.c_str(), model.taskStarts.size(), model.doneTasks);
    return ok && checkAll();
}

bool Interpreter::finishEpisode()
{
    if (!failureText.empty()) return false;
    operation = "undo everything";
    const std::string final = xml();
    const bool pure = model.historyPure && model.canUndo();
    const unsigned long done = model.doneTasks;
    const std::string start = model.taskXml.empty() ? std::string() : model.taskXml.front();
    bool replayed = true;
    while (model.canUndo()) {
        const long actual = attempt([&] { document()->undo(); });
        const long expected = model.undo();
        replayed = replayed && expected == 0;
        if (!expect(expected, actual) || !checkAll()) return false;
    }
    if (pure && replayed) {
        ++counters.undoAllChecks;
        if (xml() != start
            && (strictAttributeOrder || sortAttributes(xml()) != sortAttributes(start)))
            return fail("undoing every task gave\n" + xml() + "instead of\n" + start);
        counters.attributeOrderSlips += xml() != start;
    }
    operation = "redo everything";
    for (unsigned long task = 0; task < done && replayed; ++task) {
        const long actual = attempt([&] { document()->redo(); });
        const long expected = model.redo();
        replayed = expected == 0;
        if (!expect(expected, actual) || !checkAll()) return false;
    }
    // Like undoing, redoing reaches the final XML only when nothing that the history can link
    // back in was changed without a record.
    if (pure && replayed && xml() != final)
        return fail("redoing the undone tasks gave\n" + xml() + "instead of\n" + final);
    while (model.canRedo()) {
        const long actual = attempt([&] { document()->redo(); });
        const long expected = model.redo();
        replayed = replayed && expected == 0;
        if (!expect(expected, actual) || !checkAll()) return false;
    }
    operation = "release everything";
    releaseEverything();
    for (auto& observer : observers) {
        if (observer->registrations != 0)
            return fail("an observer is still registered after tearDown");
    }
    if (liveHostObjects() != liveAtStart)
        return fail(std::to_string(liveHostObjects() - liveAtStart)
            + " host objects outlive their documents");
    startEpisode();
    return true;
}

} // namespace Reliability

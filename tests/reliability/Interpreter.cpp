#include "tests/reliability/Interpreter.h"

#include "arbor/undo/AttributeOperation.h"
#include "arbor/undo/ReplaceChildrenOperation.h"
#include "arbor/undo/ReplaceTextOperation.h"
#include "tests/support/Links.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>

namespace {

using Arbor::Node;

const char* const tags[] = { "p", "q", "em", "li" };
const Arbor::Token eventTypes[] = { Arbor::tok_BeforeReplaceChildren,
    Arbor::tok_AfterReplaceChildren, Arbor::tok_BeforeReplaceText, Arbor::tok_AfterReplaceText,
    Arbor::tok_AfterSetAttribute, Arbor::tok_BeforeSelectionChange };

bool treeNode(Node* node)
{
    const int type = node->nodeType();
    return type == Arbor::ELEMENT_NODE || type == Arbor::TEXT_NODE || type == Arbor::DOCUMENT_NODE
        || type == Arbor::DOCUMENT_FRAGMENT_NODE;
}

std::u16string dataOf(Arbor::Text* text) { return text->data() ? text->data() : u""; }

const char16_t* chars(const std::optional<std::u16string>& text)
{
    return text ? text->c_str() : nullptr;
}

// The point's position as child indices from the top of its tree, then `offset`; the top in `top`.
std::vector<unsigned long> pathOf(Node* node, unsigned long offset, Node*& top)
{
    std::vector<unsigned long> path { offset };
    for (; node->parent; node = node->parent)
        path.push_back(node->parentOffset());
    top = node;
    std::reverse(path.begin(), path.end());
    return path;
}

} // namespace

namespace Reliability {

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
    Source& source = interpreter.source;
    const unsigned long choice = source.below(24);
    if (choice == 0) interpreter.document()->removeObserver(this);
    if (choice == 1) {
        ChaosObserver& other = *interpreter.observers[source.below(interpreter.observers.size())];
        interpreter.document()->addObserver(&other);
        ++other.registrations;
    }
    if (choice == 2) interpreter.postCounted();
}

Interpreter::Interpreter(Source& source)
    : source(source)
{
    for (int i = 0; i < 3; ++i)
        observers.push_back(std::make_unique<ChaosObserver>(*this));
    tasksAtStart = PostedTask::live;
    startEpisode();
}

Interpreter::~Interpreter() { releaseEverything(); }

void Interpreter::postCounted() { document()->postFunction(new PostedTask); }

void Interpreter::startEpisode()
{
    liveAtStart = liveHostObjects();
    for (auto& document : documents)
        document = Plinth::Ref<TestDocument>(new TestDocument);
    for (auto& observer : observers)
        observer->registrations = 0;
    document()->addObserver(&log);
    appendElement(document(), "root");
    tasks.clear();
    staleRanges.clear();
    historyPure = true;
    batchDepth = 0;
    tornDown = false;
    ++counters.episodes;
    checkAll();
}

void Interpreter::releaseEverything()
{
    ranges.clear();
    reached.clear();
    for (auto& document : documents) {
        if (!document) continue;
        document->removeObserver(&log);
        document->tearDown();
    }
    // Release the nodes and the documents in an order the choices pick.
    for (auto& document : documents)
        held.push_back(Plinth::Ref<Node>::adopt(document.release()));
    while (!held.empty())
        releaseHeld();
}

void Interpreter::releaseHeld()
{
    const unsigned long index = source.below(held.size());
    std::swap(held[index], held.back());
    held.pop_back();
}

bool Interpreter::fail(const std::string& what)
{
    if (failureText.empty())
        failureText = "step " + std::to_string(counters.steps) + " (" + operation + "): " + what;
    return false;
}

std::string Interpreter::xml() const { return ::xml(document()); }

template <class Action> bool Interpreter::attempt(Action&& action)
{
    try {
        action();
        return true;
    } catch (const Arbor::DomException&) {
    } catch (const Arbor::RangeException&) {
    }
    ++counters.refusals;
    return false;
}

void Interpreter::touch(Node* node)
{
    if (node)
        touched.push_back(
            { Plinth::Ref<Node>(node), node->isDocumentChild(), touchesHistory(node) });
}

// Whether an unrecorded change of `node` can show in the document after undoing: it is the
// document, its content, or in a tree (or parentless chain) that an undo record holds a node of.
// A node the history keeps may have moved into another tree since; a change there still shows
// once undo links it back in.
bool Interpreter::touchesHistory(Node* node)
{
    if (node == document() || node->isDocumentChild()) return true;
    if (node->document != document()) return false;
    auto topOf = [](Node* at) {
        while (at->parent || at->previous)
            at = at->parent ? at->parent : at->previous;
        return at;
    };
    Node* top = topOf(node);
    for (Plinth::Operation* op : document()->undoStack.operations) {
        if (auto* children = dynamic_cast<Arbor::ReplaceChildrenOperation*>(op)) {
            if (topOf(children->parent) == top) return true;
            for (Node* at = children->replacement; at; at = at->next) {
                if (topOf(at) == top) return true;
            }
        } else if (auto* text = dynamic_cast<Arbor::ReplaceTextOperation*>(op)) {
            if (topOf(text->text) == top) return true;
        } else if (auto* attribute = dynamic_cast<Arbor::AttributeOperation*>(op)) {
            if (topOf(attribute->element) == top) return true;
        }
    }
    return false;
}

// Follows the main document's history: which tasks it holds, the XML before each, and whether
// the step changed something undo can bring back without recording it.
void Interpreter::trackHistory(const std::string& xmlBefore)
{
    bool unrecorded = false;
    for (const Touched& at : touched) {
        if (!(at.inContent && at.node->isDocumentChild())
            && (at.touchedHistory || touchesHistory(at.node.get())))
            unrecorded = true;
    }
    const Arbor::UndoStack& stack = document()->undoStack;
    auto firstOperation = [&](unsigned long task) {
        const unsigned long start = stack.taskStarts[task];
        return start < stack.operations.size() ? stack.operations[start] : nullptr;
    };
    unsigned long match = 0;
    while (match < tasks.size() && !stack.taskStarts.empty()
        && tasks[match].first != firstOperation(0))
        ++match;
    bool keptOld = false;
    std::vector<std::pair<Plinth::Operation*, std::string>> now;
    for (unsigned long task = 0; task < stack.taskStarts.size(); ++task) {
        Plinth::Operation* first = firstOperation(task);
        if (match < tasks.size() && tasks[match].first == first) {
            now.push_back(tasks[match++]);
            keptOld = true;
        } else {
            now.emplace_back(first, xmlBefore);
            match = tasks.size();
        }
    }
    if (now.empty())
        historyPure = true;
    else if (!keptOld)
        historyPure = !unrecorded;
    else if (unrecorded)
        historyPure = false;
    tasks.swap(now);
    touched.clear();
}

Node* Interpreter::pick(int type, unsigned long noneChance, bool preferContent)
{
    const bool content = preferContent && source.chance(2);
    std::vector<Node*> candidates;
    for (Node* node : reached) {
        if (treeNode(node) && (type == 0 || node->nodeType() == type)
            && !(type == -1 && node->asText())
            && (!content || (node->document == document() && node->isDocumentChild())))
            candidates.push_back(node);
    }
    if (candidates.empty() || (noneChance && source.chance(noneChance))) return nullptr;
    return candidates[source.below(candidates.size())];
}

Node* Interpreter::pickParent()
{
    if (source.chance(3)) return pick(-1);
    std::vector<Node*> content;
    for (Node* node : reached) {
        if (node->asElement() && node->isDocumentChild() && node->document == document())
            content.push_back(node);
    }
    return content.empty() ? pick(-1) : content[source.below(content.size())];
}

Node* Interpreter::pickChild(Node* parent)
{
    const unsigned long count = parent->asText() ? 0 : parent->items();
    if (count && !source.chance(4)) return parent->findChild(source.below(count));
    return pick(0, 4);
}

unsigned long Interpreter::pickOffset(unsigned long length)
{
    const unsigned long choice = source.below(12);
    return choice == 0 ? ULONG_MAX
        : choice == 1  ? length + 1 + source.below(3)
        : choice == 2  ? ULONG_MAX - source.below(3)
                       : source.below(length + 1);
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
    const std::function<Arbor::Variant()> kinds[] = {
        [] { return Arbor::Variant(); },
        [&] { return Arbor::BoolVariant(source.chance(2)); },
        [&] { return Arbor::LongVariant(static_cast<long>(source.below(2000)) - 1000); },
        [&] { return Arbor::FloatVariant(static_cast<float>(source.below(100)) / 8); },
        [&] { return Arbor::DoubleVariant(static_cast<double>(source.below(100000)) / 7); },
        [&] { return Arbor::StringVariant(source.chance(8) ? nullptr : narrow.c_str()); },
        [&] { return Arbor::UStringVariant(source.chance(8) ? nullptr : wide.c_str()); },
        [&] { return Arbor::FixedStringVariant(Plinth::FixedStringBase<char>(narrow.c_str())); },
        [&] { return Arbor::FixedUStringVariant(Plinth::FixedStringBase<char16_t>(wide.c_str())); },
        [&] { return Arbor::TokenVariant(Arbor::Token(tags[source.below(4)])); },
    };
    return kinds[std::min(source.below(11), 9UL)]();
}

bool Interpreter::makeNode()
{
    operation = "make node";
    if (held.size() > 60) return releaseNode();
    TestDocument* d = documents[source.chance(8) ? 1 : 0].get();
    const char* tag = tags[source.below(4)];
    const std::u16string text = pickText();
    const unsigned long kind = source.below(5);
    Node* made = kind == 0 ? d->makeElement(tag)
        : kind == 1        ? d->createElement(Arbor::Token(tag))
        : kind == 2        ? d->makeText(text.c_str())
        : kind == 3        ? static_cast<Node*>(d->createTextNode(text.c_str()))
                           : d->createDocumentFragment();
    held.emplace_back(made);
    return true;
}

bool Interpreter::childOperation()
{
    // The document element leaves the document rarely, and an empty document gets an element
    // back often: most changes should happen in the content, where they are recorded.
    const bool empty = !document()->firstChild();
    Node* parent = empty && source.chance(2) ? document() : pickParent();
    if (!parent) return true;
    Node* newChild = pick(empty && parent == document() ? Arbor::ELEMENT_NODE : 0, 24);
    for (int again = 0;
         again < 4 && newChild && newChild == document()->firstChild() && !source.chance(64);
         ++again)
        newChild = pick(0, 24);
    touch(parent);
    // Moving a node changes its old parent, or the parentless chain it is cut out of.
    if (newChild && (newChild->parent || newChild->previous || newChild->next))
        touch(newChild->parent ? newChild->parent : newChild);
    const unsigned long kind = source.below(5);
    Node* other = kind == 1 ? nullptr : pickChild(parent);
    // The reference child is held for the call's length, as a host holds what it passes: one held
    // only by the new child's chain link would die when the new child is cut out of its chain.
    const Plinth::Ref<Node> holdOther(other);
    const unsigned long counts[] = { 0, 1, 1, 2, 3, ULONG_MAX };
    static const char* const names[]
        = { "insertBefore", "appendChild", "replaceChild", "removeChild", "replaceChildren" };
    operation = names[kind];
    attempt([&] {
        if (kind == 0) parent->insertBefore(newChild, other);
        if (kind == 1) parent->appendChild(newChild);
        if (kind == 2) parent->replaceChild(newChild, other);
        if (kind == 3) parent->removeChild(other);
        if (kind == 4) parent->replaceChildren(other, counts[source.below(6)], newChild);
    });
    return true;
}

bool Interpreter::textOperation()
{
    Node* picked = pick(Arbor::TEXT_NODE, 0, true);
    Arbor::Text* text = picked ? picked->asText() : nullptr;
    // Often a text that a range points into, so that the edit moves points.
    for (auto& range : ranges) {
        if (range->endContainer && range->endContainer->asText() && source.chance(2))
            text = range->endContainer->asText();
    }
    if (!text) return makeNode();
    touch(text);
    const std::u16string old = dataOf(text);
    const unsigned long length = old.size();
    unsigned long offset = pickOffset(length);
    unsigned long count = pickOffset(length);
    std::optional<std::u16string> data = pickText();
    if (source.chance(6)) data.reset();
    static const char* const names[] = { "replaceData", "replaceData", "insertData", "appendData",
        "deleteData", "setData", "substringData" };
    const unsigned long kind = source.below(7);
    operation = names[kind];
    if (kind == 6) {
        char16_t* copy = nullptr;
        const bool done = attempt([&] { copy = text->substringData(offset, count); });
        std::unique_ptr<char16_t, Plinth::FreeDeleter> owned(copy);
        const std::u16string wanted = done ? old.substr(offset, count) : std::u16string();
        if (done != (offset <= length) || (wanted.empty() ? copy != nullptr : wanted != copy))
            return fail("substringData refused wrongly or gave other units");
        return true;
    }
    // Every edit is a replacement of `count` units at `offset` by `data`.
    if (kind == 2 || kind == 3) count = 0;
    if (kind == 3) offset = length;
    if (kind == 4) data.reset();
    if (kind == 5) offset = 0, count = length;
    // The points in the text, to follow the edit: a point in the removed units goes to its
    // start, one after them moves back by the units removed and forward by the units inserted.
    // Each range is held, since the edit may drop the interpreter's last other reference to it.
    struct Point {
        Plinth::Ref<Arbor::Range> range;
        bool start;
        unsigned long before;
    };
    std::vector<Point> followed;
    for (Node* node : reached) {
        if (!text->isDocumentChild() || node->nodeType() != Arbor::RANGE_NODE) continue;
        auto* range = static_cast<Arbor::Range*>(node);
        if (range->isDetached() || range->isSuspended() || staleRanges.count(range)) continue;
        for (const bool start : { true, false }) {
            if ((start ? range->startContainer : range->endContainer) == text)
                followed.push_back({ Plinth::Ref<Arbor::Range>(range), start,
                    start ? range->startOffset : range->endOffset });
        }
    }
    const bool done = attempt([&] {
        if (kind < 2) text->replaceData(offset, count, chars(data));
        if (kind == 2) text->insertData(offset, chars(data));
        if (kind == 3) text->appendData(chars(data));
        if (kind == 4) text->deleteData(offset, count);
        if (kind == 5) text->setData(chars(data));
    });
    std::u16string expected = old;
    if (done) expected.replace(offset, std::min(count, length - offset), data ? *data : u"");
    if (dataOf(text) != expected)
        return fail(done ? "the edit gave other text" : "a refused edit changed the text");
    if (text->data() && expected.empty()) return fail("empty text keeps a buffer");
    const unsigned long removed = std::min(count, length - std::min(offset, length));
    const unsigned long added = data ? data->size() : 0;
    for (const Point& at : followed) {
        unsigned long wanted = at.before < offset ? at.before
            : at.before - offset < removed        ? offset
                                                  : at.before - removed;
        wanted += offset < wanted ? added : 0;
        const unsigned long now = at.start ? at.range->startOffset : at.range->endOffset;
        if (done && now != wanted)
            return fail(
                "a point at " + std::to_string(at.before) + " moved to " + std::to_string(now));
    }
    return true;
}

bool Interpreter::splitText()
{
    operation = "splitText";
    Node* picked = pick(Arbor::TEXT_NODE);
    Arbor::Text* text = picked ? picked->asText() : nullptr;
    if (!text) return makeNode();
    touch(text);
    touch(text->parent);
    const std::u16string old = dataOf(text);
    const unsigned long offset = pickOffset(old.size());
    Arbor::Text* made = nullptr;
    if (!attempt([&] { made = text->splitText(offset); })) return true;
    if (!made || dataOf(text) != old.substr(0, offset) || dataOf(made) != old.substr(offset)
        || (text->parent && text->next != made))
        return fail("the split gave other texts");
    held.emplace_back(made);
    return true;
}

bool Interpreter::attributeOperation()
{
    Node* picked = pick(Arbor::ELEMENT_NODE);
    Arbor::Element* element = picked ? picked->asElement() : nullptr;
    if (!element) return makeNode();
    touch(element);
    const std::string name = "a" + std::to_string(source.below(24));
    const Arbor::Token token(name.c_str());
    const Arbor::Variant old = element->getAttribute(token);
    bool done = false;
    Arbor::Variant value;
    if (source.chance(3)) {
        operation = "removeAttribute " + name;
        done = attempt([&] { element->removeAttribute(token); });
    } else {
        operation = "setAttribute " + name;
        value = pickValue();
        done = attempt([&] { element->setAttribute(token, value); });
    }
    if (element->getAttribute(token) != (done ? value : old))
        return fail(done ? "the attribute has another value" : "a refused change took effect");
    return true;
}

bool Interpreter::cloneNode()
{
    operation = "cloneNode";
    Node* node = pick();
    if (!node || node->nodeType() == Arbor::DOCUMENT_NODE) return true;
    const bool deep = source.chance(2);
    Plinth::Ref<Node> copy(node->cloneNode(deep));
    if (!copy || copy->parent || copy->next || copy->nodeType() != node->nodeType())
        return fail("cloneNode gave no unlinked copy");
    if ((deep || node->asText()) && ::xml(copy.get()) != ::xml(node))
        return fail("the copy writes other XML");
    held.push_back(copy);
    return true;
}

bool Interpreter::toggleSwitch()
{
    operation = "toggle switch";
    static const char* const switches[] = { "", "", "", "r", "c", "s", "m", "e", "rcsme" };
    Node* node = pick();
    if (auto* element = dynamic_cast<TestElement*>(node); element && source.chance(5))
        element->passNotices = source.chance(3);
    else
        setSwitches(node, switches[source.below(9)]);
    return true;
}

bool Interpreter::historyOperation()
{
    Arbor::Document* d = document();
    const unsigned long choice = source.below(16);
    if (choice < 10) {
        operation = choice < 6 ? "undo" : "redo";
        attempt([&] { choice < 6 ? d->undo() : d->redo(); });
        return true;
    }
    if (choice < 13) {
        operation = "newUndoTask";
        d->newUndoTask();
        return true;
    }
    // Both drop the whole history; a new limit is kept.
    const unsigned long limits[] = { 0, 1, 2, 5, 100, 100, 100, 100 };
    const unsigned long n = choice == 13 ? limits[source.below(8)] : d->maxUndoTasks();
    operation = choice == 13 ? "maxUndoTasks" : "clearUndoStack";
    choice == 13 ? d->maxUndoTasks(n) : d->clearUndoStack();
    if (d->canUndo() || d->canRedo() || d->maxUndoTasks() != n)
        return fail(operation + " kept history or another limit");
    return true;
}

bool Interpreter::batchOperation()
{
    if (batchDepth == 0 ? source.chance(2) : batchDepth < 3 && source.chance(4)) {
        operation = "beginBatchChanges";
        document()->beginBatchChanges();
        ++batchDepth;
    } else {
        operation = "endBatchChanges";
        document()->endBatchChanges();
        batchDepth -= batchDepth != 0;
    }
    return true;
}

bool Interpreter::observerOperation()
{
    operation = "observers";
    Arbor::Document* d = document();
    ChaosObserver& observer = *observers[source.below(observers.size())];
    const unsigned long choice = source.below(4);
    if (choice == 2) {
        d->removeObserver(&observer);
    } else if (choice == 3) {
        postCounted();
    } else if (!tornDown) {
        if (source.chance(2))
            d->addObserver(&observer);
        else
            d->addObserver(&observer, eventTypes[source.below(6)]);
        ++observer.registrations;
    }
    return true;
}

bool Interpreter::rangeSetter(Arbor::Range* range)
{
    Node* node = pick(source.chance(2) ? Arbor::TEXT_NODE : 0, 16, true);
    const std::string before = points(range);
    const unsigned long kind = source.below(8);
    static const char* const names[] = { "setStart", "setEnd", "setStartBefore", "setEndBefore",
        "setStartAfter", "setEndAfter", "selectNode", "selectNodeContents" };
    operation = names[kind];
    const unsigned long offset = kind < 2 && node ? source.below(node->items() + 2) : 0;
    const bool done = attempt([&] {
        if (kind == 0) range->setStart(node, offset);
        if (kind == 1) range->setEnd(node, offset);
        if (kind == 2) range->setStartBefore(node);
        if (kind == 3) range->setEndBefore(node);
        if (kind == 4) range->setStartAfter(node);
        if (kind == 5) range->setEndAfter(node);
        if (kind == 6) range->selectNode(node);
        if (kind == 7) range->selectNodeContents(node);
    });
    if (!done) return points(range) == before ? true : fail("a refused setter moved the range");
    if (range->isSuspended()) return true;
    // The point the setter set; the other one may have followed it (a collapse).
    std::pair<Node*, unsigned long> wanted[2] = { { range->startContainer, range->startOffset },
        { range->endContainer, range->endOffset } };
    const unsigned long index = node->parent ? node->parentOffset() : 0;
    if (kind < 2)
        wanted[kind] = { node, offset };
    else if (kind < 6)
        wanted[kind % 2] = { node->parent, index + (kind >= 4) };
    else if (kind == 6)
        wanted[0] = { node->parent, index }, wanted[1] = { node->parent, index + 1 };
    else
        wanted[0] = { node, 0 }, wanted[1] = { node, node->items() };
    if (wanted[0] != std::make_pair(range->startContainer, range->startOffset)
        || wanted[1] != std::make_pair(range->endContainer, range->endOffset))
        return fail("the setter set other points: " + points(range));
    return true;
}

bool Interpreter::rangeOperation()
{
    Arbor::Document* d = document();
    if (ranges.empty() || source.chance(8)) {
        operation = "createRange";
        Arbor::Range* made = d->createRange(source.chance(2));
        if (!made != tornDown)
            return fail("createRange gave null exactly when the document is live");
        if (made && ranges.size() < 6 && !source.chance(4)) ranges.emplace_back(made);
        return true;
    }
    const unsigned long index = source.below(ranges.size());
    Arbor::Range* range = ranges[index].get();
    const bool detached = range->isDetached();
    const unsigned long choice = source.below(10);
    if (choice < 3) return rangeSetter(range);
    switch (choice) {
    case 3:
    case 7:
        // Both are refused exactly when the range is detached.
        operation = choice == 3 ? "collapse" : "detach";
        return attempt([&] { choice == 3 ? range->collapse(source.chance(2)) : range->detach(); })
                != detached
            ? true
            : fail(operation + " refused wrongly");
    case 4: {
        operation = "compareBoundaryPoints";
        Arbor::Range* other
            = source.chance(8) ? nullptr : ranges[source.below(ranges.size())].get();
        const int how = static_cast<int>(source.below(5));
        int result = 0;
        const bool done = attempt([&] { result = range->compareBoundaryPoints(how, other); });
        if (!done || how == 4 || staleRanges.count(range) || staleRanges.count(other)
            || range->isSuspended() || other->isSuspended())
            return true;
        Node* top[2];
        const auto a = pathOf(how < 2 ? range->startContainer : range->endContainer,
            how < 2 ? range->startOffset : range->endOffset, top[0]);
        const auto b = pathOf(how == 0 || how == 3 ? other->startContainer : other->endContainer,
            how == 0 || how == 3 ? other->startOffset : other->endOffset, top[1]);
        const int wanted = a == b ? 0 : a < b ? -1 : 1;
        return top[0] != top[1] || result == wanted
            ? true
            : fail("compareBoundaryPoints gave " + std::to_string(result));
    }
    case 5: {
        operation = "cloneRange";
        Arbor::Range* copy = nullptr;
        if (attempt([&] { copy = range->cloneRange(source.chance(2)); }) == detached)
            return fail("cloneRange refused wrongly");
        if (!copy) return true;
        Plinth::Ref<Arbor::Range> hold(copy);
        if (staleRanges.count(range)) staleRanges.insert(copy);
        if (ranges.size() < 6) ranges.push_back(hold);
        if (!copy->isSuspended() && points(copy) != points(range))
            return fail("the copy has other points");
        return true;
    }
    case 6:
        operation = "deselect";
        range->deselect();
        return range->isSelected() ? fail("still selected") : true;
    case 8:
        operation = "release range";
        ranges.erase(ranges.begin() + static_cast<long>(index));
        return true;
    default: {
        operation = "selected ranges";
        unsigned long seen = 0;
        for (Arbor::Range* r = d->firstSelectedRange(); r; r = d->nextSelectedRange(r)) {
            if (!r->isSelected() || r->isDetached() || ++seen > 1000)
                return fail("the selection walk met an unselected or detached range");
        }
        return true;
    }
    }
}

bool Interpreter::batchOrObserver()
{
    return source.chance(2) ? batchOperation() : observerOperation();
}

bool Interpreter::queryOrTearDown()
{
    if (!source.chance(40)) return query();
    operation = "tearDown";
    document()->tearDown();
    tornDown = true;
    ++batchDepth;
    return true;
}

bool Interpreter::releaseNode()
{
    operation = "release node";
    if (!held.empty()) releaseHeld();
    return true;
}

bool Interpreter::query()
{
    operation = "query";
    Node* node = pick();
    if (!node) return true;
    Node* top = node;
    while (top->parent && top->parent->nodeType() != Arbor::DOCUMENT_NODE)
        top = top->parent;
    const bool inContent
        = top->parent && top == top->parent->firstChild() && top->parent == node->document;
    if (node->isDocumentChild() != inContent) return fail("isDocumentChild disagrees");
    unsigned long index = 0;
    for (Node* before = node->previous; node->parent && before; before = before->previous)
        ++index;
    if (node->parentOffset() != index) return fail("parentOffset disagrees");
    if (node->parent && node->parent->findChild(index) != node)
        return fail("findChild(index) disagrees");
    return true;
}

bool Interpreter::step()
{
    if (!failureText.empty()) return false;
    ++counters.steps;
    log.clear();
    hookLog().clear();
    const std::string before = xml();
    // Each operation with its weight out of 40.
    static const std::pair<unsigned long, bool (Interpreter::*)()> operations[] = {
        { 3, &Interpreter::makeNode },
        { 8, &Interpreter::childOperation },
        { 4, &Interpreter::textOperation },
        { 2, &Interpreter::splitText },
        { 3, &Interpreter::attributeOperation },
        { 1, &Interpreter::cloneNode },
        { 1, &Interpreter::toggleSwitch },
        { 4, &Interpreter::historyOperation },
        { 1, &Interpreter::batchOrObserver },
        { 1, &Interpreter::observerOperation },
        { 4, &Interpreter::rangeOperation },
        { 1, &Interpreter::releaseNode },
        { 1, &Interpreter::queryOrTearDown },
        { 6, &Interpreter::query },
    };
    bool ok = true;
    unsigned long choice = source.below(40);
    for (const auto& entry : operations) {
        if (choice < entry.first) {
            ok = (this->*entry.second)();
            break;
        }
        choice -= entry.first;
    }
    trackHistory(before);
    // ARBOR_TRACE=1 lists the steps, to find the one that leads to a failure.
    static const bool trace = std::getenv("ARBOR_TRACE") != nullptr;
    if (trace)
        std::fprintf(stderr, "%lu %s: undo tasks %zu, pure %d\n", counters.steps, operation.c_str(),
            tasks.size(), historyPure);
    return ok && checkAll();
}

bool Interpreter::finishEpisode()
{
    if (!failureText.empty()) return false;
    operation = "undo everything";
    const bool pure = historyPure;
    std::vector<std::string> undone;
    bool replayed = true;
    while (replayed && document()->canUndo()) {
        const unsigned long task = document()->undoStack.doneTasks - 1;
        undone.push_back(xml());
        replayed = attempt([&] { document()->undo(); });
        if (!checkAll()) return false;
        if (pure && replayed && task < tasks.size() && xml() != tasks[task].second)
            return fail("undoing task " + std::to_string(task) + " gave\n" + xml() + "instead of\n"
                + tasks[task].second);
        counters.undoAllChecks += pure && replayed;
    }
    operation = "redo everything";
    while (replayed && document()->canRedo()) {
        replayed = attempt([&] { document()->redo(); });
        if (!checkAll()) return false;
        if (undone.empty()) continue;
        if (pure && replayed && xml() != undone.back())
            return fail("redoing gave\n" + xml() + "instead of\n" + undone.back());
        undone.pop_back();
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
    return failureText.empty();
}

bool Interpreter::checkRanges()
{
    std::vector<Arbor::Range*> all;
    for (Node* node : reached) {
        if (node->nodeType() == Arbor::RANGE_NODE) all.push_back(static_cast<Arbor::Range*>(node));
    }
    std::unordered_set<Arbor::Range*> stale;
    for (Arbor::Range* range : all) {
        if (range->isDetached()) {
            if (range->startContainer || range->endContainer || range->isSelected())
                return fail("a detached range keeps containers or the selection");
            continue;
        }
        if (!range->startContainer || !range->endContainer)
            return fail("an attached range lacks a container");
        if (range->isSuspended()) {
            if (range->startContainer != range->document || range->endContainer != range->document
                || range->startOffset || range->endOffset)
                return fail("a parked range is not at (document, 0)");
            continue;
        }
        auto checkable = [&](Node* node, unsigned long offset) {
            return node->isDocumentChild() || (node == node->document && offset <= node->items());
        };
        // A point outside the content misses the changes made there (nothing announces them),
        // so once a range has had one, its offsets prove nothing any more.
        if (staleRanges.count(range) || !checkable(range->startContainer, range->startOffset)
            || !checkable(range->endContainer, range->endOffset)) {
            stale.insert(range);
            continue;
        }
        if (range->startOffset > range->startContainer->items()
            || range->endOffset > range->endContainer->items())
            return fail("a range offset lies past its container's items: " + points(range));
        Node* top[2];
        if (pathOf(range->endContainer, range->endOffset, top[1])
            < pathOf(range->startContainer, range->startOffset, top[0]))
            return fail("a range starts after its end: " + points(range));
    }
    staleRanges.swap(stale);
    return true;
}

bool Interpreter::checkAll()
{
    if (!failureText.empty()) return false;
    Held holders;
    for (auto& node : held)
        ++holders[node.get()];
    for (auto& range : ranges)
        ++holders[range.get()];
    for (auto& document : documents)
        ++holders[document.get()];
    const std::string problems = linkProblems({}, &holders, &reached);
    if (!problems.empty()) return fail(problems);
    if (!checkRanges()) return false;
    if (PostedTask::live - tasksAtStart != static_cast<long>(document()->postedFunctions.size()))
        return fail("posted functions were lost or deleted twice");
    for (auto& observer : observers) {
        if (observer->registrations < 0)
            return fail("an observer heard more unObserve calls than registrations");
    }
    return true;
}

} // namespace Reliability

#include "tests/reliability/Choices.h"
#include "tests/reliability/Interpreter.h"

#include <algorithm>
#include <climits>
#include <memory>

namespace Reliability {

using namespace Choices;

bool Interpreter::makeNode()
{
    operation = "make node";
    unsigned long alive = 0;
    for (const ModelNode& node : model.nodes)
        alive += node.alive;
    if (alive > 60) return releaseNode();
    const int documentId = source.chance(8) ? 1 : 0;
    auto* document = static_cast<TestDocument*>(nodeOf(documentId));
    const char* tag = tags[source.below(4)];
    const std::u16string text = pickText();
    switch (source.below(5)) {
    case 0:
        return bind(model.addNode(Kind::Element, documentId, tag), document->makeElement(tag)) >= 0;
    case 1:
        return bind(model.addNode(Kind::Element, documentId, tag),
                   document->createElement(Arbor::Token(tag)))
            >= 0;
    case 2: {
        const int id = model.addNode(Kind::Text, documentId);
        model.at(id).text = text;
        return bind(id, document->makeText(text.c_str())) >= 0;
    }
    case 3: {
        const int id = model.addNode(Kind::Text, documentId);
        model.at(id).text = text;
        return bind(id, document->createTextNode(text.c_str())) >= 0;
    }
    default:
        return bind(model.addNode(Kind::Fragment, documentId), document->createDocumentFragment())
            >= 0;
    }
}

bool Interpreter::childOperation()
{
    // The document element leaves the document rarely, and an empty document gets an element
    // back often: most changes should happen in the content, where they are recorded.
    const bool empty = model.at(0).children.empty();
    const int parent = empty && source.chance(2) ? 0 : pickParent();
    int newChild = pick(empty && parent == 0 ? elementNode : anyNode, 24);
    for (int again = 0; again < 4 && newChild == rootId && !source.chance(64); ++again)
        newChild = pick(empty ? elementNode : anyNode, 24);
    Arbor::Node* p = nodeOf(parent);
    Arbor::Node* n = nodeOf(newChild);
    switch (source.below(4)) {
    case 0: {
        operation = "insertBefore";
        const int ref = pickChild(parent);
        const long actual = attempt([&] { p->insertBefore(n, nodeOf(ref)); });
        return expect(model.insert(parent, newChild, ref, 0), actual);
    }
    case 1: {
        operation = "appendChild";
        const long actual = attempt([&] { p->appendChild(n); });
        return expect(model.insert(parent, newChild, none, 0), actual);
    }
    case 2: {
        operation = "replaceChild";
        const int old = pickChild(parent);
        const long actual = attempt([&] { p->replaceChild(n, nodeOf(old)); });
        return expect(model.insert(parent, newChild, old, 1), actual);
    }
    default: {
        operation = "removeChild";
        const int old = pickChild(parent);
        const long actual = attempt([&] { p->removeChild(nodeOf(old)); });
        return expect(model.removeChild(parent, old), actual);
    }
    }
}

bool Interpreter::directReplace()
{
    operation = "replaceChildren";
    const int parent = pickParent();
    const int first = pickChild(parent);
    const int newChild = pick(anyNode, 4);
    const unsigned long counts[] = { 0, 1, 1, 2, 3, ULONG_MAX };
    const unsigned long count = counts[source.below(6)];
    const long actual
        = attempt([&] { nodeOf(parent)->replaceChildren(nodeOf(first), count, nodeOf(newChild)); });
    return expect(model.replaceChildren(parent, first, count, newChild), actual);
}

bool Interpreter::textOperation()
{
    const int id = pick(textNode, 0);
    if (id == none) return makeNode();
    auto* text = static_cast<Arbor::Text*>(nodeOf(id));
    const unsigned long length = model.at(id).text.size();
    const unsigned long offset = pickOffset(length);
    const unsigned long count = pickOffset(length);
    std::optional<std::u16string> data = pickText();
    if (source.chance(6)) data.reset();
    switch (source.below(7)) {
    case 0:
    case 1: {
        operation = "replaceData";
        const long actual = attempt([&] { text->replaceData(offset, count, chars(data)); });
        return expect(model.replaceData(id, offset, count, data), actual);
    }
    case 2: {
        operation = "insertData";
        const long actual = attempt([&] { text->insertData(offset, chars(data)); });
        return expect(model.replaceData(id, offset, 0, data), actual);
    }
    case 3: {
        operation = "appendData";
        const long actual = attempt([&] { text->appendData(chars(data)); });
        return expect(model.replaceData(id, length, 0, data), actual);
    }
    case 4: {
        operation = "deleteData";
        const long actual = attempt([&] { text->deleteData(offset, count); });
        return expect(model.replaceData(id, offset, count, std::nullopt), actual);
    }
    case 5: {
        operation = "setData";
        const long actual = attempt([&] { text->setData(chars(data)); });
        return expect(model.replaceData(id, 0, length, data), actual);
    }
    default: {
        operation = "substringData";
        char16_t* copy = nullptr;
        const long actual = attempt([&] { copy = text->substringData(offset, count); });
        std::unique_ptr<char16_t, Plinth::FreeDeleter> owned(copy);
        const long expected = offset > length ? 1 : 0;
        if (!expect(expected, actual)) return false;
        if (expected) return true;
        const std::u16string wanted = model.at(id).text.substr(offset, count);
        if (wanted.empty() ? copy != nullptr : (!copy || wanted != copy))
            return fail("substringData gave other units");
        return true;
    }
    }
}

bool Interpreter::splitText()
{
    operation = "splitText";
    const int id = pick(textNode, 0);
    if (id == none) return makeNode();
    auto* text = static_cast<Arbor::Text*>(nodeOf(id));
    const unsigned long offset = pickOffset(model.at(id).text.size());
    Arbor::Text* made = nullptr;
    const long actual = attempt([&] { made = text->splitText(offset); });
    const int fresh = model.addNode(Kind::Text, model.at(id).document);
    if (!expect(model.splitText(id, offset, fresh), actual)) return false;
    if (!model.at(fresh).alive) return true;
    // After a refused edit the new node is in the tree already, right after the text.
    Arbor::Node* node = actual == 0 ? made : text->nextSibling();
    if (!node) return fail("the new text node is missing");
    bind(fresh, node);
    return true;
}

bool Interpreter::attributeOperation()
{
    const int id = pick(elementNode, 0);
    if (id == none) return makeNode();
    auto* element = static_cast<Arbor::Element*>(nodeOf(id));
    const std::string name = "a" + std::to_string(source.below(attributeNames));
    const Arbor::Token token(name.c_str());
    if (source.chance(3)) {
        operation = "removeAttribute " + name + " on " + std::to_string(id);
        const long actual = attempt([&] { element->removeAttribute(token); });
        return expect(model.removeAttribute(id, name), actual);
    }
    operation = "setAttribute " + name + " on " + std::to_string(id);
    const Arbor::Variant value = pickValue();
    const long actual = attempt([&] { element->setAttribute(token, value); });
    return expect(model.setAttribute(id, name, value), actual);
}

bool Interpreter::cloneNode()
{
    operation = "cloneNode";
    const int id = pick(copyableNode, 0);
    if (id == none) return makeNode();
    const bool deep = source.chance(2);
    Plinth::Ref<Arbor::Node> copy(nodeOf(id)->cloneNode(deep));
    if (!copy) return fail("cloneNode gave null");
    bindCopy(model.cloneNode(id, deep), copy.get());
    return failureText.empty();
}

bool Interpreter::toggleSwitch()
{
    operation = "toggle switch";
    const int id = pick(anyNode, 0);
    ModelNode& node = model.at(id);
    const bool on = source.chance(3);
    if (auto* element = dynamic_cast<TestElement*>(nodeOf(id))) {
        switch (source.below(5)) {
        case 0:
            element->readOnlyNode = node.readOnly = on;
            break;
        case 1:
            element->refuseChildren = node.refuseChildren = on;
            break;
        case 2:
            element->refuseSet = node.refuseSet = on;
            break;
        case 3:
            element->refuseRemove = node.refuseRemove = on;
            break;
        default:
            element->passNotices = on;
            break;
        }
    } else if (auto* text = dynamic_cast<TestText*>(nodeOf(id))) {
        if (source.chance(2))
            text->readOnlyNode = node.readOnly = on;
        else
            text->refuseEdit = node.refuseEdit = on;
    }
    return true;
}

bool Interpreter::historyOperation()
{
    Arbor::Document* d = document();
    switch (source.below(16)) {
    case 0:
    case 1:
    case 2:
    case 8:
    case 9:
    case 10: {
        operation = "undo";
        const long actual = attempt([&] { d->undo(); });
        const long expected = model.undo();
        counters.failedReplays += expected != 0;
        return expect(expected, actual);
    }
    case 3:
    case 4:
    case 11:
    case 12: {
        operation = "redo";
        const long actual = attempt([&] { d->redo(); });
        const long expected = model.redo();
        counters.failedReplays += expected != 0;
        return expect(expected, actual);
    }
    case 5:
    case 13:
    case 14:
        operation = "newUndoTask";
        d->newUndoTask();
        model.newTask();
        return true;
    case 6: {
        operation = "maxUndoTasks";
        const unsigned long limits[] = { 0, 1, 2, 5, 100, 100, 100, 100 };
        const unsigned long n = limits[source.below(8)];
        d->maxUndoTasks(n);
        model.maxTasks(n);
        return true;
    }
    default:
        operation = "clearUndoStack";
        d->clearUndoStack();
        model.clear();
        return true;
    }
}

bool Interpreter::batchOperation()
{
    if (model.batchDepth == 0 ? source.chance(2) : model.batchDepth < 3 && source.chance(4)) {
        operation = "beginBatchChanges";
        document()->beginBatchChanges();
        model.beginBatch();
    } else {
        operation = "endBatchChanges";
        document()->endBatchChanges();
        model.endBatch();
    }
    return true;
}

bool Interpreter::observerOperation()
{
    operation = "observers";
    Arbor::Document* d = document();
    ChaosObserver& observer = *observers[source.below(observers.size())];
    switch (source.below(4)) {
    case 0:
        if (model.tornDown) return true;
        d->addObserver(&observer);
        ++observer.registrations;
        return true;
    case 1:
        if (model.tornDown) return true;
        d->addObserver(&observer, eventTypes[source.below(6)]);
        ++observer.registrations;
        return true;
    case 2:
        d->removeObserver(&observer);
        return true;
    default:
        postCounted();
        return true;
    }
}

bool Interpreter::releaseNode()
{
    operation = "release node";
    std::vector<int> candidates;
    for (unsigned long id = 2; id < held.size(); ++id) {
        if (held[id] && held[id]->refCount == 1) candidates.push_back(static_cast<int>(id));
    }
    if (candidates.empty()) return true;
    const int id = candidates[source.below(candidates.size())];
    numbers.erase(nodeOf(id));
    model.release(id);
    held[static_cast<unsigned long>(id)].reset();
    return true;
}

bool Interpreter::tearDown()
{
    operation = "tearDown";
    document()->tearDown();
    model.tearDown();
    return true;
}

bool Interpreter::query()
{
    operation = "query";
    const int id = pick(anyNode, 0);
    Arbor::Node* node = nodeOf(id);
    const ModelNode& m = model.at(id);
    if (node->isDocumentChild() != model.inContent(id)) return fail("isDocumentChild disagrees");
    if (node->items() != model.items(id)) return fail("items() disagrees");
    if (m.parent != none) {
        const std::vector<int>& siblings = model.at(m.parent).children;
        const auto index = static_cast<unsigned long>(
            std::find(siblings.begin(), siblings.end(), id) - siblings.begin());
        if (node->parentOffset() != index) return fail("parentOffset disagrees");
        if (nodeOf(m.parent)->findChild(index) != node) return fail("findChild(index) disagrees");
    } else if (node->parentOffset() != 0) {
        return fail("parentOffset of a parentless node is not 0");
    }
    return true;
}

} // namespace Reliability

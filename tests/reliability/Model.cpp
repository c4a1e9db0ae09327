#include "tests/reliability/Model.h"

#include <algorithm>

namespace Reliability {

namespace {

    enum Code : long {
        IndexSize = 1,
        HierarchyRequest = 3,
        WrongDocument = 4,
        NoModificationAllowed = 7,
        NotFound = 8,
        InvalidState = 11,
    };

    unsigned long clip(unsigned long length, unsigned long offset, unsigned long count)
    {
        return std::min(count, length - offset);
    }

    ModelOperation makeOperation(ModelOperation::Type type, int node)
    {
        ModelOperation op;
        op.type = type;
        op.node = node;
        return op;
    }

} // namespace

Model::Model()
{
    addNode(Kind::Document, 0);
    addNode(Kind::Document, 1);
}

int Model::addNode(Kind kind, int document, const std::string& tag)
{
    ModelNode node;
    node.kind = kind;
    node.document = document;
    node.tag = tag;
    nodes.push_back(node);
    return static_cast<int>(nodes.size() - 1);
}

int Model::root(int id)
{
    while (at(id).parent != none)
        id = at(id).parent;
    return id;
}

bool Model::inContent(int id)
{
    const ModelNode& document = at(at(id).document);
    if (document.children.empty()) return false;
    const int element = document.children.front();
    for (int node = id; node != none; node = at(node).parent) {
        if (node == element) return true;
    }
    return false;
}

int Model::nextSibling(int id)
{
    const ModelNode& node = at(id);
    if (node.parent == none) return node.chainNext;
    const std::vector<int>& siblings = at(node.parent).children;
    auto found = std::find(siblings.begin(), siblings.end(), id);
    return found + 1 == siblings.end() ? none : *(found + 1);
}

unsigned long Model::items(int id)
{
    const ModelNode& node = at(id);
    return node.kind == Kind::Text ? node.text.size() : node.children.size();
}

bool Model::closesCycle(int parent, int chain)
{
    const int top = root(parent);
    for (int node = chain; node != none; node = at(node).chainNext) {
        if (node == top) return true;
    }
    return false;
}

bool Model::mayReplaceChildren(int parent)
{
    const ModelNode& node = at(parent);
    return node.kind != Kind::Text && !(node.kind == Kind::Element && node.refuseChildren);
}

// Whether an unrecorded change of `id` can show in the document after undoing: it touches the
// document itself, its content, or a tree that an undo record can link back in.
bool Model::touchesHistory(int id)
{
    if (id == 0 || inContent(id)) return true;
    const int top = root(id);
    for (const ModelOperation& op : operations) {
        if (root(op.node) == top) return true;
        if (op.type != ModelOperation::Type::Children) continue;
        // A node the history keeps may have been put into another tree since; a change there
        // still shows once it is taken out again and undo links it back in.
        for (int node = op.replacement; node != none; node = at(node).chainNext) {
            if (root(node) == top) return true;
        }
    }
    return false;
}

void Model::noteUnrecorded(int id)
{
    if (at(id).document != 0 || !touchesHistory(id)) return;
    unrecordedInStep = true;
    if (!taskStarts.empty()) historyPure = false;
}

long Model::replaceChildren(int parent, int first, unsigned long count, int newChild)
{
    if (newChild != none) {
        if (first != none && at(first).parent != parent) return NotFound;
        if (at(newChild).document != at(parent).document) return WrongDocument;
    } else {
        if (first == none || count == 0) return 0;
        if (at(first).parent != parent) return NotFound;
    }
    if (at(parent).readOnly) return NoModificationAllowed;
    if (!mayReplaceChildren(parent)) return HierarchyRequest;
    if (newChild != none) {
        if (at(newChild).parent != none || at(newChild).chainPrevious != none)
            return HierarchyRequest;
        for (int node = newChild; node != none; node = at(node).chainNext) {
            if (at(node).kind == Kind::Document) return HierarchyRequest;
        }
        if (closesCycle(parent, newChild)) return HierarchyRequest;
    }
    if (first != none) {
        const std::vector<int>& siblings = at(parent).children;
        const auto index = std::find(siblings.begin(), siblings.end(), first) - siblings.begin();
        count = std::min<unsigned long>(count, siblings.size() - static_cast<unsigned long>(index));
    } else {
        count = 0;
    }
    ModelOperation op = makeOperation(ModelOperation::Type::Children, parent);
    op.first = first;
    op.count = count;
    op.replacement = newChild;
    for (int node = newChild; node != none; node = at(node).chainNext)
        ++op.replacementLength;
    apply(op);
    return 0;
}

long Model::insert(int parent, int newChild, int first, unsigned long count)
{
    if (newChild == none) return HierarchyRequest;
    // A move bound to fail is refused before the node leaves its place or the fragment is
    // emptied, with the error of the removal's checks and then the insertion's, in order.
    const bool fragment = at(newChild).kind == Kind::Fragment;
    const int head = !fragment          ? newChild
        : at(newChild).children.empty() ? none
                                        : at(newChild).children.front();
    const auto holds = [&](int node, int below) {
        for (; below != none; below = at(below).parent) {
            if (below == node) return true;
        }
        return false;
    };
    const auto cannotBeChild = [&](int node) { return at(node).kind == Kind::Document; };
    const bool moves = fragment || at(newChild).parent != none || at(newChild).chainPrevious != none
        || at(newChild).chainNext != none;
    if (head != none && moves
        && ((first != none && at(first).parent != parent)
            || at(head).document != at(parent).document
            || (fragment ? std::any_of(at(newChild).children.begin(), at(newChild).children.end(),
                               cannotBeChild)
                        || (newChild != parent && holds(newChild, at(parent).parent))
                         : cannotBeChild(newChild) || holds(newChild, parent)))) {
        if (const int oldParent = fragment ? none : at(newChild).parent; oldParent != none) {
            if (at(oldParent).readOnly) return NoModificationAllowed;
            if (!mayReplaceChildren(oldParent)) return HierarchyRequest;
        }
        if (first != none && at(first).parent != parent) return NotFound;
        if (at(head).document != at(parent).document) return WrongDocument;
        if (at(parent).readOnly) return NoModificationAllowed;
        return HierarchyRequest;
    }
    if (at(newChild).kind == Kind::Fragment) {
        if (head == none) return replaceChildren(parent, first, count, none);
        takeChildren(newChild);
        const long error = replaceChildren(parent, first, count, head);
        if (error && at(head).parent == none && at(head).chainPrevious == none)
            replaceRaw(newChild, none, 0, head);
        return error;
    }
    if (at(newChild).parent != none) {
        if (const long error = removeChild(at(newChild).parent, newChild)) return error;
    } else if (at(newChild).chainPrevious != none || at(newChild).chainNext != none) {
        noteUnrecorded(newChild);
        cutFromChain(newChild);
    }
    return replaceChildren(parent, first, count, newChild);
}

long Model::removeChild(int parent, int child)
{
    if (child == none) return 0;
    return replaceChildren(parent, child, 1, none);
}

void Model::cutFromChain(int id)
{
    ModelNode& node = at(id);
    if (node.chainPrevious != none) at(node.chainPrevious).chainNext = node.chainNext;
    if (node.chainNext != none) at(node.chainNext).chainPrevious = node.chainPrevious;
    node.chainPrevious = none;
    node.chainNext = none;
}

int Model::takeChildren(int parent)
{
    std::vector<int> taken;
    taken.swap(at(parent).children);
    int previous = none;
    for (int id : taken) {
        at(id).parent = none;
        at(id).chainPrevious = previous;
        if (previous != none) at(previous).chainNext = id;
        previous = id;
    }
    return taken.empty() ? none : taken.front();
}

void Model::replaceRaw(int parent, int first, unsigned long count, int chain)
{
    std::vector<int>& siblings = at(parent).children;
    const auto index = first == none
        ? siblings.end() - siblings.begin()
        : std::find(siblings.begin(), siblings.end(), first) - siblings.begin();
    count = std::min<unsigned long>(count, siblings.size() - static_cast<unsigned long>(index));
    std::vector<int> removed(
        siblings.begin() + index, siblings.begin() + index + static_cast<long>(count));
    siblings.erase(siblings.begin() + index, siblings.begin() + index + static_cast<long>(count));
    std::vector<int> inserted;
    for (int node = chain; node != none;) {
        const int following = at(node).chainNext;
        inserted.push_back(node);
        at(node).chainPrevious = none;
        at(node).chainNext = none;
        at(node).parent = parent;
        node = following;
    }
    siblings.insert(siblings.begin() + index, inserted.begin(), inserted.end());
    int previous = none;
    for (int id : removed) {
        at(id).parent = none;
        at(id).chainPrevious = previous;
        at(id).chainNext = none;
        if (previous != none) at(previous).chainNext = id;
        previous = id;
    }
}

long Model::replaceData(
    int text, unsigned long offset, unsigned long count, const std::optional<std::u16string>& data)
{
    ModelNode& node = at(text);
    if (offset > node.text.size()) return IndexSize;
    if (node.readOnly) return NoModificationAllowed;
    if (node.refuseEdit) return HierarchyRequest;
    ModelOperation op = makeOperation(ModelOperation::Type::Text, text);
    op.offset = offset;
    op.count = count;
    op.data = data;
    apply(op);
    return 0;
}

void Model::replaceTextRaw(
    int text, unsigned long offset, unsigned long count, const std::optional<std::u16string>& data)
{
    std::u16string& value = at(text).text;
    value.replace(offset, clip(value.size(), offset, count), data ? *data : std::u16string());
}

long Model::splitText(int text, unsigned long offset, int fresh)
{
    const unsigned long length = at(text).text.size();
    at(fresh).alive = false;
    if (offset > length) return IndexSize;
    if (at(text).readOnly) return NoModificationAllowed;
    at(fresh).alive = true;
    at(fresh).text = at(text).text.substr(offset);
    if (const int parent = at(text).parent; parent != none) {
        if (const long error = insert(parent, fresh, nextSibling(text), 0)) {
            at(fresh).alive = false;
            return error;
        }
        return replaceData(text, offset, length - offset, std::nullopt);
    }
    at(text).text.resize(offset);
    noteUnrecorded(text);
    const int after = at(text).chainNext;
    at(fresh).chainNext = after;
    if (after != none) at(after).chainPrevious = fresh;
    at(fresh).chainPrevious = text;
    at(text).chainNext = fresh;
    return 0;
}

long Model::setAttribute(int element, const std::string& name, const Arbor::Variant& value)
{
    if (at(element).readOnly) return NoModificationAllowed;
    if (at(element).refuseSet) return HierarchyRequest;
    ModelOperation op = makeOperation(ModelOperation::Type::Attribute, element);
    op.name = name;
    op.value = value;
    op.setting = true;
    op.had = at(element).attributes.count(name) != 0;
    apply(op);
    return 0;
}

long Model::removeAttribute(int element, const std::string& name)
{
    if (!at(element).attributes.count(name)) return 0;
    if (at(element).readOnly) return NoModificationAllowed;
    if (at(element).refuseRemove) return HierarchyRequest;
    ModelOperation op = makeOperation(ModelOperation::Type::Attribute, element);
    op.name = name;
    op.value = at(element).attributes[name];
    op.had = true;
    apply(op);
    return 0;
}

// Attribute records follow the element's own store: a set of an attribute the element had swaps
// values (an absent one reads as the empty variant), a set of a new one is undone by removing it,
// and a removal is undone by setting the value it removed.
void Model::replayAttribute(ModelOperation& op, bool backwards)
{
    auto& attributes = at(op.node).attributes;
    if (op.setting && op.had) {
        auto found = attributes.find(op.name);
        const Arbor::Variant previous
            = found == attributes.end() ? Arbor::Variant() : found->second;
        attributes[op.name] = *op.value;
        op.value = previous;
    } else if (op.setting != backwards) {
        attributes[op.name] = *op.value;
    } else {
        attributes.erase(op.name);
    }
}

int Model::cloneNode(int id, bool deep)
{
    const ModelNode original = at(id);
    const int copy = addNode(original.kind, original.document, original.tag);
    at(copy).text = original.text;
    at(copy).attributes = original.attributes;
    if (deep) {
        for (int child : original.children) {
            const int childCopy = cloneNode(child, true);
            at(childCopy).parent = copy;
            at(copy).children.push_back(childCopy);
        }
    }
    return copy;
}

void Model::release(int id)
{
    ModelNode& node = at(id);
    node.alive = false;
    if (node.chainNext != none) at(node.chainNext).chainPrevious = none;
    node.chainNext = none;
    takeChildren(id);
}

// Applies a change the way the library does: an undoable operation in the document's content,
// silently elsewhere.
void Model::apply(ModelOperation op)
{
    if (!inContent(op.node)) {
        noteUnrecorded(op.node);
        execute(op, false);
        return;
    }
    execute(op, false);
    if (maxTaskCount == 0) {
        noteUnrecorded(op.node);
        return;
    }
    record(op);
}

long Model::execute(ModelOperation& op, bool backwards)
{
    switch (op.type) {
    case ModelOperation::Type::Children: {
        const std::vector<int>& siblings = at(op.node).children;
        auto index = std::find(siblings.begin(), siblings.end(), op.first);
        if (op.first != none
            && (index == siblings.end()
                || static_cast<unsigned long>(siblings.end() - index) < op.count))
            return InvalidState;
        unsigned long inserted = 0;
        for (int node = op.replacement; node != none; node = at(node).chainNext)
            ++inserted;
        if (op.replacement != none
            && (at(op.replacement).parent != none || at(op.replacement).chainPrevious != none
                || inserted != op.replacementLength || closesCycle(op.node, op.replacement)))
            return InvalidState;
        const int removedHead = op.count ? op.first : none;
        int newPosition = op.replacement;
        if (newPosition == none && op.first != none)
            newPosition = index + static_cast<long>(op.count) == siblings.end()
                ? none
                : *(index + static_cast<long>(op.count));
        replaceRaw(op.node, op.first, op.count, op.replacement);
        op.first = newPosition;
        op.replacementLength = op.count;
        op.count = inserted;
        op.replacement = removedHead;
        return 0;
    }
    case ModelOperation::Type::Text: {
        const std::u16string& value = at(op.node).text;
        if (op.offset > value.size()) return IndexSize;
        const unsigned long removed = clip(value.size(), op.offset, op.count);
        std::optional<std::u16string> old;
        if (removed) old = value.substr(op.offset, removed);
        replaceTextRaw(op.node, op.offset, op.count, op.data);
        op.count = op.data ? op.data->size() : 0;
        op.data = old;
        return 0;
    }
    case ModelOperation::Type::Attribute:
        replayAttribute(op, backwards);
        return 0;
    }
    return 0;
}

void Model::record(const ModelOperation& op)
{
    if (doneTasks < taskStarts.size()) {
        operations.resize(taskStarts[doneTasks]);
        taskStarts.resize(doneTasks);
        taskXml.resize(doneTasks);
        newTaskPending = true;
    } else if (!newTaskPending) {
        operations.push_back(op);
        return;
    }
    if (!taskStarts.empty() && taskStarts.back() >= operations.size()) {
        operations.push_back(op);
        return;
    }
    if (taskStarts.empty()) {
        historyPure = !unrecordedInStep;
    }
    taskStarts.push_back(operations.size());
    taskXml.push_back(xmlBeforeStep);
    ++doneTasks;
    newTaskPending = false;
    if (taskStarts.size() > maxTaskCount) {
        const unsigned long end = taskStarts.size() > 1 ? taskStarts[1] : operations.size();
        operations.erase(operations.begin(), operations.begin() + static_cast<long>(end));
        taskStarts.pop_front();
        taskXml.pop_front();
        --doneTasks;
        for (unsigned long& start : taskStarts)
            start -= end;
    }
    operations.push_back(op);
}

long Model::replay(unsigned long task, bool backwards)
{
    const unsigned long begin = taskStarts[task];
    const unsigned long end
        = task + 1 < taskStarts.size() ? taskStarts[task + 1] : operations.size();
    if (backwards) --doneTasks;
    for (unsigned long i = 0; i < end - begin; ++i) {
        ModelOperation& op = operations[backwards ? end - 1 - i : begin + i];
        if (const long error = execute(op, backwards)) {
            clear();
            return error;
        }
    }
    if (!backwards) ++doneTasks;
    newTaskPending = true;
    return 0;
}

long Model::undo() { return doneTasks == 0 ? 0 : replay(doneTasks - 1, true); }

long Model::redo() { return doneTasks >= taskStarts.size() ? 0 : replay(doneTasks, false); }

void Model::clear()
{
    operations.clear();
    taskStarts.clear();
    taskXml.clear();
    doneTasks = 0;
    newTaskPending = true;
    historyPure = true;
}

void Model::maxTasks(unsigned long n)
{
    clear();
    maxTaskCount = n;
}

void Model::beginBatch()
{
    if (batchDepth++ != 0) return;
    savedMaxTasks = maxTaskCount;
    maxTasks(0);
}

void Model::endBatch()
{
    if (batchDepth == 0 || --batchDepth != 0) return;
    maxTasks(savedMaxTasks);
}

void Model::tearDown()
{
    beginBatch();
    tornDown = true;
}

} // namespace Reliability

#include "tests/support/Host.h"

#include "tests/support/Links.h"

#include <memory>
#include <ostream>
#include <sstream>
#include <tuple>

namespace {

long liveCount = 0;

std::string tokenText(Arbor::Token token) { return token.name ? token.name : "null"; }

std::string utf8(const char16_t* data) { return valueText(Arbor::UStringVariant(data)); }

std::string point(Arbor::Node* container, unsigned long offset)
{
    return "(" + nameOf(container) + "," + std::to_string(offset) + ")";
}

std::string describe(Arbor::DomEvent& event)
{
    using namespace Arbor;
    const Token type = event.type;
    if (type == tok_BeforeReplaceChildren) {
        auto& e = static_cast<BeforeReplaceChildrenEvent&>(event);
        return "BeforeReplaceChildren(" + nameOf(e.target) + ",child=" + nameOf(e.child)
            + ",new=" + nameOf(e.newChild) + ",count=" + std::to_string(e.count) + ")";
    }
    if (type == tok_AfterReplaceChildren || type == tok_AfterReplaceText)
        return tokenText(type) + "(" + nameOf(event.target) + ")";
    if (type == tok_BeforeReplaceText) {
        auto& e = static_cast<BeforeReplaceTextEvent&>(event);
        return "BeforeReplaceText(" + nameOf(e.target) + "," + std::to_string(e.offset) + ","
            + std::to_string(e.count) + "," + (e.data ? "\"" + utf8(e.data) + "\"" : "null") + ")";
    }
    if (type == tok_BeforeSetAttribute) {
        auto& e = static_cast<BeforeSetAttributeEvent&>(event);
        return "BeforeSetAttribute(" + nameOf(e.target) + "," + tokenText(e.name) + "="
            + valueText(*e.value) + ")";
    }
    if (type == tok_AfterSetAttribute || type == tok_BeforeRemoveAttribute
        || type == tok_AfterRemoveAttribute) {
        auto& e = static_cast<DomAttributeEvent&>(event);
        return tokenText(type) + "(" + nameOf(e.target) + "," + tokenText(e.name) + ")";
    }
    if (type == tok_BeforeSelectionChange) {
        auto& e = static_cast<BeforeSelectionChangeEvent&>(event);
        return "BeforeSelectionChange(" + point(e.startContainer, e.startOffset) + "-"
            + point(e.endContainer, e.endOffset) + ")";
    }
    return tokenText(type);
}

} // namespace

long liveHostObjects() { return liveCount; }

std::string valueText(const Arbor::Variant& value)
{
    std::string text;
    Arbor::BasicElement::appendValueText(text, value);
    return text;
}

std::string ascii(const char16_t* data)
{
    std::string out;
    for (; data && *data; ++data)
        out += *data < 0x80 ? static_cast<char>(*data) : '?';
    return out;
}

std::string xml(Arbor::Node* node)
{
    std::ostringstream os;
    node->putXml(os);
    return os.str();
}

std::string points(const Arbor::Range* range)
{
    if (range->isDetached()) return "detached";
    return point(range->startContainer, range->startOffset) + "-"
        + point(range->endContainer, range->endOffset);
}

Arbor::Range* newRange(Arbor::Document* document, bool selected, Arbor::Node* sc, unsigned long so,
    Arbor::Node* ec, unsigned long eo)
{
    // A new range sits at (document, 0), before every point of the document, so setting the end
    // first never puts the start after the end.
    Arbor::Range* made = document->createRange(selected);
    made->setEnd(ec, eo);
    made->setStart(sc, so);
    return made;
}

std::vector<std::string>& hookLog()
{
    static std::vector<std::string> calls;
    return calls;
}

std::string nameOf(Arbor::Node* node)
{
    if (!node) return "null";
    if (Arbor::Element* element = node->asElement()) return tokenText(element->tagName());
    if (node->asText()) return "t";
    return tokenText(node->nodeName());
}

std::string label(Arbor::Node* node)
{
    if (node && node->asText()) return "'" + ascii(node->asText()->data()) + "'";
    return nameOf(node);
}

std::string siblings(Arbor::Node* head)
{
    std::string out;
    for (Arbor::Node* node = head; node; node = node->next)
        out += (node == head ? "" : " ") + label(node);
    return out;
}

std::string children(Arbor::Node* node) { return siblings(node->firstChild()); }

// TestElement

TestElement::TestElement(Arbor::Document* document, Arbor::Token tag)
    : BasicElement(document, tag)
{
    ++liveCount;
}

TestElement::~TestElement() { --liveCount; }

Arbor::Node* TestElement::cloneNode(bool deep)
{
    std::unique_ptr<TestElement> copy(new TestElement(document, tagName()));
    for (unsigned long i = 0; i < attributeCount(); ++i)
        copy->setAttributeRaw(attributeAt(i).first, attributeAt(i).second);
    if (deep) cloneChildren(copy.get());
    return copy.release();
}

bool TestElement::readOnly() const { return readOnlyNode; }

void TestElement::afterParentChanged()
{
    ++parentChanges;
    BasicElement::afterParentChanged();
}

bool TestElement::mayReplaceChildren(Arbor::Node* first, unsigned long count, Arbor::Node* newChild)
{
    return !refuseChildren && BasicElement::mayReplaceChildren(first, count, newChild);
}

bool TestElement::maySetAttribute(Arbor::Token, const Arbor::Variant&) { return !refuseSet; }

bool TestElement::mayRemoveAttribute(Arbor::Token) { return !refuseRemove; }

bool TestElement::logHook(const char* hook, Arbor::Element* element, Arbor::Token name)
{
    hookLog().push_back(std::string(hook) + "(" + nameOf(this) + "," + nameOf(element) + ","
        + tokenText(name) + ")");
    return passNotices;
}

// TestText

TestText::TestText(Arbor::Document* document, const char16_t* data)
    : Text(document, data)
{
    ++liveCount;
}

TestText::~TestText() { --liveCount; }

bool TestText::readOnly() const { return readOnlyNode; }

bool TestText::mayReplaceData(unsigned long, unsigned long, const char16_t*) { return !refuseEdit; }

// TestDocument

TestDocument::TestDocument() { ++liveCount; }

TestDocument::~TestDocument() { --liveCount; }

Arbor::Element* TestDocument::createElement(Arbor::Token tagName)
{
    return new TestElement(this, tagName);
}

TestElement* TestDocument::makeElement(const char* name)
{
    return new TestElement(this, Arbor::Token(name));
}

TestText* TestDocument::makeText(const char16_t* data) { return new TestText(this, data); }

TestElement* appendElement(Arbor::Node* parent, const char* name)
{
    TestElement* element = static_cast<TestDocument*>(parent->document)->makeElement(name);
    parent->appendChild(element);
    return element;
}

TestText* appendText(Arbor::Node* parent, const char16_t* data)
{
    TestText* text = static_cast<TestDocument*>(parent->document)->makeText(data);
    parent->appendChild(text);
    return text;
}

namespace {

template <class Error> void expectError(long code, const std::function<void()>& action)
{
    try {
        action();
    } catch (const Error& e) {
        EXPECT_EQ(e.code, code) << "thrown " << e.causeName() << ", expected "
                                << Error(code).causeName();
        return;
    }
    ADD_FAILURE() << "expected " << Error(code).causeName() << ", nothing thrown";
}

} // namespace

void expectDomError(long code, const std::function<void()>& action)
{
    expectError<Arbor::DomException>(code, action);
}

void expectRangeError(long code, const std::function<void()>& action)
{
    expectError<Arbor::RangeException>(code, action);
}

void setSwitches(Arbor::Node* target, const char* switches)
{
    auto has = [&](char c) { return std::string(switches).find(c) != std::string::npos; };
    if (auto* element = dynamic_cast<TestElement*>(target)) {
        element->readOnlyNode = has('r');
        element->refuseChildren = has('c');
        element->refuseSet = has('s');
        element->refuseRemove = has('m');
    } else if (auto* text = dynamic_cast<TestText*>(target)) {
        text->readOnlyNode = has('r');
        text->refuseEdit = has('e');
    }
}

// EventLog

void EventLog::unObserve(Arbor::Token type)
{
    logged.push_back("unObserve(" + (type.name ? std::string(type.name) : "all") + ")");
}

void EventLog::beforeBatchChanges() { logged.push_back("beforeBatch"); }

void EventLog::afterBatchChanges() { logged.push_back("afterBatch"); }

void EventLog::onEvent(Arbor::DomEvent& event) { logged.push_back(describe(event)); }

std::vector<std::string> EventLog::take()
{
    std::vector<std::string> taken;
    taken.swap(logged);
    return taken;
}

void CallbackObserver::onEvent(Arbor::DomEvent& event)
{
    if (react) react(event);
}

// PostedTask

int PostedTask::live = 0;

PostedTask::PostedTask(std::function<void()> work)
    : work(std::move(work))
{
    ++live;
}

PostedTask::~PostedTask() { --live; }

void PostedTask::operator()()
{
    if (work) work();
}

// Snapshot

bool Snapshot::operator==(const Snapshot& other) const
{
    return std::tie(xml, events, canUndo, canRedo)
        == std::tie(other.xml, other.events, other.canUndo, other.canRedo);
}

std::ostream& operator<<(std::ostream& os, const Snapshot& snapshot)
{
    os << snapshot.xml << "events:";
    for (const std::string& line : snapshot.events)
        os << ' ' << line;
    return os << "\ncanUndo=" << snapshot.canUndo << " canRedo=" << snapshot.canRedo;
}

// HostTest

void HostTest::SetUp()
{
    liveAtStart = liveHostObjects();
    tasksAtStart = PostedTask::live;
    doc = Plinth::Ref<TestDocument>(new TestDocument);
    rootElement = appendElement(doc.get(), "root");
    doc->addObserver(&events);
    events.clear();
    hookLog().clear();
}

void HostTest::TearDown()
{
    rootElement = nullptr;
    // Whatever the test did, every link and count of both documents must still agree.
    Held fixture;
    for (Arbor::Node* document :
        { static_cast<Arbor::Node*>(doc.get()), static_cast<Arbor::Node*>(other.get()) }) {
        if (document) fixture[document] = 1;
    }
    EXPECT_EQ(linkProblems({}, &fixture), "");
    if (doc) {
        doc->removeObserver(&events);
        doc->tearDown();
    }
    if (other) other->tearDown();
    doc.reset();
    other.reset();
    hookLog().clear();
    EXPECT_EQ(liveHostObjects(), liveAtStart) << "host objects outlive the test";
    EXPECT_EQ(PostedTask::live, tasksAtStart) << "posted functions outlive the test";
}

TestDocument& HostTest::otherDocument()
{
    if (!other) other = Plinth::Ref<TestDocument>(new TestDocument);
    return *other;
}

Plinth::Ref<Arbor::Range> HostTest::range(
    Arbor::Node* sc, unsigned long so, Arbor::Node* ec, unsigned long eo)
{
    return Plinth::Ref<Arbor::Range>(newRange(doc.get(), false, sc, so, ec, eo));
}

Snapshot HostTest::snapshot()
{
    return Snapshot { xml(doc.get()), events.lines(), doc->canUndo(), doc->canRedo() };
}

void HostTest::expectRefusals(Arbor::Node* target, const std::vector<Refusal>& rows,
    const std::function<std::string()>& elsewhere)
{
    for (const Refusal& row : rows) {
        SCOPED_TRACE(row.name);
        setSwitches(target, row.switches);
        const Snapshot before = snapshot();
        const std::string outside = elsewhere ? elsewhere() : std::string();
        if (row.code)
            expectDomError(row.code, row.call);
        else
            row.call();
        EXPECT_EQ(snapshot(), before);
        if (elsewhere) {
            EXPECT_EQ(elsewhere(), outside);
        }
    }
    setSwitches(target, "");
}

void HostTest::expectUndoRedoRestores(const std::function<void()>& change)
{
    const std::string before = xml(doc.get());
    doc->newUndoTask();
    change();
    const std::string after = xml(doc.get());
    ASSERT_TRUE(doc->canUndo()) << "the change recorded nothing";
    doc->undo();
    EXPECT_EQ(xml(doc.get()), before) << "undo";
    ASSERT_TRUE(doc->canRedo());
    doc->redo();
    EXPECT_EQ(xml(doc.get()), after) << "redo";
}

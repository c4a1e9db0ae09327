#ifndef ARBOR_TESTS_SUPPORT_HOST_H
#define ARBOR_TESTS_SUPPORT_HOST_H

// The one host every test suite shares: a concrete element, text and document with switches that
// make their hooks refuse, an observer that logs events as text, and the fixture `HostTest`.
//
// Node names in logs and points: an element by its tag, a text node as "t", any other node by its
// node name ("#document", "#document-fragment", "#range"), a null pointer as "null".

#include "arbor/arbor.h"

#include <gtest/gtest.h>

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

/// Number of TestElement, TestText and TestDocument objects alive right now.
long liveHostObjects();

/// Every attribute hook call of every TestElement, oldest first, as
/// "beforeSetAttribute(told,changed,name)"; HostTest clears it after setup and at teardown.
std::vector<std::string>& hookLog();

/// The readable name of `node` (see the file comment).
std::string nameOf(Arbor::Node* node);
/// An element by its tag, a text node as its data in quotes, anything else by `nameOf`.
std::string label(Arbor::Node* node);
/// The nodes from `head` along `next` as "a 'xy' b". Whether the links agree is the business of
/// the shared checker (tests/support/Links.h), which every HostTest runs at its end.
std::string siblings(Arbor::Node* head);
/// The children of `node`, as `siblings` writes them.
std::string children(Arbor::Node* node);

/// ASCII text of UTF-16 data: "" for null, '?' for every unit above 0x7F.
std::string ascii(const char16_t* data);
/// A value as BasicElement::appendValueText writes it.
std::string valueText(const Arbor::Variant& value);
/// `putXml` of `node` as a string; for a document, its whole output.
std::string xml(Arbor::Node* node);
/// "(sc,so)-(ec,eo)" with the names of the containers; "detached" for a detached range.
std::string points(const Arbor::Range* range);

/// A new range of `document` from (sc, so) to (ec, eo), set end first; the caller gets no
/// reference.
Arbor::Range* newRange(Arbor::Document* document, bool selected, Arbor::Node* sc, unsigned long so,
    Arbor::Node* ec, unsigned long eo);

/// An element whose hooks can be switched to refuse and whose attribute hooks are logged.
class TestElement final : public Arbor::BasicElement {
public:
    /// `readOnly()` answers true.
    bool readOnlyNode = false;
    /// `mayReplaceChildren`, `maySetAttribute`, `mayRemoveAttribute` answer false.
    bool refuseChildren = false;
    bool refuseSet = false;
    bool refuseRemove = false;
    /// The four attribute hooks answer true, passing the notice down to the child elements.
    bool passNotices = false;
    /// Number of `afterParentChanged()` calls.
    int parentChanges = 0;

    TestElement(Arbor::Document* document, Arbor::Token tag);
    ~TestElement() override;

    /// A TestElement copy (switches reset), so copies count as host objects too.
    Arbor::Node* cloneNode(bool deep) override;
    bool readOnly() const override;
    void afterParentChanged() override;
    bool mayReplaceChildren(
        Arbor::Node* first, unsigned long count, Arbor::Node* newChild) override;
    bool maySetAttribute(Arbor::Token name, const Arbor::Variant& value) override;
    bool mayRemoveAttribute(Arbor::Token name) override;
    bool beforeSetAttribute(Arbor::Element* e, Arbor::Token n, const Arbor::Variant&) override
    {
        return logHook("beforeSetAttribute", e, n);
    }
    bool afterSetAttribute(Arbor::Element* e, Arbor::Token n) override
    {
        return logHook("afterSetAttribute", e, n);
    }
    bool beforeRemoveAttribute(Arbor::Element* e, Arbor::Token n) override
    {
        return logHook("beforeRemoveAttribute", e, n);
    }
    bool afterRemoveAttribute(Arbor::Element* e, Arbor::Token n) override
    {
        return logHook("afterRemoveAttribute", e, n);
    }

private:
    bool logHook(const char* hook, Arbor::Element* element, Arbor::Token name);
};

/// A text node whose `readOnly()` and `mayReplaceData` can be switched to refuse.
class TestText final : public Arbor::Text {
public:
    bool readOnlyNode = false;
    bool refuseEdit = false;

    TestText(Arbor::Document* document, const char16_t* data);
    ~TestText() override;

    bool readOnly() const override;
    bool mayReplaceData(
        unsigned long offset, unsigned long count, const char16_t* newData) override;
};

/// A document that makes TestElements.
class TestDocument final : public Arbor::Document {
public:
    TestDocument();
    ~TestDocument() override;

    Arbor::Element* createElement(Arbor::Token tagName) override;
    /// A new unlinked TestElement named `name`, count 0.
    TestElement* makeElement(const char* name);
    /// A new unlinked TestText holding a copy of `data`, count 0.
    TestText* makeText(const char16_t* data);
};

/// Appends a new TestElement or TestText of `parent`'s document to `parent` (through
/// `appendChild`) and returns it.
TestElement* appendElement(Arbor::Node* parent, const char* name);
TestText* appendText(Arbor::Node* parent, const char16_t* data);

/// Runs `action` and expects it to throw that exception with `code`.
void expectDomError(long code, const std::function<void()>& action);
void expectRangeError(long code, const std::function<void()>& action);

/// An observer that writes every call it receives as one line:
///   BeforeReplaceChildren(p,child=b,new=x,count=1)   AfterReplaceChildren(p)
///   BeforeReplaceText(t,2,3,"xyz")  (data null: null)  AfterReplaceText(t)
///   BeforeSetAttribute(p,a=value)   AfterSetAttribute(p,a)
///   BeforeRemoveAttribute(p,a)      AfterRemoveAttribute(p,a)
///   BeforeSelectionChange((t,1)-(t,4))   AfterSelectionChange   BeforeDeselect
///   beforeBatch   afterBatch   unObserve(BeforeReplaceText)  (null token: unObserve(all))
/// Attribute values are written as BasicElement::appendValueText writes them.
class EventLog : public Arbor::IDocObserver {
public:
    void unObserve(Arbor::Token type) override;
    void beforeBatchChanges() override;
    void afterBatchChanges() override;
    void onEvent(Arbor::DomEvent& event) override;

    const std::vector<std::string>& lines() const { return logged; }
    void clear() { logged.clear(); }
    /// The lines so far; the log is empty afterwards.
    std::vector<std::string> take();

private:
    std::vector<std::string> logged;
};

/// An observer that hands every event to `react`.
class CallbackObserver : public Arbor::IDocObserver {
public:
    std::function<void(Arbor::DomEvent&)> react;

    void onEvent(Arbor::DomEvent& event) override;
};

/// A posted function that runs `work`; `live` counts the instances alive.
class PostedTask final : public Arbor::Functor {
public:
    static int live;
    std::function<void()> work;

    explicit PostedTask(std::function<void()> work = nullptr);
    ~PostedTask() override;
    void operator()() override;
};

/// What a refused or undone change must leave as it was.
struct Snapshot {
    std::string xml;
    std::vector<std::string> events;
    bool canUndo;
    bool canRedo;

    bool operator==(const Snapshot& other) const;
    bool operator!=(const Snapshot& other) const { return !(*this == other); }
};
std::ostream& operator<<(std::ostream& os, const Snapshot& snapshot);

/// One row of a refusal-order table: the switches set on the target ('r' read-only, 'c' refuse
/// children, 's' refuse sets, 'm' refuse removals, 'e' refuse text edits), the call, and the
/// DomException code it must raise (0: none, and nothing may change either).
struct Refusal {
    const char* name;
    const char* switches;
    std::function<void()> call;
    long code;
};

/// Sets the switches of a TestElement or TestText as a Refusal row spells them.
void setSwitches(Arbor::Node* target, const char* switches);

/// The fixture every suite aliases (`using ReplaceChildrenTest = HostTest;`).
///
/// Setup: a fresh TestDocument with a document element "root" and `events` registered for every
/// event type, then `events` and `hookLog()` cleared. Teardown: `events` removed, the documents
/// torn down and dropped, and no host object made during the test may still be alive, nor any
/// PostedTask. A derived fixture that holds references drops them before calling
/// `HostTest::TearDown()`.
class HostTest : public ::testing::Test {
protected:
    EventLog events;

    void SetUp() override;
    void TearDown() override;

    TestDocument& document() { return *doc; }
    /// The document element, inside the document's content.
    TestElement* root() { return rootElement; }
    /// A second document, made on first use.
    TestDocument& otherDocument();

    /// A new unselected range of the document from (sc, so) to (ec, eo) that the caller holds.
    Plinth::Ref<Arbor::Range> range(
        Arbor::Node* sc, unsigned long so, Arbor::Node* ec, unsigned long eo);
    /// The document's XML, the event lines so far and its undo state.
    Snapshot snapshot();

    /// Runs each row on `target` and expects its code, with the document's snapshot and
    /// `elsewhere()` (what the call could change outside the document) unchanged; the switches
    /// are cleared afterwards.
    void expectRefusals(Arbor::Node* target, const std::vector<Refusal>& rows,
        const std::function<std::string()>& elsewhere = nullptr);

    /// Runs `change` in a new undo task, then expects undo to restore the document's XML from
    /// before and redo the XML from after.
    void expectUndoRedoRestores(const std::function<void()>& change);

private:
    Plinth::Ref<TestDocument> doc;
    Plinth::Ref<TestDocument> other;
    TestElement* rootElement = nullptr;
    long liveAtStart = 0;
    int tasksAtStart = 0;
};

#endif

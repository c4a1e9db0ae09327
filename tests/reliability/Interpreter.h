#ifndef ARBOR_TESTS_RELIABILITY_INTERPRETER_H
#define ARBOR_TESTS_RELIABILITY_INTERPRETER_H

// Decodes a stream of choices into operations on two TestDocuments and checks after every step
// that the trees, counts and ranges are sound, that a refused text or attribute edit changed
// nothing and an accepted one did what it says, and, at the end of an episode, that undoing and
// redoing the whole history gives back the document of every task boundary. Which checks an
// operation runs, and in what order, is the unit tables' business: here only the invariants.
// Used by the seeded random test and by the fuzzer.

#include "tests/support/Host.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace Reliability {

/// Where the interpreter's choices come from.
class Source {
public:
    virtual ~Source() = default;
    /// A choice in [0, n); 0 for n == 0.
    virtual unsigned long below(unsigned long n) = 0;
    /// True once a finite source has nothing left (every further choice is 0).
    virtual bool exhausted() const { return false; }
    bool chance(unsigned long n) { return below(n) == 0; }
};

/// Choices from a seeded pseudo-random generator.
class RandomSource final : public Source {
public:
    explicit RandomSource(std::uint64_t seed)
        : state(seed)
    {
    }
    unsigned long below(unsigned long n) override;

private:
    std::uint64_t state;
};

/// Choices read from bytes (a fuzzer's input): one byte per choice below 256, two otherwise.
class ByteSource final : public Source {
public:
    ByteSource(const std::uint8_t* data, std::size_t size)
        : data(data)
        , size(size)
    {
    }
    unsigned long below(unsigned long n) override;
    bool exhausted() const override { return position >= size; }

private:
    const std::uint8_t* data;
    std::size_t size;
    std::size_t position = 0;
};

class Interpreter;

/// An observer that, on hearing events, registers and removes observers (itself included) and
/// posts functions, as the interpreter's choices say.
class ChaosObserver final : public Arbor::IDocObserver {
public:
    explicit ChaosObserver(Interpreter& interpreter)
        : interpreter(interpreter)
    {
    }

    /// Registrations minus unObserve calls heard.
    int registrations = 0;

    void unObserve(Arbor::Token type) override;
    void onEvent(Arbor::DomEvent& event) override;

private:
    Interpreter& interpreter;
};

class Interpreter {
public:
    struct Stats {
        unsigned long steps = 0;
        unsigned long episodes = 0;
        unsigned long refusals = 0;
        unsigned long undoAllChecks = 0;
    };

    explicit Interpreter(Source& source);
    ~Interpreter();
    Interpreter(const Interpreter&) = delete;
    Interpreter& operator=(const Interpreter&) = delete;

    /// One operation, then every check. False once a check failed.
    bool step();
    /// Undoes and redoes the whole history with its checks, tears everything down, checks that
    /// no host object survives and starts fresh documents. False once a check failed.
    bool finishEpisode();
    /// What failed, with the operation that led there; empty while everything held.
    const std::string& failure() const { return failureText; }
    const Stats& stats() const { return counters; }

    // Used by the observers and the posted functions.
    Source& source;
    Arbor::Document* document() const { return documents[0].get(); }
    std::vector<std::unique_ptr<ChaosObserver>> observers;
    /// Posts a function that counts itself among the live PostedTasks.
    void postCounted();

private:
    Plinth::Ref<TestDocument> documents[2];
    /// The references the interpreter holds (a node may appear more than once).
    std::vector<Plinth::Ref<Arbor::Node>> held;
    std::vector<Plinth::Ref<Arbor::Range>> ranges;
    /// Every node met by the last check, the pool the operations choose from.
    std::vector<Arbor::Node*> reached;
    /// Ranges that had a point outside the content after some step.
    std::unordered_set<Arbor::Range*> staleRanges;
    /// Per task of the main document's history: its first operation and the XML before it.
    std::vector<std::pair<Plinth::Operation*, std::string>> tasks;
    /// Nodes the current step may change without a record, with whether each was in the content
    /// and reached the history before the step; held until the step is judged.
    struct Touched {
        Plinth::Ref<Arbor::Node> node;
        bool inContent;
        bool touchedHistory;
    };
    std::vector<Touched> touched;
    /// False once a change that undo could bring back into the document went unrecorded while
    /// the history held something: undoing then need not give the XML of the task boundaries.
    bool historyPure = true;
    unsigned long batchDepth = 0;
    bool tornDown = false;
    EventLog log;
    long liveAtStart = 0;
    int tasksAtStart = 0;
    std::string failureText;
    std::string operation;
    Stats counters;

    void startEpisode();
    void releaseEverything();
    /// Drops one of the held references, chosen by the source.
    void releaseHeld();
    bool fail(const std::string& what);
    std::string xml() const;
    void touch(Arbor::Node* node);
    void trackHistory(const std::string& xmlBefore);
    bool touchesHistory(Arbor::Node* node);

    /// A node of `type` (0: any, -1: any but text) from the last check's pool; with
    /// `preferContent`, half the time one in the main document's content.
    Arbor::Node* pick(int type = 0, unsigned long noneChance = 0, bool preferContent = false);
    Arbor::Node* pickParent();
    Arbor::Node* pickChild(Arbor::Node* parent);
    unsigned long pickOffset(unsigned long length);
    std::u16string pickText();
    Arbor::Variant pickValue();
    template <class Action> bool attempt(Action&& action);

    bool makeNode();
    bool childOperation();
    bool textOperation();
    bool splitText();
    bool attributeOperation();
    bool cloneNode();
    bool toggleSwitch();
    bool historyOperation();
    bool batchOperation();
    bool batchOrObserver();
    bool observerOperation();
    bool rangeOperation();
    bool rangeSetter(Arbor::Range* range);
    bool releaseNode();
    bool query();
    bool queryOrTearDown();

    bool checkAll();
    bool checkRanges();
};

} // namespace Reliability

#endif

#ifndef ARBOR_TESTS_RELIABILITY_INTERPRETER_H
#define ARBOR_TESTS_RELIABILITY_INTERPRETER_H

// Decodes a stream of choices into operations on two TestDocuments, applies each to the library
// and to the reference model, and checks after every step that the trees, counts and ranges are
// sound and agree with the model. Used by the seeded random test and by the fuzzer.

#include "tests/reliability/Model.h"
#include "tests/support/Host.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
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
        unsigned long failedReplays = 0;
        /// Undo-everything checks whose XML differed only in the order of attributes.
        unsigned long attributeOrderSlips = 0;
    };

    /// With `strictAttributeOrder` clear, undoing everything may give the attributes of an
    /// element in another order (counted in the stats instead of failing).
    explicit Interpreter(Source& source, bool strictAttributeOrder = true);
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
    Arbor::Document* document() const;
    std::vector<std::unique_ptr<ChaosObserver>> observers;
    unsigned long functorsPosted = 0;
    unsigned long functorsDeleted = 0;
    void postCounted();

private:
    bool strictAttributeOrder;
    Model model;
    /// Model number -> node, with one reference each; null for dead numbers.
    std::vector<Plinth::Ref<Arbor::Node>> held;
    std::unordered_map<Arbor::Node*, int> numbers;
    std::vector<Plinth::Ref<Arbor::Range>> ranges;
    /// Ranges that had a point outside the content after some step.
    std::unordered_set<Arbor::Range*> staleRanges;
    EventLog log;
    long liveAtStart = 0;
    int rootId = none;
    std::string failureText;
    std::string operation;
    Stats counters;

    void startEpisode();
    void releaseEverything();
    bool fail(const std::string& what);
    bool expect(long expected, long actual);
    int bind(int id, Arbor::Node* node);
    int bindCopy(int id, Arbor::Node* node);
    int numberOf(Arbor::Node* node) const;
    Arbor::Node* nodeOf(int id) const;
    std::string xml();

    int pick(bool (*accept)(const ModelNode&), unsigned long noneChance = 16);
    int pickParent();
    int pickChild(int parent);
    unsigned long pickOffset(unsigned long length);
    std::u16string pickText();
    Arbor::Variant pickValue();

    bool makeNode();
    bool childOperation();
    bool directReplace();
    bool textOperation();
    bool splitText();
    bool attributeOperation();
    bool cloneNode();
    bool toggleSwitch();
    bool historyOperation();
    bool batchOperation();
    bool observerOperation();
    bool rangeOperation();
    bool rangeSetter(Arbor::Range* range);
    bool releaseNode();
    bool tearDown();
    bool query();

    // Checks.cpp
    bool checkAll();
    bool checkLinks(const std::vector<Arbor::Node*>& reachable);
    bool checkCounts(const std::vector<Arbor::Node*>& reachable);
    bool checkRanges();
    bool checkModel();
    std::vector<Arbor::Node*> reachableNodes();
    /// Child indices from the root to `node`, then `offset`; empty when `node` is unknown.
    bool pathOf(
        Arbor::Node* node, unsigned long offset, std::vector<unsigned long>& path, int& top) const;
    /// Expected result of setting a point of `range` to (node, offset) (`start` or end).
    long expectedSetError(Arbor::Range* range, bool start, Arbor::Node* node, unsigned long offset);
};

} // namespace Reliability

#endif

#ifndef ARBOR_TESTS_RELIABILITY_MODEL_H
#define ARBOR_TESTS_RELIABILITY_MODEL_H

// A deliberately plain reference model of what the random operations do to the documents:
// children as vectors, text as std::u16string, attributes in a map, and an undo history of
// self-inverse swaps with the same task rules as the library's. Nodes are numbers; number 0 is
// the main document and 1 the second document.

#include "arbor/values/Variant.h"

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Reliability {

constexpr int none = -1;

/// Error results: DomException codes as they are, RangeException codes plus `rangeError`.
constexpr long rangeError = 100;

enum class Kind { Document, Element, Text, Fragment };

struct ModelNode {
    Kind kind = Kind::Element;
    int document = 0;
    bool alive = true;
    std::string tag;
    int parent = none;
    std::vector<int> children;
    /// Sibling links of a node without a parent (a parentless chain).
    int chainPrevious = none;
    int chainNext = none;
    std::u16string text;
    std::map<std::string, Arbor::Variant> attributes;
    bool readOnly = false;
    bool refuseChildren = false;
    bool refuseSet = false;
    bool refuseRemove = false;
    bool refuseEdit = false;
};

/// One recorded change; executing it swaps the document with the state it keeps.
struct ModelOperation {
    enum class Type { Children, Text, Attribute } type = Type::Children;
    int node = none;
    // Children: the run from `first` (null: the end) of `count` children, and the chain that
    // takes its place.
    int first = none;
    unsigned long count = 0;
    int replacement = none;
    // The length of the chain at `replacement` when it was stored: a chain a node was cut out of
    // since is refused.
    unsigned long replacementLength = 0;
    // Text: `count` units from `offset` become `data`.
    unsigned long offset = 0;
    std::optional<std::u16string> data;
    // Attribute: a set (or a removal) of `name`, which the element had or not before it; the
    // value set, or the one removed.
    std::string name;
    std::optional<Arbor::Variant> value;
    bool setting = false;
    bool had = false;
};

class Model {
public:
    std::vector<ModelNode> nodes;

    // The undo history of the main document (the second one never has content).
    std::deque<ModelOperation> operations;
    std::deque<unsigned long> taskStarts;
    unsigned long doneTasks = 0;
    unsigned long maxTaskCount = 100;
    bool newTaskPending = true;
    unsigned long batchDepth = 0;
    unsigned long savedMaxTasks = 0;
    bool tornDown = false;
    /// The main document's XML before each task, as the interpreter last gave it.
    std::deque<std::string> taskXml;
    std::string xmlBeforeStep;
    /// False once a change of the main document's nodes went unrecorded while the history held
    /// something (or earlier in the step that opened the first task): undoing everything then
    /// need not give the XML from before the first task.
    bool historyPure = true;
    bool unrecordedInStep = false;

    Model();

    int addNode(Kind kind, int document, const std::string& tag = std::string());
    ModelNode& at(int id) { return nodes[static_cast<unsigned long>(id)]; }

    bool inContent(int id);
    int root(int id);
    int nextSibling(int id);
    unsigned long items(int id);

    long replaceChildren(int parent, int first, unsigned long count, int newChild);
    /// insertBefore (count 0) and replaceChild (count 1) with their preparation of `newChild`.
    long insert(int parent, int newChild, int first, unsigned long count);
    long removeChild(int parent, int child);
    long replaceData(int text, unsigned long offset, unsigned long count,
        const std::optional<std::u16string>& data);
    /// Cuts `text` at `offset`; the new node gets number `fresh` (made here).
    long splitText(int text, unsigned long offset, int fresh);
    long setAttribute(int element, const std::string& name, const Arbor::Variant& value);
    long removeAttribute(int element, const std::string& name);
    /// Number of a deep or shallow copy of `id` (pre-order numbering of the copies).
    int cloneNode(int id, bool deep);
    /// The node dies: its children and the nodes after it in its chain are left as chains.
    void release(int id);

    long undo();
    long redo();
    void newTask() { newTaskPending = true; }
    void clear();
    void maxTasks(unsigned long n);
    void beginBatch();
    void endBatch();
    void tearDown();
    bool canUndo() const { return doneTasks != 0; }
    bool canRedo() const { return doneTasks < taskStarts.size(); }

private:
    bool closesCycle(int parent, int chain);
    bool mayReplaceChildren(int parent);
    void cutFromChain(int id);
    int takeChildren(int parent);
    void replaceRaw(int parent, int first, unsigned long count, int chain);
    void replaceTextRaw(int text, unsigned long offset, unsigned long count,
        const std::optional<std::u16string>& data);
    void replayAttribute(ModelOperation& op, bool backwards);
    void apply(ModelOperation op);
    long execute(ModelOperation& op, bool backwards);
    void record(const ModelOperation& op);
    long replay(unsigned long task, bool backwards);
    bool touchesHistory(int id);
    void noteUnrecorded(int id);
};

} // namespace Reliability

#endif

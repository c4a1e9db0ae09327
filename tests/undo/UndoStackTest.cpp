#include "arbor/undo/UndoStack.h"

#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// An operation that writes what happens to it ("undo B", "redo B", "~B") into a shared log, the
// entries separated by commas, and runs `during` (when set) inside its undo() and redo().
class FakeOp final : public Plinth::Operation {
public:
    std::string name;
    std::function<void()> during;

    FakeOp(std::string& log, std::string name)
        : name(std::move(name))
        , log(log)
    {
    }
    ~FakeOp() override { note("~"); }
    void execute() override { note("execute "); }
    void undo() override { replay("undo "); }
    void redo() override { replay("redo "); }

private:
    std::string& log;
    void note(const char* what) { log += (log.empty() ? "" : ",") + (what + name); }
    void replay(const char* what)
    {
        note(what);
        if (during) during();
    }
};

class UndoStackTest : public ::testing::Test {
protected:
    std::string log;
    Arbor::UndoStack stack;

    FakeOp* op(const char* name) { return new FakeOp(log, name); }

    // Runs a script of space-separated steps: "A" addOp(A), "+A" addAtomicOp(A), "+"
    // addAtomicOp(null), "0" addOp(null), "new", "undo", "redo", "clear", "max:N".
    void run(const std::string& script)
    {
        std::istringstream steps(script);
        for (std::string step; steps >> step;) {
            if (step == "new") stack.newTask();
            if (step == "undo") stack.undo();
            if (step == "redo") stack.redo();
            if (step == "clear") stack.clear();
            if (step.compare(0, 4, "max:") == 0) stack.maxTasks(std::stoul(step.substr(4)));
            if (step[0] == '+') stack.addAtomicOp(step.size() > 1 ? op(&step[1]) : nullptr);
            if (step == "0" || std::isupper(step[0]))
                stack.addOp(step == "0" ? nullptr : op(&step[0]));
        }
    }

    // The tasks as "[A B][C]", with "|" between the applied and the undone ones.
    std::string tasks() const
    {
        std::string out;
        for (unsigned long task = 0; task <= stack.taskStarts.size(); ++task) {
            if (task == stack.doneTasks) out += "|";
            if (task == stack.taskStarts.size()) break;
            out += "[";
            const unsigned long start = stack.taskStarts[task];
            for (unsigned long i = start; i < stack.endTask(task); ++i)
                out += (i == start ? "" : " ") + static_cast<FakeOp*>(stack.operations[i])->name;
            out += "]";
        }
        return out;
    }
};

TEST_F(UndoStackTest, RecordsUndoesAndRedoesInTasks)
{
    const struct {
        const char* name;
        const char* script;
        const char* tasks;
        const char* log;
        bool newTaskPending;
    } cases[] = {
        { "fresh stack", "", "|", "", true },
        { "operations without a boundary form one task", "A B C", "[A B C]|", "", false },
        { "null operations are ignored", "A 0 B", "[A B]|", "", false },
        { "undo runs backwards", "A B C undo", "|[A B C]", "undo C,undo B,undo A", true },
        { "redo runs forwards", "A B undo redo", "[A B]|", "undo B,undo A,redo A,redo B", true },
        { "a boundary opens a second task", "A new B", "[A][B]|", "", false },
        { "an atomic operation is a task of its own", "A +B C", "[A][B][C]|", "", false },
        { "a null atomic operation only sets the flag", "A + B", "[A][B]|", "", false },
        { "recording after undo drops it", "A new B undo C", "[A][C]|", "undo B,~B", false },
        { "undone tasks are deleted oldest first", "A new B new C undo undo D", "[A][D]|",
            "undo C,undo B,~B,~C", false },
        { "recording after redo: new task", "A undo redo B", "[A][B]|", "undo A,redo A", false },
        { "redo with nothing undone keeps the task open", "A redo B", "[A B]|", "", false },
        { "undo past the first task changes nothing", "A undo undo B", "[B]|", "undo A,~A", false },
        { "clear: oldest first, new task", "A new B clear C", "[C]|", "~A,~B", false },
        { "a new limit clears", "A new B undo max:5", "|", "undo B,~A,~B", true },
        { "a limit of 0 deletes on arrival", "A max:0 B +C", "|", "~A,~B,~C", true },
        { "limit 2 drops the oldest task", "max:2 A B new C new D", "[C][D]|", "~A,~B", false },
        { "the tasks left undo after a drop", "max:2 A B new C D E new F undo undo", "|[C D E][F]",
            "~A,~B,undo F,undo E,undo D,undo C", true },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        run(c.script);
        EXPECT_EQ(tasks(), c.tasks);
        EXPECT_EQ(log, c.log);
        EXPECT_EQ(stack.newTaskPending, c.newTaskPending);
        EXPECT_EQ(stack.endTask(ULONG_MAX), stack.operations.size()) << "a missing task";
        stack.maxTasks(100);
        log.clear();
    }
    stack.newTaskPending = false; // undo and redo with nothing to do leave the flag alone
    stack.undo();
    stack.redo();
    EXPECT_FALSE(stack.newTaskPending);
}

TEST_F(UndoStackTest, RecordingDuringUndoWaitsAndThenDiscardsTheUndoneTask)
{
    run("X new A B");
    static_cast<FakeOp*>(stack.operations[2])->during = [this] {
        stack.addOp(op("D"));
        EXPECT_EQ(stack.operations.size(), 3u) << "recorded while the task is replayed";
    };
    stack.undo();
    EXPECT_EQ(log, "undo B,undo A,~A,~B");
    EXPECT_EQ(tasks(), "[X][D]|");
    EXPECT_FALSE(stack.canRedo());
}

// Clearing or re-limiting the stack from inside a replay deletes the operations only after the
// replay. An operation failing half-way leaves a document that no record matches: the history
// goes, the exception passes on, and no deleted operation is touched again.
TEST_F(UndoStackTest, ClearingDuringReplayDeletesOnlyAfterwards)
{
    enum Action { Clear, Limit, Throw };
    for (const bool inUndo : { true, false }) {
        for (const Action action : { Clear, Limit, Throw }) {
            SCOPED_TRACE(std::to_string(inUndo) + " " + std::to_string(action));
            run("X new A B C");
            if (!inUndo) stack.undo();
            const unsigned long limit = action == Limit ? (inUndo ? 3 : 0) : 100;
            static_cast<FakeOp*>(stack.operations[2])->during = [&] {
                if (action == Throw) throw std::runtime_error("replay failed");
                action == Clear ? stack.clear() : stack.maxTasks(limit);
                EXPECT_FALSE(stack.canUndo() || stack.canRedo());
                EXPECT_EQ(stack.maxTasks(), limit);
            };
            log.clear();
            try {
                inUndo ? stack.undo() : stack.redo();
                EXPECT_NE(action, Throw);
            } catch (const std::runtime_error&) {
                EXPECT_EQ(action, Throw);
            }
            const std::string rest = action == Throw ? "" : inUndo ? ",undo A" : ",redo C";
            EXPECT_EQ(log, (inUndo ? "undo C,undo B" : "redo A,redo B") + rest + ",~X,~A,~B,~C");
            EXPECT_FALSE(stack.canUndo() || stack.canRedo());
            stack.maxTasks(100);
            run("D");
            EXPECT_EQ(tasks(), "[D]|");
            stack.clear();
            log.clear();
        }
    }
}

} // namespace

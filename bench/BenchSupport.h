#ifndef ARBOR_BENCH_BENCH_SUPPORT_H
#define ARBOR_BENCH_BENCH_SUPPORT_H

// Shared by every library's cases: the workload parameters, the fixed pseudo-random scripts that
// every library replays identically, a memory sink for serialisation and the manual timer.
//
// Each case builds its input outside the timed region and times only the workload itself with a
// manual timer (cases registered with `UseManualTime`), so the numbers of different libraries
// cover exactly the same work.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

namespace ArborBench {

// W1/W3/W7: children alternate an element and a text node of this many units.
constexpr const char* textNarrow = "hello world";
constexpr const char16_t* textWide = u"hello world";
constexpr unsigned long textUnits = 11;

// W4: each element carries two attributes and a text child with markup characters.
constexpr const char* w4Kind = "a<b & \"c\"";
constexpr const char16_t* w4KindWide = u"a<b & \"c\"";
constexpr const char* w4Text = "1 < 2 & 3 > 0";
constexpr const char16_t* w4TextWide = u"1 < 2 & 3 > 0";

// W5: single-unit inserts into a text node of this many units, this many per iteration.
constexpr unsigned long w5Length = 10000;
constexpr unsigned long w5Edits = 1000;
// W6: alternating inserts and removals on a root with this many children, this many per
// iteration (ranges in the root make every edit walk the child list in some libraries, hence the
// small batch).
constexpr unsigned long w6Children = 10000;
constexpr unsigned long w6Edits = 20;

constexpr std::uint64_t seed = 0x5eed1234abcdULL;

/// A small deterministic generator (splitmix64), identical on every platform.
class Random {
public:
    explicit Random(std::uint64_t state = seed)
        : state(state)
    {
    }
    std::uint64_t next()
    {
        std::uint64_t z = (state += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }
    /// A value in [0, bound).
    unsigned long below(unsigned long bound) { return static_cast<unsigned long>(next() % bound); }

private:
    std::uint64_t state;
};

/// W5: the offset of each insert (the text grows by one unit per insert).
inline std::vector<unsigned long> textEditOffsets()
{
    Random random;
    std::vector<unsigned long> offsets(w5Edits);
    for (unsigned long i = 0; i < w5Edits; ++i)
        offsets[i] = random.below(w5Length + i + 1);
    return offsets;
}

/// W5: the points of range `k` of `count` ranges in the text, and where they move to after the
/// inserts (a point moves when a unit is inserted strictly before it).
struct TextRangePoints {
    unsigned long start;
    unsigned long end;
};
inline TextRangePoints textRangeAt(unsigned long k, unsigned long count)
{
    const unsigned long start = k * (w5Length - 8) / count;
    return { start, start + 7 };
}
inline TextRangePoints textRangeAfterEdits(TextRangePoints points)
{
    for (unsigned long offset : textEditOffsets()) {
        if (offset < points.start) ++points.start;
        if (offset < points.end) ++points.end;
    }
    return points;
}

/// W6: one step of the child edit script. Node ids: the original children are 0..N-1, the node
/// inserted by step i gets id N + i / 2.
struct ChildEdit {
    bool insert;
    /// Insert: the child to insert before; remove: the child to remove.
    unsigned long node;
    /// Index of that child among the root's children when the step runs.
    unsigned long index;
};

inline std::vector<ChildEdit> childEditScript()
{
    Random random;
    std::vector<unsigned long> children(w6Children);
    for (unsigned long i = 0; i < w6Children; ++i)
        children[i] = i;
    unsigned long nextId = w6Children;
    std::vector<ChildEdit> script;
    for (unsigned long i = 0; i < w6Edits; ++i) {
        const bool insert = i % 2 == 0;
        const unsigned long at = random.below(children.size());
        script.push_back({ insert, children[at], at });
        if (insert)
            children.insert(children.begin() + static_cast<long>(at), nextId++);
        else
            children.erase(children.begin() + static_cast<long>(at));
    }
    return script;
}

/// W6: the final order of node ids after the script, for the correctness checks.
inline std::vector<unsigned long> childOrderAfterScript()
{
    std::vector<unsigned long> children(w6Children);
    for (unsigned long i = 0; i < w6Children; ++i)
        children[i] = i;
    unsigned long nextId = w6Children;
    for (const ChildEdit& edit : childEditScript()) {
        auto at = std::find(children.begin(), children.end(), edit.node);
        if (edit.insert)
            children.insert(at, nextId++);
        else
            children.erase(at);
    }
    return children;
}

/// W6: the points (offsets in the root) of range `k` of `count` ranges.
struct ChildRangePoints {
    unsigned long start;
    unsigned long end;
};
inline ChildRangePoints childRangeAt(unsigned long k, unsigned long count)
{
    const unsigned long start = k * (w6Children - 5) / count;
    return { start, start + 5 };
}
/// Where the points are after the script: an insertion at an index before a point moves it
/// forward, a removal of a child before it moves it back.
inline ChildRangePoints childRangeAfterScript(ChildRangePoints points)
{
    for (const ChildEdit& edit : childEditScript()) {
        for (unsigned long* point : { &points.start, &points.end }) {
            if (edit.insert && edit.index < *point)
                ++*point;
            else if (!edit.insert && edit.index < *point)
                --*point;
        }
    }
    return points;
}

/// A growable in-memory stream buffer: writes land in a put area over a reused byte array.
class StringSink : public std::streambuf {
public:
    std::vector<char> bytes;

    explicit StringSink(std::size_t capacity = 1 << 16)
        : bytes(capacity)
    {
        rewind();
    }
    void rewind() { setp(bytes.data(), bytes.data() + bytes.size()); }
    std::size_t size() const { return static_cast<std::size_t>(pptr() - pbase()); }
    std::string text() const { return std::string(pbase(), size()); }

protected:
    int_type overflow(int_type c) override
    {
        const std::size_t used = size();
        bytes.resize(bytes.size() * 2);
        setp(bytes.data(), bytes.data() + bytes.size());
        pbump(static_cast<int>(used));
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
};

/// Number of non-overlapping occurrences of `needle` in `text`.
inline unsigned long countOccurrences(const std::string& text, const std::string& needle)
{
    unsigned long count = 0;
    for (std::size_t at = text.find(needle); at != std::string::npos;
         at = text.find(needle, at + needle.size()))
        ++count;
    return count;
}

using Clock = std::chrono::steady_clock;

/// Runs `work` and reports its duration as the iteration time of a manual-time case.
template <class Work> void timed(benchmark::State& state, Work&& work)
{
    const Clock::time_point begin = Clock::now();
    work();
    const Clock::time_point end = Clock::now();
    state.SetIterationTime(std::chrono::duration<double>(end - begin).count());
}

/// Sizes 10^3 .. 10^6.
inline void sizes(benchmark::internal::Benchmark* b)
{
    b->RangeMultiplier(10)->Range(1000, 1000000)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
/// Sizes 10^3 .. 10^5 (undo history and other heavy cases).
inline void smallSizes(benchmark::internal::Benchmark* b)
{
    b->RangeMultiplier(10)->Range(1000, 100000)->UseManualTime()->Unit(benchmark::kMicrosecond);
}
/// Argument and iteration count of each size of a case run a fixed number of times: cases whose
/// untimed setup dwarfs the timed part (a release that frees an arena takes nanoseconds after a
/// build of milliseconds) would otherwise run for minutes before reaching the minimum time.
using FixedPlan = std::vector<std::pair<long, long>>;
/// W7 sizes 10^3 .. 10^6.
inline const FixedPlan destroyPlan { { 1000, 100 }, { 10000, 30 }, { 100000, 5 }, { 1000000, 2 } };
/// W6 with 0, 100 and 1000 live ranges.
inline const FixedPlan childEditPlan { { 0, 300 }, { 100, 10 }, { 1000, 1 } };
/// W6 without ranges (libraries that have none).
inline const FixedPlan childEditPlanNoRanges { { 0, 300 } };

/// Registers `fn` as `name` once per entry of `plan`; returns true so it can initialise a
/// namespace-scope constant.
template <class Fn> bool registerFixed(const char* name, Fn fn, const FixedPlan& plan)
{
    for (const auto& [arg, iterations] : plan) {
        benchmark::RegisterBenchmark(name, fn)
            ->Arg(arg)
            ->Iterations(iterations)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
    }
    return true;
}

/// Live range counts 0, 100 and 1000.
inline void rangeCounts(benchmark::internal::Benchmark* b)
{
    b->Arg(0)->Arg(100)->Arg(1000)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

} // namespace ArborBench

#endif

#include "tests/reliability/Interpreter.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#endif

namespace {

// Under Valgrind every step costs some fifty times as much: the fixed runs take a tenth of their
// steps there.
unsigned long stepsHere(unsigned long steps)
{
#ifdef RUNNING_ON_VALGRIND
    if (RUNNING_ON_VALGRIND) return steps / 10;
#endif
    return steps;
}

// Runs `steps` steps from `seed`, finishing an episode every `episode` steps; returns the
// failure, empty when every check held.
std::string run(std::uint64_t seed, unsigned long steps, unsigned long episode,
    Reliability::Interpreter::Stats& stats)
{
    Reliability::RandomSource source(seed);
    Reliability::Interpreter interpreter(source);
    for (unsigned long i = 1; i <= steps; ++i) {
        if (!interpreter.step()) break;
        if (i % episode == 0 && !interpreter.finishEpisode()) break;
    }
    if (interpreter.failure().empty()) interpreter.finishEpisode();
    stats = interpreter.stats();
    return interpreter.failure();
}

unsigned long fromEnvironment(const char* name, unsigned long fallback)
{
    const char* value = std::getenv(name);
    return value && *value ? std::strtoul(value, nullptr, 0) : fallback;
}

} // namespace

TEST(RandomOperationsTest, FixedSeedsKeepEveryInvariant)
{
    // Short episodes find ordering faults early; long ones build deep histories and trees.
    const std::pair<std::uint64_t, unsigned long> seedsAndEpisodes[]
        = { { 1, 200 }, { 2, 500 }, { 3, 2000 }, { 0x5eed, 50 } };
    unsigned long total = 0, undoAllChecks = 0;
    for (const auto& [seed, episode] : seedsAndEpisodes) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Reliability::Interpreter::Stats stats;
        EXPECT_EQ(run(seed, stepsHere(25000), episode, stats), "");
        total += stats.steps;
        EXPECT_GT(stats.refusals, 0u);
        undoAllChecks += stats.undoAllChecks;
    }
    EXPECT_GT(undoAllChecks, 0u) << "no episode ended with a history to undo";
    std::cout << "random operations: " << total << " steps\n";
}

// The soak run: ARBOR_SOAK_STEPS steps (skipped when unset) from ARBOR_SOAK_SEED, in episodes of
// ARBOR_SOAK_EPISODE steps. A failure names the seed and the step to replay (ARBOR_TRACE=1 lists
// the steps).
TEST(RandomOperationsTest, Soak)
{
    const unsigned long steps = fromEnvironment("ARBOR_SOAK_STEPS", 0);
    if (steps == 0) GTEST_SKIP() << "set ARBOR_SOAK_STEPS (and ARBOR_SOAK_SEED) to soak";
    const std::uint64_t seed = fromEnvironment("ARBOR_SOAK_SEED", 1);
    const unsigned long episode = fromEnvironment("ARBOR_SOAK_EPISODE", 2000);
    const auto began = std::chrono::steady_clock::now();
    Reliability::Interpreter::Stats stats;
    const std::string failure = run(seed, steps, episode, stats);
    const double seconds
        = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    std::cout << "soak: seed " << seed << ", " << stats.steps << " steps in " << stats.episodes
              << " episodes, " << seconds << " s, " << stats.refusals << " refused requests, "
              << stats.undoAllChecks << " undone tasks checked\n";
    EXPECT_EQ(failure, "") << "replay with ARBOR_SOAK_SEED=" << seed
                           << " ARBOR_SOAK_EPISODE=" << episode;
}

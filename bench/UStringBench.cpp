// The length of a long text, measured from scratch: every edit of a text node measures its text.

#include "arbor/foundation/UString.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>

namespace {

void BM_UStrLen(benchmark::State& state)
{
    const auto units = static_cast<std::size_t>(state.range(0));
    // An allocation of exactly the text and its terminator, as a text node holds.
    auto* text = static_cast<char16_t*>(std::malloc((units + 1) * sizeof(char16_t)));
    for (std::size_t i = 0; i < units; ++i)
        text[i] = static_cast<char16_t>(u'a' + i % 26);
    text[units] = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(Plinth::ustrlen(text));
    }
    state.SetItemsProcessed(static_cast<long>(state.iterations() * units));
    std::free(text);
}

} // namespace

BENCHMARK(BM_UStrLen)->Arg(1)->Arg(10000);

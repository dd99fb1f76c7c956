// Copy verification runs on whatever the clipboard holds: a typical Kindle copy must cost
// microseconds, and hostile clipboards time linear in their size.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "capture/kindle_copy_verification.h"

namespace {

const std::string citation = "Doe, Jane. A Title (p. 12). Kindle Edition.";

std::string repeatedUpTo(std::string_view piece, size_t size) {
    std::string result;
    result.reserve(size + piece.size());
    while (result.size() < size) result += piece;
    return result;
}

void verify(benchmark::State& state, const std::string& raw, bool accepted) {
    if (brisel::verifiedKindleCopy(raw).has_value() != accepted) {
        state.SkipWithError(accepted ? "refused a Kindle copy" : "accepted a hostile clipboard");
        return;
    }
    for (auto _ : state) {
        auto copy = brisel::verifiedKindleCopy(raw);
        benchmark::DoNotOptimize(copy);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(raw.size()));
    state.SetComplexityN(static_cast<int64_t>(raw.size()));
}

// A 200-character passage with its citation, in English and in Japanese.
void TypicalCopy(benchmark::State& state) {
    const std::string passage = repeatedUpTo("The quick reader copies a sentence worth keeping. ", 200).substr(0, 200);
    verify(state, passage + "\n\n" + citation, true);
}
BENCHMARK(TypicalCopy)->Unit(benchmark::kMicrosecond);

void TypicalJapaneseCopy(benchmark::State& state) {
    std::string passage;
    for (int i = 0; i < 20; ++i) passage += "吾輩は猫である名前は";  // 200 characters
    verify(state, passage + "\n\n夏目 漱石. 吾輩は猫である (p. 3). Kindle Edition.", true);
}
BENCHMARK(TypicalJapaneseCopy)->Unit(benchmark::kMicrosecond);

// Lines of text and a citation, but no blank line anywhere.
void NoBlankLine(benchmark::State& state) {
    const auto size = static_cast<size_t>(state.range(0));
    verify(state, repeatedUpTo("A line of a long passage without any blank line.\n", size) + citation, false);
}
BENCHMARK(NoBlankLine)
    ->Arg(256 << 10)->Arg(1 << 20)->Arg(4 << 20)
    ->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

// One citation line of words, far beyond what the citation can hold.
void CitationLineOfWords(benchmark::State& state) {
    const auto size = static_cast<size_t>(state.range(0));
    verify(state, "Passage.\n\nDoe, Jane. " + repeatedUpTo("long title ", size) + "(p. 12). Kindle Edition.", false);
}
BENCHMARK(CitationLineOfWords)
    ->Arg(25'000)->Arg(100'000)->Arg(400'000)
    ->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

// One citation line of spaces that almost matches: the worst case of a backtracking engine.
void CitationLineOfSpaces(benchmark::State& state) {
    const auto size = static_cast<size_t>(state.range(0));
    verify(state, "Passage.\n\nDoe, Jane." + std::string(size, ' ') + "A Title (p. 12). Kindle Edition", false);
}
BENCHMARK(CitationLineOfSpaces)
    ->Arg(25'000)->Arg(100'000)->Arg(400'000)
    ->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

// The one cost left that the cuts cannot remove: ICU walking spaces inside the title's 600 characters.
// A constant, whatever the size of the clipboard.
void TitleOfSpaces(benchmark::State& state) {
    verify(state, "Passage.\n\nDoe, Jane. A" + std::string(598, ' ') + "B (p. 12). Kindle Edition.", true);
}
BENCHMARK(TitleOfSpaces)->Unit(benchmark::kMillisecond);

// Blank lines (of spaces and ideographic spaces) between the passage and the citation.
void BlankLines(benchmark::State& state) {
    std::string raw = "Some passage.";
    for (int64_t i = 0; i < state.range(0); ++i) raw += "\n \xE3\x80\x80";
    verify(state, raw + "\n" + citation, true);
}
BENCHMARK(BlankLines)
    ->Arg(2'500)->Arg(10'000)->Arg(40'000)
    ->Unit(benchmark::kMillisecond)->Complexity(benchmark::oN);

}  // namespace

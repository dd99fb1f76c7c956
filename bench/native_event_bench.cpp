// Turning a captured passage into the script that hands it to the page.
#include <benchmark/benchmark.h>

#include "bridge/native_events.h"

namespace {

void BM_SelectionEventScript(benchmark::State& state) {
    // 240 scalars of Japanese text with a quote and a line separator, as a capture can carry.
    std::string passage;
    for (int i = 0; i < 238; ++i) passage += "\u8aad";
    passage += "\"\u2028";
    const brisel::NativeEvent event = {
        {"type", "selection"},
        {"text", passage},
        {"context", ""},
        {"source", {{"app", "Kindle"}, {"bundleId", "com.amazon.Lassen"}, {"title", "A Title"}, {"chapter", "p. 12"}}},
        {"captureMethod", "kindle-standard-copy"}};
    for (auto _ : state) benchmark::DoNotOptimize(brisel::nativeEventScript(event));
}
BENCHMARK(BM_SelectionEventScript);

}  // namespace

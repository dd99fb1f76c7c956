// The export request carries up to 32 MiB as base64 in one message, checked and decoded on the
// main thread: it must decode at least as fast as coreutils' `base64 -d` (see
// base64_compare.sh, which times both on the same text).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

#include "core/export_test_support.h"
#include "export/base64.h"
#include "export/export_payload.h"

namespace {

// A 32 MiB stand-in archive: a ZIP local header, pseudo-random bytes (as compressed entries
// look), and the end record 22 bytes before the end.
std::string largestArchive() {
    std::string bytes(brisel::maximumExportArchiveBytes, '\0');
    uint64_t state = 0x2545F4914F6CDD1DULL;
    for (auto& byte : bytes) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        byte = static_cast<char>(state);
    }
    bytes.replace(0, 4, "PK\x03\x04", 4);
    bytes.replace(bytes.size() - 22, 22, std::string("PK\x05\x06", 4) + std::string(18, '\0'));
    return bytes;
}

// Built once; with BRISEL_EXPORT_BENCH_BASE64 set, also written there so `base64 -d` can be
// timed on the very same text.
const std::string& largestBase64() {
    static const std::string text = [] {
        std::string encoded = brisel::testing::encodeBase64(largestArchive());
        if (const char* path = std::getenv("BRISEL_EXPORT_BENCH_BASE64")) {
            std::ofstream(path, std::ios::binary) << encoded;
        }
        return encoded;
    }();
    return text;
}

const nlohmann::json& largestBody() {
    static const nlohmann::json body = {{"action", "exportMarkdown"},
                                        {"requestId", "5F1B5C2E-6A1D-4C4B-9B7E-2F0C1D2E3F40"},
                                        {"filename", "Brisel-20250101T093000Z.zip"},
                                        {"base64", largestBase64()}};
    return body;
}

void reportSizes(benchmark::State& state) {
    // Bytes per second counts the base64 text read, the unit `base64 -d` is timed in too.
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(largestBase64().size()));
    state.counters["archive_bytes"] = static_cast<double>(brisel::maximumExportArchiveBytes);
}

// The whole check of the largest request: keys, id, name, length, decode, size, ZIP records.
void ExportPayloadCheck32MiB(benchmark::State& state) {
    const auto& body = largestBody();
    if (!brisel::BriselExportPayload::fromBody(body)) {
        state.SkipWithError("refused the largest archive");
        return;
    }
    for (auto _ : state) {
        auto payload = brisel::BriselExportPayload::fromBody(body);
        benchmark::DoNotOptimize(payload);
    }
    reportSizes(state);
}
BENCHMARK(ExportPayloadCheck32MiB)->Unit(benchmark::kMillisecond)->UseRealTime();

// The decoder alone, into a freshly allocated buffer as the check does.
void ExportBase64Decode32MiB(benchmark::State& state) {
    const auto& text = largestBase64();
    for (auto _ : state) {
        auto bytes = brisel::decodeBase64(text);
        benchmark::DoNotOptimize(bytes);
    }
    reportSizes(state);
}
BENCHMARK(ExportBase64Decode32MiB)->Unit(benchmark::kMillisecond)->UseRealTime();

// A text one byte too long is refused by its length alone, whatever its size.
void ExportPayloadOverlongRefused(benchmark::State& state) {
    nlohmann::json body = largestBody();
    body["base64"] = largestBase64() + "A";
    for (auto _ : state) {
        auto payload = brisel::BriselExportPayload::fromBody(body);
        benchmark::DoNotOptimize(payload);
    }
}
BENCHMARK(ExportPayloadOverlongRefused)->Unit(benchmark::kNanosecond);

}  // namespace

// The snapshot before Kindle's Copy holds whatever the user copied last, images included, in
// full. It must cost one copy of the bytes (the one the pasteboard hands over) and nothing more:
// every allocation made while taking it is counted, and a second copy fails the benchmark.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <optional>
#include <new>
#include <string>
#include <vector>

#include "capture/clipboard_snapshot.h"

namespace {

std::atomic<bool> counting{false};
std::atomic<size_t> allocatedBytes{0};

}  // namespace

// Every allocation of the program passes here; only those made while counting are added up.
void* operator new(size_t size) {
    if (counting.load(std::memory_order_relaxed)) allocatedBytes.fetch_add(size, std::memory_order_relaxed);
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }

namespace {

using brisel::KindleClipboardSnapshot;
using brisel::PasteboardData;
using brisel::PasteboardItem;
using brisel::PasteboardReadItem;

constexpr size_t imageBytes = size_t{50} << 20;
constexpr size_t smallAllowance = size_t{64} << 10;  // item lists, type names, control blocks

size_t countAllocations(const std::function<void()>& work) {
    allocatedBytes = 0;
    counting = true;
    work();
    counting = false;
    return allocatedBytes;
}

// A pasteboard that hands out each type's bytes as a shell does: one fresh copy, read out of the
// pasteboard into this process.
class CopyingPasteboard final : public brisel::PasteboardPort {
public:
    std::vector<std::vector<std::pair<std::string, std::string>>> stored;
    const char* lastHandedOut = nullptr;

    int64_t changeCount() const override { return 7; }
    void readItems(brisel::Clock::time_point, std::function<void(ItemsRead)> completion) override {
        std::vector<PasteboardReadItem> read;
        for (const auto& item : stored) {
            auto& readItem = read.emplace_back();
            for (const auto& [type, bytes] : item) {
                std::string copy = bytes;
                lastHandedOut = copy.data();
                readItem.push_back({type, PasteboardData(std::move(copy))});
            }
        }
        completion(std::move(read));
    }
    void readPlainText(brisel::Clock::time_point, std::function<void(TextRead)> completion) override {
        completion(std::nullopt);
    }
    void clear() override {}
    bool write(const std::vector<PasteboardItem>& items) override {
        written = items.size();
        return true;
    }
    size_t written = 0;
};

// This pasteboard answers at once, so the snapshot is complete when `take` returns.
std::optional<KindleClipboardSnapshot> takeNow(CopyingPasteboard& pasteboard) {
    std::optional<KindleClipboardSnapshot> taken;
    KindleClipboardSnapshot::take(pasteboard, {}, [&](auto snapshot) { taken = std::move(snapshot); });
    return taken;
}

CopyingPasteboard fiftyMegabyteClipboard() {
    CopyingPasteboard pasteboard;
    pasteboard.stored = {{{"public.utf8-plain-text", "a caption"}}, {{"public.png", std::string(imageBytes, '\x5a')}}};
    return pasteboard;
}

void SnapshotOf50MBClipboard(benchmark::State& state) {
    CopyingPasteboard pasteboard = fiftyMegabyteClipboard();
    size_t allocated = 0;
    for (auto _ : state) {
        std::optional<KindleClipboardSnapshot> snapshot;
        allocated = countAllocations([&] { snapshot = takeNow(pasteboard); });
        if (!snapshot || snapshot->items.size() != 2 || snapshot->items[1][0].data.size() != imageBytes) {
            state.SkipWithError("the snapshot lost the clipboard");
            break;
        }
        // The snapshot keeps the very bytes the pasteboard handed over...
        if (snapshot->items[1][0].data.bytes().data() != pasteboard.lastHandedOut) {
            state.SkipWithError("the snapshot copied the image again");
            break;
        }
        // ...and nothing else of that size was allocated on the way.
        if (allocated > imageBytes + smallAllowance) {
            state.SkipWithError("taking the snapshot allocated a second copy");
            break;
        }
        state.PauseTiming();
        snapshot.reset();
        state.ResumeTiming();
    }
    state.counters["allocatedBytes"] = static_cast<double>(allocated);
    state.counters["copies"] = static_cast<double>(allocated) / static_cast<double>(imageBytes);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(imageBytes));
}
BENCHMARK(SnapshotOf50MBClipboard)->Unit(benchmark::kMillisecond);

// Putting it back hands the held bytes to the pasteboard as they are: no copy in core at all.
void RestoreOf50MBClipboard(benchmark::State& state) {
    CopyingPasteboard pasteboard = fiftyMegabyteClipboard();
    const auto snapshot = takeNow(pasteboard);
    if (!snapshot) {
        state.SkipWithError("no snapshot");
        return;
    }
    size_t allocated = 0;
    for (auto _ : state) {
        bool restored = false;
        allocated = countAllocations([&] { restored = snapshot->restore(pasteboard, 7); });
        if (!restored || pasteboard.written != 2 || allocated > smallAllowance) {
            state.SkipWithError("restoring copied the clipboard");
            break;
        }
    }
    state.counters["allocatedBytes"] = static_cast<double>(allocated);
}
BENCHMARK(RestoreOf50MBClipboard)->Unit(benchmark::kMicrosecond);

// A clipboard of many small items (a spreadsheet selection, say): the cost per type.
void SnapshotOfManySmallTypes(benchmark::State& state) {
    CopyingPasteboard pasteboard;
    for (int i = 0; i < 1000; ++i) {
        pasteboard.stored.push_back({{"public.utf8-plain-text", "cell " + std::to_string(i)},
                                     {"public.html", "<td>cell " + std::to_string(i) + "</td>"},
                                     {"com.example.cell", std::string(48, 'c')}});
    }
    for (auto _ : state) {
        auto snapshot = takeNow(pasteboard);
        benchmark::DoNotOptimize(snapshot);
    }
    state.SetItemsProcessed(state.iterations() * 3000);
}
BENCHMARK(SnapshotOfManySmallTypes)->Unit(benchmark::kMicrosecond);

}  // namespace

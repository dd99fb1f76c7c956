#include "capture/clipboard_snapshot.h"

#include <utility>

namespace brisel {

namespace {

std::optional<KindleClipboardSnapshot> snapshotOf(int64_t changeCount, PasteboardPort::ItemsRead read) {
    if (!read) return std::nullopt;
    KindleClipboardSnapshot snapshot;
    snapshot.changeCount = changeCount;
    snapshot.items.reserve(read->size());
    for (PasteboardReadItem& readItem : *read) {
        PasteboardItem& item = snapshot.items.emplace_back();
        item.reserve(readItem.size());
        for (PasteboardReadEntry& entry : readItem) {
            if (!entry.data) return std::nullopt;
            item.push_back({std::move(entry.type), std::move(*entry.data)});
        }
    }
    return snapshot;
}

}  // namespace

void KindleClipboardSnapshot::take(PasteboardPort& pasteboard, Clock::time_point deadline, Completion completion) {
    const int64_t changeCount = pasteboard.changeCount();
    pasteboard.readItems(deadline, [&pasteboard, changeCount, completion = std::move(completion)](
                                       PasteboardPort::ItemsRead read) {
        auto snapshot = snapshotOf(changeCount, std::move(read));
        if (snapshot && pasteboard.changeCount() != changeCount) snapshot.reset();
        completion(std::move(snapshot));
    });
}

bool KindleClipboardSnapshot::restore(PasteboardPort& to, int64_t ifUnchanged) const {
    if (to.changeCount() != ifUnchanged) return false;
    to.clear();
    if (items.empty()) return true;
    return to.write(items);
}

}  // namespace brisel

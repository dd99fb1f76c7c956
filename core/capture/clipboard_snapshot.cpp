#include "capture/clipboard_snapshot.h"

#include <utility>

namespace brisel {

std::optional<KindleClipboardSnapshot> KindleClipboardSnapshot::take(const PasteboardPort& pasteboard) {
    KindleClipboardSnapshot snapshot;
    snapshot.changeCount = pasteboard.changeCount();
    std::vector<PasteboardReadItem> read = pasteboard.items();
    snapshot.items.reserve(read.size());
    for (PasteboardReadItem& readItem : read) {
        PasteboardItem& item = snapshot.items.emplace_back();
        item.reserve(readItem.size());
        for (PasteboardReadEntry& entry : readItem) {
            if (!entry.data) return std::nullopt;
            item.push_back({std::move(entry.type), std::move(*entry.data)});
        }
    }
    if (pasteboard.changeCount() != snapshot.changeCount) return std::nullopt;
    return snapshot;
}

bool KindleClipboardSnapshot::restore(PasteboardPort& to, int64_t ifUnchanged) const {
    if (to.changeCount() != ifUnchanged) return false;
    to.clear();
    if (items.empty()) return true;
    return to.write(items);
}

}  // namespace brisel

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/pasteboard_port.h"

namespace brisel {

// The user's clipboard as it was just before Kindle's Copy is pressed: every item, every type,
// byte for byte, so that it can be put back exactly.
struct KindleClipboardSnapshot {
    int64_t changeCount = 0;
    std::vector<PasteboardItem> items;  // an empty clipboard has none

    // Notes the change count, then reads every item's every type. Absent when a type's data
    // cannot be produced or the change count moved while reading: half a clipboard cannot be
    // put back. The bytes are held as read, never copied again.
    static std::optional<KindleClipboardSnapshot> take(const PasteboardPort& pasteboard);

    // Puts the items back when the pasteboard's change count is still `ifUnchanged`, and
    // touches nothing otherwise (somebody else wrote, and their content stays). An empty
    // snapshot leaves the pasteboard cleared. Returns whether the items are back.
    bool restore(PasteboardPort& to, int64_t ifUnchanged) const;
};

}  // namespace brisel

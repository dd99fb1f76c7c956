#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "platform/pasteboard_port.h"

namespace brisel {

// The user's clipboard as it was just before Kindle's Copy is pressed: every item, every type,
// byte for byte, so that it can be put back exactly.
struct KindleClipboardSnapshot {
    int64_t changeCount = 0;
    std::vector<PasteboardItem> items;  // an empty clipboard has none

    using Completion = std::function<void(std::optional<KindleClipboardSnapshot>)>;

    // Notes the change count, then reads every item's every type, and completes by `deadline`.
    // Absent when the owner does not tell what the clipboard holds, a type's data cannot be
    // produced, or the change count moved while reading: half a clipboard cannot be put back.
    // The bytes are held as read, never copied again.
    static void take(PasteboardPort& pasteboard, Clock::time_point deadline, Completion completion);

    // Puts the items back when the pasteboard's change count is still `ifUnchanged`, and
    // touches nothing otherwise (somebody else wrote, and their content stays). An empty
    // snapshot leaves the pasteboard cleared. Returns whether the items are back.
    bool restore(PasteboardPort& to, int64_t ifUnchanged) const;
};

}  // namespace brisel

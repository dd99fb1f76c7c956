#pragma once

#include "platform/pasteboard_port.h"

namespace brisel::mac {

// NSPasteboard.generalPasteboard. Data read from it is borrowed, not copied: each entry keeps
// its NSData alive, so a snapshot of a large image holds the pasteboard's one copy. AppKit
// answers reads at once, so they complete before returning: the snapshot and the press that
// follows it stay in one main-thread turn.
class MacPasteboard final : public PasteboardPort {
public:
    int64_t changeCount() const override;
    void readItems(Clock::time_point deadline, std::function<void(ItemsRead)> completion) override;
    void readPlainText(Clock::time_point deadline, std::function<void(TextRead)> completion) override;
    void clear() override;
    bool write(const std::vector<PasteboardItem>& items) override;
};

}  // namespace brisel::mac

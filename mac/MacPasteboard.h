#pragma once

#include "platform/pasteboard_port.h"

namespace brisel::mac {

// NSPasteboard.generalPasteboard. Data read from it is borrowed, not copied: each entry keeps
// its NSData alive, so a snapshot of a large image holds the pasteboard's one copy.
class MacPasteboard final : public PasteboardPort {
public:
    int64_t changeCount() const override;
    std::vector<PasteboardReadItem> items() const override;
    std::optional<std::string> plainText() const override;
    void clear() override;
    bool write(const std::vector<PasteboardItem>& items) override;
};

}  // namespace brisel::mac

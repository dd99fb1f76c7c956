#pragma once

#include <gtk/gtk.h>

#include "platform/pasteboard_port.h"

namespace brisel::gtk {

// The X11 CLIPBOARD selection as core's pasteboard. X offers one item per selection: every
// target the owner offers is one type of it. Reads wait synchronously for the owner's answer
// (GTK runs a nested main loop meanwhile), which is what core's snapshot needs.
class X11Clipboard final : public PasteboardPort {
public:
    X11Clipboard();
    ~X11Clipboard() override;

    X11Clipboard(const X11Clipboard&) = delete;
    X11Clipboard& operator=(const X11Clipboard&) = delete;

    int64_t changeCount() const override { return changeCount_; }
    std::vector<PasteboardReadItem> items() const override;
    std::optional<std::string> plainText() const override;
    void clear() override;
    bool write(const std::vector<PasteboardItem>& items) override;

private:
    static void ownerChanged(GtkClipboard* clipboard, GdkEvent* event, gpointer self);

    GtkClipboard* clipboard_;
    gulong ownerChangeHandler_ = 0;
    int64_t changeCount_ = 0;
};

}  // namespace brisel::gtk

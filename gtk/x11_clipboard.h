#pragma once

#include <X11/Xlib.h>
#include <gtk/gtk.h>

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "platform/pasteboard_port.h"
#include "x11_selection_requests.h"

namespace brisel::gtk {

struct OfferedTargets;

// The X11 CLIPBOARD selection as core's pasteboard. X offers one item per selection: every
// target the owner offers is one type of it.
//
// Reads ask the owner with selection requests of our own on the GDK display and never wait:
// the answers come in as X events, taken by an event filter, and a read that has not been
// answered by its deadline ends absent. So does a read during which the owner changes: it
// would mix two clipboards. No owner is an empty clipboard; an owner that refuses or garbles
// the list of its targets is a clipboard that cannot be read.
//
// The change count follows the real owner: the X server reports every change of owner
// (XFixes), and the count includes reports still queued, so it is right even while the main
// loop has not dispatched them yet. Putting data back is conditional at the server itself:
// clear() names the time of the last change counted, which the server ignores once anyone
// has taken the clipboard since, and write() only takes a clipboard left empty.
class X11Clipboard final : public PasteboardPort {
public:
    X11Clipboard();
    ~X11Clipboard() override;

    X11Clipboard(const X11Clipboard&) = delete;
    X11Clipboard& operator=(const X11Clipboard&) = delete;

    int64_t changeCount() const override;
    void readItems(Clock::time_point deadline, std::function<void(ItemsRead)> completion) override;
    void readPlainText(Clock::time_point deadline, std::function<void(TextRead)> completion) override;
    void clear() override;
    bool write(const std::vector<PasteboardItem>& items) override;

    // At exit: what we put back on the clipboard would go with this process, so it is handed
    // to the clipboard manager, when one runs. Runs the main loop (our data is served from it)
    // until the manager confirms or `limit` has passed. True once the manager has it.
    bool handOverToClipboardManager(Duration limit);

private:
    struct Read;

    static GdkFilterReturn filter(GdkXEvent* event, GdkEvent*, gpointer self);
    bool isOwnerChange(const XEvent& event) const;
    // Reads live in `reads_` until they finish or are abandoned (at their deadline, or when
    // the owner changes), whichever comes first; `abandoned` runs in the second case only.
    Read* startRead(Atom selection, Clock::time_point deadline, std::function<void()> abandoned);
    void finish(Read* read);
    void takeIncrementSoon(const std::shared_ptr<Read>& read);
    void abandon(Read* read);
    void readTargets(Read* read, std::shared_ptr<OfferedTargets> targets, std::shared_ptr<PasteboardReadItem> item,
                     std::function<void(ItemsRead)> completion);
    void readText(Read* read, size_t candidate, std::function<void(TextRead)> completion);
    // An answer's bytes as pasteboard data, with its type remembered for as long as they
    // live: an owner may answer a target with data of another type (TEXT as UTF8_STRING), and
    // putting the data back must hand out that type again.
    PasteboardData keep(SelectionAnswer answer);
    GdkAtom answerType(const PasteboardEntry& entry) const;

    GdkDisplay* gdkDisplay_;
    Display* display_;
    Atom clipboard_;
    Atom clipboardManager_;
    bool watchesOwner_ = false;
    int fixesEventBase_ = 0;
    Window changeWindow_ = None;
    int64_t changesSeen_ = 0;
    // The server's time of the last change dispatched, and of the last change counted by
    // changeCount(): the base of clear(), which must not undo a change nobody has counted.
    Time lastChangeTime_ = CurrentTime;
    mutable Time countedChangeTime_ = CurrentTime;
    std::vector<std::shared_ptr<Read>> reads_;
    std::map<const char*, std::weak_ptr<const SelectionAnswer>> answers_;
    // Whether our last write is still on the clipboard, and its targets.
    std::shared_ptr<bool> held_;
    std::vector<Atom> written_;
};

}  // namespace brisel::gtk

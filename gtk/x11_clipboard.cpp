#include "x11_clipboard.h"

#include <X11/Xatom.h>
#include <X11/extensions/Xfixes.h>
#include <gdk/gdkx.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <string_view>
#include <utility>

namespace brisel::gtk {

namespace {

// Targets that describe the selection or make the owner act (ICCCM's side-effect targets)
// rather than carry data: asking for DELETE would empty the user's clipboard.
constexpr std::array<std::string_view, 7> metaTargets{
    "TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS", "DELETE", "INSERT_SELECTION", "INSERT_PROPERTY",
};

// The types plain text is asked for in, best first.
constexpr std::array<const char*, 2> textTargets{"UTF8_STRING", "text/plain;charset=utf-8"};

bool isMetaTarget(std::string_view target) {
    return std::find(metaTargets.begin(), metaTargets.end(), target) != metaTargets.end();
}

}  // namespace

// The data targets an owner offers, and the next one to ask for.
struct OfferedTargets {
    std::vector<Atom> atoms;
    std::vector<std::string> names;
    size_t next = 0;
};

namespace {

// The data targets of an answer to TARGETS, in the owner's order, each once. Absent when the
// answer is not a list of atoms, or names atoms that do not exist.
std::optional<OfferedTargets> dataTargets(GdkDisplay* gdkDisplay, Display* display, const X11SelectionRequests::Answer& answer) {
    const Atom targetsType = gdk_x11_get_xatom_by_name_for_display(gdkDisplay, "TARGETS");
    if (!answer || answer->format != 32 || (answer->type != XA_ATOM && answer->type != targetsType)) return std::nullopt;
    std::vector<Atom> offered(answer->bytes.size() / sizeof(long));
    for (size_t i = 0; i < offered.size(); ++i) {
        offered[i] = static_cast<Atom>(reinterpret_cast<const unsigned long*>(answer->bytes.data())[i]);
    }
    std::erase(offered, Atom{None});
    OfferedTargets targets;
    if (offered.empty()) return targets;
    std::vector<char*> names(offered.size(), nullptr);
    gdk_x11_display_error_trap_push(gdkDisplay);
    const Status named = XGetAtomNames(display, offered.data(), static_cast<int>(offered.size()), names.data());
    const bool failed = gdk_x11_display_error_trap_pop(gdkDisplay) != 0 || !named;
    for (size_t i = 0; i < offered.size(); ++i) {
        if (!failed && names[i] && !isMetaTarget(names[i]) &&
            std::find(targets.atoms.begin(), targets.atoms.end(), offered[i]) == targets.atoms.end()) {
            targets.atoms.push_back(offered[i]);
            targets.names.emplace_back(names[i]);
        }
        if (names[i]) XFree(names[i]);
    }
    if (failed) return std::nullopt;
    return targets;
}

// The selection's time of last change, as the server keeps it: the time its new owner gave,
// or the moment its owner went away.
Time changeTime(const XFixesSelectionNotifyEvent& notice) {
    return notice.subtype == XFixesSetSelectionOwnerNotify ? notice.selection_timestamp : notice.timestamp;
}

guint millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<Duration>(deadline - Clock::now()).count();
    return static_cast<guint>(std::max<decltype(left)>(left, 0));
}

// Our data on the clipboard, which GTK owns from the write until another client takes the
// clipboard; `held` tells the clipboard whether it is still there.
struct Offered {
    PasteboardItem item;
    std::vector<GdkAtom> answerTypes;  // per entry
    std::shared_ptr<bool> held = std::make_shared<bool>(true);
};

void provideEntry(GtkClipboard*, GtkSelectionData* selection, guint index, gpointer data) {
    const auto* offered = static_cast<const Offered*>(data);
    const PasteboardEntry& entry = offered->item[index];
    gtk_selection_data_set(selection, offered->answerTypes[index], 8,
                           reinterpret_cast<const guchar*>(entry.data.bytes().data()),
                           static_cast<gint>(entry.data.size()));
}

void releaseOffered(GtkClipboard*, gpointer offered) {
    auto* released = static_cast<Offered*>(offered);
    *released->held = false;
    delete released;
}

}  // namespace

// A read in progress: its requests, and what ends it early.
struct X11Clipboard::Read {
    Read(GdkDisplay* display, Atom selection) : requests(display, selection) {}
    X11SelectionRequests requests;
    bool endsOnOwnerChange = false;
    int64_t startCount = 0;
    guint timer = 0;
    guint increment = 0;
    std::function<void()> abandoned;
};

// Atoms are interned through GDK, which keeps every one it has seen: Xlib's own small cache
// loses them to the toolkit's, and each miss is a round trip to the server on the main thread.
X11Clipboard::X11Clipboard()
    : gdkDisplay_(gdk_display_get_default()),
      display_(GDK_DISPLAY_XDISPLAY(gdkDisplay_)),
      clipboard_(gdk_x11_get_xatom_by_name_for_display(gdkDisplay_, "CLIPBOARD")),
      clipboardManager_(gdk_x11_get_xatom_by_name_for_display(gdkDisplay_, "CLIPBOARD_MANAGER")) {
    int errorBase = 0;
    int major = 5;
    int minor = 0;
    watchesOwner_ = XFixesQueryExtension(display_, &fixesEventBase_, &errorBase) &&
                    XFixesQueryVersion(display_, &major, &minor);
    changeWindow_ = XCreateWindow(display_, DefaultRootWindow(display_), -1, -1, 1, 1, 0, CopyFromParent, InputOnly,
                                  CopyFromParent, 0, nullptr);
    if (watchesOwner_) {
        XFixesSelectSelectionInput(display_, changeWindow_, clipboard_,
                                   XFixesSetSelectionOwnerNotifyMask | XFixesSelectionWindowDestroyNotifyMask |
                                       XFixesSelectionClientCloseNotifyMask);
    }
    gdk_window_add_filter(nullptr, filter, this);
    // Once the server has our request, no change of owner can go unreported.
    XSync(display_, False);
}

X11Clipboard::~X11Clipboard() {
    while (!reads_.empty()) finish(reads_.back().get());
    if (watchesOwner_) XFixesSelectSelectionInput(display_, changeWindow_, clipboard_, 0);
    XDestroyWindow(display_, changeWindow_);
    // Reports of owner changes still queued for our window would reach GDK, which has no
    // window of that name to give them to.
    XSync(display_, False);
    XEvent dropped;
    while (XCheckIfEvent(
        display_, &dropped,
        [](Display*, XEvent* event, XPointer clipboard) -> Bool {
            return reinterpret_cast<const X11Clipboard*>(clipboard)->isOwnerChange(*event);
        },
        reinterpret_cast<XPointer>(this))) {
    }
    gdk_window_remove_filter(nullptr, filter, this);
}

bool X11Clipboard::isOwnerChange(const XEvent& event) const {
    if (!watchesOwner_ || event.type != fixesEventBase_ + XFixesSelectionNotify) return false;
    const auto& notice = reinterpret_cast<const XFixesSelectionNotifyEvent&>(event);
    return notice.window == changeWindow_ && notice.selection == clipboard_;
}

int64_t X11Clipboard::changeCount() const {
    // Every report the server sent until now is either counted or still in Xlib's queue.
    XSync(display_, False);
    struct Queued {
        const X11Clipboard* clipboard;
        int64_t changes = 0;
        Time latest = CurrentTime;
    } queued{this};
    XEvent unused;
    XCheckIfEvent(
        display_, &unused,
        [](Display*, XEvent* event, XPointer data) -> Bool {
            auto* queued = reinterpret_cast<Queued*>(data);
            if (queued->clipboard->isOwnerChange(*event)) {
                ++queued->changes;
                queued->latest = changeTime(*reinterpret_cast<const XFixesSelectionNotifyEvent*>(event));
            }
            return False;  // looked at, left in the queue
        },
        reinterpret_cast<XPointer>(&queued));
    countedChangeTime_ = queued.changes ? queued.latest : lastChangeTime_;
    return changesSeen_ + queued.changes;
}

GdkFilterReturn X11Clipboard::filter(GdkXEvent* raw, GdkEvent*, gpointer data) {
    auto* self = static_cast<X11Clipboard*>(data);
    const XEvent& event = *static_cast<XEvent*>(raw);
    if (self->reads_.empty() && !self->isOwnerChange(event)) return GDK_FILTER_CONTINUE;
    // The list may change under the calls below; the copy keeps each read alive meanwhile.
    const auto reads = self->reads_;
    if (self->isOwnerChange(event)) {
        ++self->changesSeen_;
        self->lastChangeTime_ = changeTime(reinterpret_cast<const XFixesSelectionNotifyEvent&>(event));
        // Answers from before and after a change of owner would mix two clipboards.
        for (const auto& read : reads) {
            if (read->endsOnOwnerChange && read->startCount < self->changesSeen_) self->abandon(read.get());
        }
        return GDK_FILTER_REMOVE;
    }
    for (const auto& read : reads) {
        if (!read->requests.handle(event)) continue;
        if (read->requests.incrementArrived() && !read->increment) self->takeIncrementSoon(read);
        return GDK_FILTER_REMOVE;
    }
    return GDK_FILTER_CONTINUE;
}

void X11Clipboard::takeIncrementSoon(const std::shared_ptr<Read>& read) {
    read->increment = g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](gpointer data) -> gboolean {
            if (const auto read = static_cast<std::weak_ptr<Read>*>(data)->lock()) {
                read->increment = 0;
                read->requests.takeIncrement();
            }
            return G_SOURCE_REMOVE;
        },
        new std::weak_ptr<Read>(read), [](gpointer data) { delete static_cast<std::weak_ptr<Read>*>(data); });
}

X11Clipboard::Read* X11Clipboard::startRead(Atom selection, Clock::time_point deadline,
                                            std::function<void()> abandoned) {
    auto read = std::make_shared<Read>(gdkDisplay_, selection);
    read->endsOnOwnerChange = selection == clipboard_;
    read->startCount = changeCount();
    read->abandoned = std::move(abandoned);
    struct Timer {
        X11Clipboard* clipboard;
        std::weak_ptr<Read> read;
    };
    read->timer = g_timeout_add_full(
        G_PRIORITY_DEFAULT, millisecondsUntil(deadline),
        [](gpointer data) -> gboolean {
            auto* timer = static_cast<Timer*>(data);
            if (const auto read = timer->read.lock()) {
                read->timer = 0;
                timer->clipboard->abandon(read.get());
            }
            return G_SOURCE_REMOVE;
        },
        new Timer{this, read}, [](gpointer data) { delete static_cast<Timer*>(data); });
    reads_.push_back(read);
    return read.get();
}

void X11Clipboard::finish(Read* read) {
    if (read->timer) g_source_remove(read->timer);
    if (read->increment) g_source_remove(read->increment);
    read->timer = 0;
    read->increment = 0;
    std::erase_if(reads_, [read](const auto& held) { return held.get() == read; });
}

void X11Clipboard::abandon(Read* read) {
    auto abandoned = std::move(read->abandoned);
    finish(read);
    abandoned();
}

void X11Clipboard::readItems(Clock::time_point deadline, std::function<void(ItemsRead)> completion) {
    if (!watchesOwner_) {
        completion(std::nullopt);
        return;
    }
    // No owner at all: an empty clipboard, which X cannot tell from a refusal once asked.
    if (XGetSelectionOwner(display_, clipboard_) == None) {
        completion(std::vector<PasteboardReadItem>{});
        return;
    }
    Read* read = startRead(clipboard_, deadline, [completion] { completion(std::nullopt); });
    read->requests.ask(gdk_x11_get_xatom_by_name_for_display(gdkDisplay_, "TARGETS"),
                       [this, read, completion](X11SelectionRequests::Answer answer) {
                           auto targets = dataTargets(gdkDisplay_, display_, answer);
                           if (!targets) {
                               abandon(read);
                               return;
                           }
                           readTargets(read, std::make_shared<OfferedTargets>(std::move(*targets)),
                                       std::make_shared<PasteboardReadItem>(), completion);
                       });
}

void X11Clipboard::readTargets(Read* read, std::shared_ptr<OfferedTargets> targets, std::shared_ptr<PasteboardReadItem> item,
                               std::function<void(ItemsRead)> completion) {
    if (targets->next == targets->atoms.size()) {
        finish(read);
        std::vector<PasteboardReadItem> items;
        if (!item->empty()) items.push_back(std::move(*item));
        completion(std::move(items));
        return;
    }
    const size_t index = targets->next++;
    read->requests.ask(targets->atoms[index], [this, read, targets, item, index,
                                               completion](X11SelectionRequests::Answer answer) {
        // Data in 16- or 32-bit units could only be written back as bytes, which the next
        // reader would misread; such a type, like a refused one, cannot be kept.
        std::optional<PasteboardData> data;
        if (answer && answer->format == 8) data = keep(std::move(*answer));
        item->push_back({targets->names[index], std::move(data)});
        readTargets(read, targets, item, completion);
    });
}

PasteboardData X11Clipboard::keep(SelectionAnswer answer) {
    auto kept = std::make_shared<const SelectionAnswer>(std::move(answer));
    std::erase_if(answers_, [](const auto& known) { return known.second.expired(); });
    answers_[kept->bytes.data()] = kept;
    return PasteboardData(kept, kept->bytes.data(), kept->bytes.size());
}

GdkAtom X11Clipboard::answerType(const PasteboardEntry& entry) const {
    // Bytes still held where an owner's answer put them are that answer's.
    const auto known = answers_.find(entry.data.bytes().data());
    if (known != answers_.end()) {
        if (const auto answer = known->second.lock(); answer && answer->bytes.size() == entry.data.size()) {
            return gdk_x11_xatom_to_atom_for_display(gdkDisplay_, answer->type);
        }
    }
    return gdk_atom_intern(entry.type.c_str(), FALSE);
}

void X11Clipboard::readPlainText(Clock::time_point deadline, std::function<void(TextRead)> completion) {
    if (!watchesOwner_ || XGetSelectionOwner(display_, clipboard_) == None) {
        completion(std::nullopt);
        return;
    }
    Read* read = startRead(clipboard_, deadline, [completion] { completion(std::nullopt); });
    readText(read, 0, std::move(completion));
}

void X11Clipboard::readText(Read* read, size_t candidate, std::function<void(TextRead)> completion) {
    if (candidate == textTargets.size()) {
        finish(read);
        completion(std::nullopt);
        return;
    }
    const Atom target = gdk_x11_get_xatom_by_name_for_display(gdkDisplay_, textTargets[candidate]);
    read->requests.ask(target, [this, read, candidate, target, completion](X11SelectionRequests::Answer answer) {
        if (answer && answer->format == 8 && answer->type == target &&
            g_utf8_validate(answer->bytes.data(), static_cast<gssize>(answer->bytes.size()), nullptr)) {
            finish(read);
            completion(std::move(answer->bytes));
            return;
        }
        readText(read, candidate + 1, completion);
    });
}

void X11Clipboard::clear() {
    // gtk_clipboard_clear only lets go of our own data; emptying another client's clipboard
    // takes setting the selection's owner to None. Given the time of the last change counted,
    // the server ignores the request when anyone has taken the clipboard since.
    gtk_selection_owner_set_for_display(gdkDisplay_, nullptr, GDK_SELECTION_CLIPBOARD, countedChangeTime_);
}

bool X11Clipboard::write(const std::vector<PasteboardItem>& items) {
    if (items.empty()) return true;
    // The selection has room for one item only.
    if (items.size() > 1) return false;
    // Only onto the clipboard clear() emptied: anyone who took it since keeps it.
    if (XGetSelectionOwner(display_, clipboard_) != None) return false;
    // GTK owns the copy from here and releases it once another client takes the clipboard;
    // copies of PasteboardData share the bytes, so nothing large is copied.
    auto* offered = new Offered{items.front(), {}};
    std::vector<GtkTargetEntry> targets;
    targets.reserve(offered->item.size());
    for (guint i = 0; i < offered->item.size(); ++i) {
        targets.push_back({const_cast<gchar*>(offered->item[i].type.c_str()), 0, i});
        offered->answerTypes.push_back(answerType(offered->item[i]));
    }
    GtkClipboard* clipboard = gtk_clipboard_get_for_display(gdkDisplay_, GDK_SELECTION_CLIPBOARD);
    held_ = offered->held;
    if (!gtk_clipboard_set_with_data(clipboard, targets.data(), static_cast<guint>(targets.size()), provideEntry,
                                     releaseOffered, offered)) {
        delete offered;
        held_.reset();
        return false;
    }
    written_.clear();
    for (const PasteboardEntry& entry : items.front()) {
        written_.push_back(gdk_x11_get_xatom_by_name_for_display(gdkDisplay_, entry.type.c_str()));
    }
    return true;
}

bool X11Clipboard::handOverToClipboardManager(Duration limit) {
    if (!held_ || !*held_ || XGetSelectionOwner(display_, clipboardManager_) == None) return false;
    std::optional<bool> saved;
    Read* read = startRead(clipboardManager_, Clock::now() + limit, [&saved] { saved = false; });
    // The manager asks us for every target, takes the clipboard, then answers.
    read->requests.ask(
        gdk_x11_get_xatom_by_name_for_display(gdkDisplay_, "SAVE_TARGETS"),
        [this, read, &saved](X11SelectionRequests::Answer answer) {
            finish(read);
            saved = answer.has_value();
        },
        written_);
    while (!saved) g_main_context_iteration(nullptr, TRUE);
    return *saved;
}

}  // namespace brisel::gtk

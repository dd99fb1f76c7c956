#include "x11_clipboard.h"

#include <array>
#include <memory>
#include <string_view>

namespace brisel::gtk {

namespace {

// Targets that describe the selection or make the owner act (ICCCM's side-effect targets)
// rather than carry data: asking for DELETE would empty the user's clipboard.
constexpr std::array<std::string_view, 7> metaTargets{
    "TARGETS", "TIMESTAMP", "MULTIPLE", "SAVE_TARGETS", "DELETE", "INSERT_SELECTION", "INSERT_PROPERTY",
};

bool isMetaTarget(std::string_view target) {
    for (std::string_view meta : metaTargets) {
        if (target == meta) return true;
    }
    return false;
}

std::string atomName(GdkAtom atom) {
    gchar* name = gdk_atom_name(atom);
    std::string result(name);
    g_free(name);
    return result;
}

// The bytes stay in the GtkSelectionData they arrived in; the shared pointer frees it. A target
// the owner refuses comes back as null.
std::optional<PasteboardData> readTarget(GtkClipboard* clipboard, GdkAtom target) {
    GtkSelectionData* raw = gtk_clipboard_wait_for_contents(clipboard, target);
    if (!raw) return std::nullopt;
    std::shared_ptr<GtkSelectionData> data(raw, gtk_selection_data_free);
    // Data in 16- or 32-bit units could only be written back as bytes, which the next reader
    // would misread; such a type counts as one that cannot be kept.
    if (gtk_selection_data_get_format(data.get()) != 8) return std::nullopt;
    gint length = 0;
    const guchar* bytes = gtk_selection_data_get_data_with_length(data.get(), &length);
    return PasteboardData(std::move(data), reinterpret_cast<const char*>(bytes), static_cast<size_t>(length));
}

void provideEntry(GtkClipboard*, GtkSelectionData* selection, guint index, gpointer item) {
    const PasteboardEntry& entry = (*static_cast<const PasteboardItem*>(item))[index];
    gtk_selection_data_set(selection, gdk_atom_intern(entry.type.c_str(), FALSE), 8,
                           reinterpret_cast<const guchar*>(entry.data.bytes().data()),
                           static_cast<gint>(entry.data.size()));
}

void releaseItem(GtkClipboard*, gpointer item) {
    delete static_cast<const PasteboardItem*>(item);
}

}  // namespace

X11Clipboard::X11Clipboard() : clipboard_(gtk_clipboard_get(GDK_SELECTION_CLIPBOARD)) {
    ownerChangeHandler_ = g_signal_connect(clipboard_, "owner-change", G_CALLBACK(ownerChanged), this);
    // GTK asks X for owner changes when the clipboard is first used; once the server has the
    // request, no change can go uncounted.
    gdk_display_sync(gdk_display_get_default());
}

X11Clipboard::~X11Clipboard() {
    g_signal_handler_disconnect(clipboard_, ownerChangeHandler_);
}

void X11Clipboard::ownerChanged(GtkClipboard*, GdkEvent*, gpointer self) {
    ++static_cast<X11Clipboard*>(self)->changeCount_;
}

std::vector<PasteboardReadItem> X11Clipboard::items() const {
    GdkAtom* targets = nullptr;
    gint count = 0;
    // No owner, or one that does not answer: an empty clipboard.
    if (!gtk_clipboard_wait_for_targets(clipboard_, &targets, &count)) return {};
    PasteboardReadItem item;
    for (gint i = 0; i < count; ++i) {
        std::string type = atomName(targets[i]);
        if (isMetaTarget(type)) continue;
        item.push_back({std::move(type), readTarget(clipboard_, targets[i])});
    }
    g_free(targets);
    if (item.empty()) return {};
    return {std::move(item)};
}

std::optional<std::string> X11Clipboard::plainText() const {
    gchar* text = gtk_clipboard_wait_for_text(clipboard_);
    if (!text) return std::nullopt;
    std::string result(text);
    g_free(text);
    return result;
}

void X11Clipboard::clear() {
    // gtk_clipboard_clear only lets go of our own data; emptying another client's clipboard
    // takes setting the selection's owner to None.
    gtk_selection_owner_set_for_display(gdk_display_get_default(), nullptr, GDK_SELECTION_CLIPBOARD,
                                        GDK_CURRENT_TIME);
    ++changeCount_;
}

bool X11Clipboard::write(const std::vector<PasteboardItem>& items) {
    if (items.empty()) return true;
    // The selection has room for one item only.
    if (items.size() > 1) return false;
    // GTK owns the copy from here and releases it once another client takes the clipboard;
    // copies of PasteboardData share the bytes, so nothing large is copied.
    auto* offered = new PasteboardItem(items.front());
    std::vector<GtkTargetEntry> targets;
    targets.reserve(offered->size());
    for (guint i = 0; i < offered->size(); ++i) {
        targets.push_back({const_cast<gchar*>((*offered)[i].type.c_str()), 0, i});
    }
    if (!gtk_clipboard_set_with_data(clipboard_, targets.data(), static_cast<guint>(targets.size()), provideEntry,
                                     releaseItem, offered)) {
        delete offered;
        return false;
    }
    // The owner-change for our own write arrives later; core must see it at once.
    ++changeCount_;
    return true;
}

}  // namespace brisel::gtk

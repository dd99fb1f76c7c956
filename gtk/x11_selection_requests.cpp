#include "x11_selection_requests.h"

#include <X11/Xatom.h>
#include <gdk/gdkx.h>

#include <algorithm>
#include <climits>
#include <utility>

namespace brisel::gtk {

namespace {

size_t unitSize(int format) {
    switch (format) {
    case 8: return 1;
    case 16: return sizeof(short);
    case 32: return sizeof(long);
    default: return 0;
    }
}

// Reads and deletes our property (deleting tells an incremental sender to go on). Absent when
// it is missing or malformed.
std::optional<SelectionAnswer> takeProperty(Display* display, Window window, Atom property) {
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long remaining = 0;
    unsigned char* data = nullptr;
    const int status = XGetWindowProperty(display, window, property, 0, LONG_MAX / 4, True, AnyPropertyType, &type,
                                          &format, &count, &remaining, &data);
    std::optional<SelectionAnswer> answer;
    if (status == Success && type != None && unitSize(format) != 0 && remaining == 0) {
        answer = SelectionAnswer{type, format, std::string(reinterpret_cast<const char*>(data), count * unitSize(format))};
    }
    if (data) XFree(data);
    return answer;
}

// Memory set aside ahead of an incremental answer, whatever size its owner announces.
constexpr size_t largestReservation = size_t{64} << 20;

}  // namespace

X11SelectionRequests::X11SelectionRequests(GdkDisplay* display, Atom selection)
    : display_(GDK_DISPLAY_XDISPLAY(display)),
      selection_(selection),
      property_(gdk_x11_get_xatom_by_name_for_display(display, "BRISEL_SELECTION")),
      incremental_(gdk_x11_get_xatom_by_name_for_display(display, "INCR")) {
    XSetWindowAttributes attributes{};
    attributes.event_mask = PropertyChangeMask;
    window_ = XCreateWindow(display_, DefaultRootWindow(display_), -1, -1, 1, 1, 0, CopyFromParent, InputOnly,
                            CopyFromParent, CWEventMask, &attributes);
}

X11SelectionRequests::~X11SelectionRequests() {
    XDestroyWindow(display_, window_);
    // Answers already on their way to the window would reach GDK, which does not know it.
    XSync(display_, False);
    XEvent dropped;
    while (XCheckIfEvent(
        display_, &dropped,
        [](Display*, XEvent* event, XPointer window) -> Bool {
            const Window ours = *reinterpret_cast<const Window*>(window);
            return (event->type == SelectionNotify && event->xselection.requestor == ours) ||
                   (event->type == PropertyNotify && event->xproperty.window == ours);
        },
        reinterpret_cast<XPointer>(&window_))) {
    }
}

void X11SelectionRequests::ask(Atom target, std::function<void(Answer)> answered, const std::vector<Atom>& parameters) {
    target_ = target;
    answered_ = std::move(answered);
    increments_.reset();
    if (parameters.empty()) {
        XDeleteProperty(display_, window_, property_);
    } else {
        std::vector<long> atoms(parameters.begin(), parameters.end());
        XChangeProperty(display_, window_, property_, XA_ATOM, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(atoms.data()), static_cast<int>(atoms.size()));
    }
    XConvertSelection(display_, selection_, target, property_, window_, CurrentTime);
    XFlush(display_);
}

bool X11SelectionRequests::handle(const XEvent& event) {
    if (event.type == SelectionNotify && event.xselection.requestor == window_) {
        const XSelectionEvent& notice = event.xselection;
        if (!answered_ || increments_ || notice.selection != selection_ || notice.target != target_) return true;
        if (notice.property == None) {
            answerWith(std::nullopt);
            return true;
        }
        Answer answer = takeProperty(display_, window_, notice.property);
        if (answer && answer->type == incremental_) {
            // The owner sends the value in pieces, one each time we delete the property (done
            // by reading it); the announced size is the least it will send.
            if (answer->format != 32 || answer->bytes.size() < sizeof(long)) {
                answerWith(std::nullopt);
                return true;
            }
            announced_ = static_cast<size_t>(*reinterpret_cast<const unsigned long*>(answer->bytes.data()));
            increments_ = SelectionAnswer{};
            increments_->bytes.reserve(std::min(announced_, largestReservation));
            return true;
        }
        answerWith(std::move(answer));
        return true;
    }
    if (event.type == PropertyNotify && event.xproperty.window == window_) {
        if (increments_ && event.xproperty.atom == property_ && event.xproperty.state == PropertyNewValue) {
            incrementArrived_ = true;
        }
        return true;
    }
    return false;
}

void X11SelectionRequests::takeIncrement() {
    incrementArrived_ = false;
    if (!increments_) return;
    Answer piece = takeProperty(display_, window_, property_);
    // Every piece must be of one type and format; a value shorter than announced was cut off.
    if (!piece || (increments_->type != None && (piece->type != increments_->type || piece->format != increments_->format))) {
        answerWith(std::nullopt);
        return;
    }
    increments_->type = piece->type;
    increments_->format = piece->format;
    if (!piece->bytes.empty()) {
        increments_->bytes += piece->bytes;
        return;
    }
    if (increments_->bytes.size() < announced_) {
        answerWith(std::nullopt);
        return;
    }
    answerWith(std::move(increments_));
}

void X11SelectionRequests::answerWith(Answer answer) {
    increments_.reset();
    incrementArrived_ = false;
    target_ = None;
    auto answered = std::move(answered_);
    answered_ = nullptr;
    answered(std::move(answer));
}

}  // namespace brisel::gtk

#pragma once

#include <X11/Xlib.h>
#include <gdk/gdk.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brisel::gtk {

// What a selection's owner handed over for one target: the bytes exactly as Xlib returns them
// (format 32 data as longs, format 16 as shorts).
struct SelectionAnswer {
    Atom type = None;
    int format = 0;
    std::string bytes;
};

// A series of requests to the owner of one selection, asked one after the other on a private,
// unmapped window of our own, without ever waiting: answers arrive as X events, which the
// owner of this object passes to `handle`. Large answers come in increments (INCR) and are
// put together here. Abandoning a series is destroying it: its window goes, so a late answer
// meant for it can never be taken for the answer to a later request.
class X11SelectionRequests {
public:
    // Absent when the owner refused, or answered with something that is not a value.
    using Answer = std::optional<SelectionAnswer>;

    X11SelectionRequests(GdkDisplay* display, Atom selection);
    ~X11SelectionRequests();
    X11SelectionRequests(const X11SelectionRequests&) = delete;
    X11SelectionRequests& operator=(const X11SelectionRequests&) = delete;

    // Asks for `target`; `answered` gets the answer once it is complete. `parameters`, when
    // given, are put on the request's property first (the list of targets of SAVE_TARGETS).
    // One request at a time: the next is asked once the previous one was answered.
    void ask(Atom target, std::function<void(Answer)> answered, const std::vector<Atom>& parameters = {});

    // Takes the events meant for this series; false for any other event.
    bool handle(const XEvent& event);

    // An increment of a large answer has arrived. It is taken in a turn of the main loop of
    // its own, `takeIncrement`: taking it makes the owner send the next one at once, and
    // taking them all while handling events would hold the main loop for the whole transfer.
    bool incrementArrived() const { return incrementArrived_; }
    void takeIncrement();

private:
    void answerWith(Answer answer);

    Display* display_;
    Atom selection_;
    Atom property_;
    Atom incremental_;
    Window window_;
    Atom target_ = None;
    std::function<void(Answer)> answered_;
    // An answer coming in increments, and the size its owner announced as the least it sends.
    std::optional<SelectionAnswer> increments_;
    size_t announced_ = 0;
    bool incrementArrived_ = false;
};

}  // namespace brisel::gtk

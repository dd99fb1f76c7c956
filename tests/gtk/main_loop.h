#pragma once

#include <glib.h>

#include <functional>

namespace brisel::gtk::main_loop {

// Runs the main loop until `done` holds or `timeoutMs` passed; the timer wakes a blocked iteration.
inline bool runUntil(const std::function<bool()>& done, guint timeoutMs = 5000) {
    bool timedOut = false;
    const guint timer = g_timeout_add(timeoutMs, +[](gpointer flag) { return *static_cast<bool*>(flag) = true, G_SOURCE_REMOVE; }, &timedOut);
    while (!done() && !timedOut) g_main_context_iteration(nullptr, TRUE);
    if (!timedOut) g_source_remove(timer);
    return done();
}

// Dispatches what is ready now, without waiting for more.
inline void runPending() {
    for (int i = 0; i < 1000 && g_main_context_iteration(nullptr, FALSE); ++i) {}
}

}  // namespace brisel::gtk::main_loop

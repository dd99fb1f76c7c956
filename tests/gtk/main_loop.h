#pragma once

#include <glib.h>

#include <functional>

namespace brisel::gtk::main_loop {

// Runs the main loop until `done` holds or `timeoutMs` passed; a tick every 10 ms looks again at
// what no event announces (another process, a bus).
inline bool runUntil(const std::function<bool()>& done, guint timeoutMs = 5000) {
    const gint64 deadline = g_get_monotonic_time() + gint64{timeoutMs} * 1000;
    const guint ticker = g_timeout_add(10, +[](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    while (!done() && g_get_monotonic_time() < deadline) g_main_context_iteration(nullptr, TRUE);
    g_source_remove(ticker);
    return done();
}

// Dispatches what is ready now, without waiting for more.
inline void runPending() {
    for (int i = 0; i < 1000 && g_main_context_iteration(nullptr, FALSE); ++i) {}
}

}  // namespace brisel::gtk::main_loop

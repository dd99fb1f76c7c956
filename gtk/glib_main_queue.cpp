#include "glib_main_queue.h"

#include <glib.h>

namespace brisel::gtk {

namespace {

gboolean runOnce(gpointer data) {
    (*static_cast<std::function<void()>*>(data))();
    return G_SOURCE_REMOVE;
}

void destroyTask(gpointer data) {
    delete static_cast<std::function<void()>*>(data);
}

}  // namespace

void GlibMainQueue::post(std::function<void()> task) {
    g_idle_add_full(G_PRIORITY_DEFAULT, runOnce, new std::function<void()>(std::move(task)), destroyTask);
}

void GlibMainQueue::postAfter(Duration delay, std::function<void()> task) {
    g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(delay.count()), runOnce,
                       new std::function<void()>(std::move(task)), destroyTask);
}

}  // namespace brisel::gtk

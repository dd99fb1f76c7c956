#include "application_activation.h"

#include <utility>

namespace brisel::gtk {

bool applicationHasFocus() {
    GList* toplevels = gtk_window_list_toplevels();
    bool focused = false;
    for (GList* window = toplevels; window && !focused; window = window->next) {
        focused = gtk_window_is_active(GTK_WINDOW(window->data));
    }
    g_list_free(toplevels);
    return focused;
}

ApplicationActivation::ApplicationActivation(std::function<void()> becameActive)
    : becameActive_(std::move(becameActive)),
      // The signals exist once the class does; the hooks stay for every window made later.
      widgetClass_(g_type_class_ref(GTK_TYPE_WIDGET)),
      focusIn_(g_signal_lookup("focus-in-event", GTK_TYPE_WIDGET)),
      focusInHook_(g_signal_add_emission_hook(focusIn_, 0, onFocusChange, this, nullptr)),
      focusOut_(g_signal_lookup("focus-out-event", GTK_TYPE_WIDGET)),
      focusOutHook_(g_signal_add_emission_hook(focusOut_, 0, onFocusChange, this, nullptr)) {}

ApplicationActivation::~ApplicationActivation() {
    g_signal_remove_emission_hook(focusIn_, focusInHook_);
    g_signal_remove_emission_hook(focusOut_, focusOutHook_);
    if (settling_) g_source_remove(settling_);
    g_type_class_unref(widgetClass_);
}

gboolean ApplicationActivation::onFocusChange(GSignalInvocationHint*, guint, const GValue* parameters,
                                              gpointer self) {
    auto* activation = static_cast<ApplicationActivation*>(self);
    // Widgets inside a window hear of its focus too; only the windows themselves count.
    if (GTK_IS_WINDOW(g_value_get_object(&parameters[0])) && !activation->settling_) {
        // The focus leaves one window before it enters the next: decide once both are told.
        activation->settling_ = g_idle_add(settle, self);
    }
    return TRUE;  // keep the hook
}

gboolean ApplicationActivation::settle(gpointer self) {
    auto* activation = static_cast<ApplicationActivation*>(self);
    activation->settling_ = 0;
    const bool wasActive = std::exchange(activation->active_, applicationHasFocus());
    if (activation->active_ && !wasActive && activation->becameActive_) activation->becameActive_();
    return G_SOURCE_REMOVE;
}

}  // namespace brisel::gtk

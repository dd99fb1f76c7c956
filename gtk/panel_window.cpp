#include "panel_window.h"

#include <string>
#include <utility>

#include "physical_key_codes.h"
#include "screens.h"
#include "shortcuts/key_binding.h"
#include "widget_style.h"

namespace brisel::gtk {

PanelWindow::PanelWindow(WebView& webView, const std::vector<Menu>& menus, Handlers handlers)
    : webView_(webView), menus_(menus), handlers_(std::move(handlers)) {}

PanelWindow::~PanelWindow() {
    if (readingControls_) readingControls_->onChange = nullptr;
    if (window_) {
        g_signal_handlers_disconnect_by_data(window_, this);
        gtk_widget_destroy(GTK_WIDGET(window_));
    }
}

void PanelWindow::configure(const PanelConfiguration& configuration) {
    window_ = GTK_WINDOW(gtk_window_new(GTK_WINDOW_TOPLEVEL));
    gtk_window_set_title(window_, configuration.title.c_str());
    gtk_window_set_keep_above(window_, TRUE);
    gtk_window_stick(window_);
    gtk_window_set_role(window_, "reader-panel");
    GdkGeometry minimum{};
    minimum.min_width = static_cast<int>(configuration.minimumWidth);
    minimum.min_height = static_cast<int>(configuration.minimumHeight);
    gtk_window_set_geometry_hints(window_, nullptr, &minimum, GDK_HINT_MIN_SIZE);
    const std::string background = cssColour(configuration.backgroundRed, configuration.backgroundGreen,
                                              configuration.backgroundBlue);
    applyCSS(GTK_WIDGET(window_), "window { background-color: " + background + "; }");
    accelerators_ = gtk_accel_group_new();
    gtk_window_add_accel_group(window_, accelerators_);

    GtkWidget* header = gtk_header_bar_new();
    gtk_header_bar_set_title(GTK_HEADER_BAR(header), configuration.title.c_str());
    gtk_header_bar_set_show_close_button(GTK_HEADER_BAR(header), TRUE);
    gtk_header_bar_pack_end(GTK_HEADER_BAR(header), buildMenuButton());
    gtk_widget_show_all(header);  // so that it has its height before the window is shown
    gtk_window_set_titlebar(window_, header);

    GtkWidget* web = webView_.create(configuration.messageChannel, configuration.userScripts);
    GdkRGBA webBackground{configuration.backgroundRed, configuration.backgroundGreen, configuration.backgroundBlue, 1};
    webkit_web_view_set_background_color(webView_.widget(), &webBackground);

    startupLabel_ = gtk_label_new(configuration.startupLabel.c_str());
    gtk_label_set_justify(GTK_LABEL(startupLabel_), GTK_JUSTIFY_CENTER);
    gtk_label_set_line_wrap(GTK_LABEL(startupLabel_), TRUE);
    gtk_label_set_max_width_chars(GTK_LABEL(startupLabel_), 30);
    gtk_widget_set_halign(startupLabel_, GTK_ALIGN_FILL);
    gtk_widget_set_valign(startupLabel_, GTK_ALIGN_CENTER);
    gtk_widget_set_margin_start(startupLabel_, 24);
    gtk_widget_set_margin_end(startupLabel_, 24);
    gtk_style_context_add_class(gtk_widget_get_style_context(startupLabel_), "dim-label");
    applyCSS(startupLabel_, "label { font-size: 15pt; }");

    GtkWidget* overlay = gtk_overlay_new();
    gtk_container_add(GTK_CONTAINER(overlay), web);
    gtk_overlay_add_overlay(GTK_OVERLAY(overlay), startupLabel_);
    gtk_overlay_set_overlay_pass_through(GTK_OVERLAY(overlay), startupLabel_, TRUE);

    controls_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_widget_set_no_show_all(controls_, TRUE);
    if (readingControls_) {
        readingControlsView_ = std::make_unique<BriselReadingControlsView>(*readingControls_, accelerators_);
        gtk_box_pack_start(GTK_BOX(controls_), readingControlsView_->widget(), FALSE, FALSE, 0);
        readingControls_->onChange = [this] { readingControlsView_->refresh(); };
    }

    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
    gtk_box_pack_start(GTK_BOX(content), overlay, TRUE, TRUE, 0);
    gtk_box_pack_end(GTK_BOX(content), controls_, FALSE, FALSE, 0);
    gtk_container_add(GTK_CONTAINER(window_), content);

    // Realized before it is placed, so that its frame's edge is known from the first frame on.
    gtk_widget_realize(GTK_WIDGET(window_));
    setFrame(configuration.frame, false, false);
    g_signal_connect(window_, "delete-event", G_CALLBACK(onDelete), this);
    g_signal_connect(window_, "window-state-event", G_CALLBACK(onWindowState), this);
    gtk_widget_add_events(GTK_WIDGET(window_), GDK_VISIBILITY_NOTIFY_MASK);
    g_signal_connect(window_, "visibility-notify-event", G_CALLBACK(onVisibility), this);
}

GtkWidget* PanelWindow::buildMenuButton() {
    GtkWidget* menu = gtk_menu_new();
    bool firstSection = true;
    for (const Menu& section : menus_) {
        // One menu in the header bar: the menu bar's menus become its sections.
        if (!std::exchange(firstSection, false)) {
            gtk_menu_shell_append(GTK_MENU_SHELL(menu), gtk_separator_menu_item_new());
        }
        for (const MenuItem& item : section.items) {
            if (item.action == MenuAction::separator) {
                gtk_menu_shell_append(GTK_MENU_SHELL(menu), gtk_separator_menu_item_new());
                continue;
            }
            GtkWidget* entry = gtk_menu_item_new_with_label(item.title.c_str());
            if (!item.key.empty()) {
                const guint key = gdk_unicode_to_keyval(static_cast<guint32>(item.key[0]));
                gtk_widget_add_accelerator(entry, "activate", accelerators_, key, gdkModifiers(BriselKeyBinding::command),
                                           GTK_ACCEL_VISIBLE);
            }
            gtk_widget_set_sensitive(entry, !handlers_.menuEnabled || handlers_.menuEnabled(item.action));
            g_object_set_data(G_OBJECT(entry), "brisel-action", GINT_TO_POINTER(static_cast<int>(item.action)));
            g_signal_connect(entry, "activate", G_CALLBACK(+[](GtkMenuItem* activated, gpointer data) {
                                 auto* self = static_cast<PanelWindow*>(data);
                                 const auto action = static_cast<MenuAction>(
                                     GPOINTER_TO_INT(g_object_get_data(G_OBJECT(activated), "brisel-action")));
                                 if (self->handlers_.menu) self->handlers_.menu(action);
                             }),
                             this);
            gtk_menu_shell_append(GTK_MENU_SHELL(menu), entry);
        }
    }
    gtk_widget_show_all(menu);

    GtkWidget* button = gtk_menu_button_new();
    gtk_menu_button_set_popup(GTK_MENU_BUTTON(button), menu);
    gtk_button_set_image(GTK_BUTTON(button), gtk_image_new_from_icon_name("open-menu-symbolic", GTK_ICON_SIZE_BUTTON));
    gtk_widget_set_tooltip_text(button, "メニュー");
    atk_object_set_name(gtk_widget_get_accessible(button), "メニュー");
    return button;
}

std::vector<Screen> PanelWindow::screens() const { return gtk::screens(); }

std::optional<Screen> PanelWindow::mainScreen() const {
    // The screen with the keyboard focus is the panel's while it is active.
    if (isActive()) {
        if (auto screen = panelScreen()) return screen;
    }
    return primaryScreen();
}

std::optional<Screen> PanelWindow::panelScreen() const {
    return window_ ? screenOf(gtk_widget_get_window(GTK_WIDGET(window_))) : std::nullopt;
}

Point PanelWindow::mouseLocation() const { return pointerLocation(); }

bool PanelWindow::reduceMotion() const {
    gboolean animations = TRUE;
    g_object_get(gtk_settings_get_default(), "gtk-enable-animations", &animations, nullptr);
    return !animations;
}

bool PanelWindow::isMiniaturized() const { return iconified_; }

void PanelWindow::deminiaturize() {
    if (window_) gtk_window_deiconify(window_);
}

bool PanelWindow::isVisible() const {
    return window_ && gtk_widget_get_visible(GTK_WIDGET(window_)) && !iconified_;
}

PanelWindow::Decorations PanelWindow::decorations() const {
    GdkWindow* window = window_ ? gtk_widget_get_window(GTK_WIDGET(window_)) : nullptr;
    if (!window) return {};
    GdkRectangle outer{};
    gdk_window_get_frame_extents(window, &outer);
    GdkRectangle placed{};
    gtk_window_get_position(window_, &placed.x, &placed.y);
    gtk_window_get_size(window_, &placed.width, &placed.height);
    if (gtk_widget_get_mapped(GTK_WIDGET(window_))) {
        decorations_ = {placed.x - outer.x, placed.y - outer.y, outer.x + outer.width - placed.x - placed.width,
                        outer.y + outer.height - placed.y - placed.height};
    } else if (!decorations_) {
        // Never shown yet: the frame's edge, as wide on every side, and the header bar above
        // the content, at the height GTK will give it.
        const int edge = (outer.width - placed.width) / 2;
        int header = 0;
        gtk_widget_get_preferred_height(gtk_window_get_titlebar(window_), &header, nullptr);
        decorations_ = {edge, edge, edge, edge + header};
    }
    return *decorations_;
}

Rect PanelWindow::frame() const {
    if (!window_) return {};
    const Decorations around = decorations();
    GdkRectangle rectangle{};
    gtk_window_get_position(window_, &rectangle.x, &rectangle.y);
    gtk_window_get_size(window_, &rectangle.width, &rectangle.height);
    return toCore({rectangle.x - around.left, rectangle.y - around.top, rectangle.width + around.left + around.right,
                   rectangle.height + around.top + around.bottom});
}

void PanelWindow::setFrame(const Rect& frame, bool, bool) {
    // GTK 3 cannot animate a window's frame; the window manager moves it at once.
    if (!window_) return;
    // Core's frame is the whole window; GTK places the part under the header bar's top edge.
    const Decorations around = decorations();
    const GdkRectangle whole = toGdk(frame);
    const int width = whole.width - around.left - around.right;
    const int height = whole.height - around.top - around.bottom;
    gtk_window_set_default_size(window_, width, height);
    gtk_window_resize(window_, width, height);
    gtk_window_move(window_, whole.x + around.left, whole.y + around.top);
}

void PanelWindow::makeKeyAndOrderFront() {
    if (!window_) return;
    gtk_widget_show_all(GTK_WIDGET(window_));
    gtk_window_present(window_);
}

void PanelWindow::orderOut() {
    if (window_) gtk_widget_hide(GTK_WIDGET(window_));
}

PanelLayout PanelWindow::layout() const {
    PanelLayout layout;
    if (!window_) return layout;
    GtkWidget* web = GTK_WIDGET(webView_.widget());
    GtkAllocation bounds{};
    if (web) gtk_widget_get_allocation(web, &bounds);
    layout.panelVisible = isVisible();
    layout.panelKey = isActive();
    layout.webHidden = !web || !gtk_widget_get_visible(web);
    layout.windowVisible = layout.panelVisible && !obscured_;
    layout.panelOnActiveSpace = layout.panelVisible;  // the panel is on every workspace
    layout.frame = frame();
    layout.webBounds = {0, 0, double(bounds.width), double(bounds.height)};
    return layout;
}

void PanelWindow::setStartupLabel(const std::string& text) {
    if (startupLabel_) gtk_label_set_text(GTK_LABEL(startupLabel_), text.c_str());
}

void PanelWindow::removeStartupLabel() {
    if (!startupLabel_) return;
    gtk_widget_destroy(startupLabel_);
    startupLabel_ = nullptr;
}

void PanelWindow::setControlsHidden(bool hidden) {
    if (!controls_) return;
    gtk_widget_set_visible(controls_, !hidden);
}

gboolean PanelWindow::onDelete(GtkWidget*, GdkEvent*, gpointer data) {
    auto* self = static_cast<PanelWindow*>(data);
    const bool close = self->handlers_.shouldClose && self->handlers_.shouldClose();
    return close ? FALSE : TRUE;  // TRUE keeps the window
}

gboolean PanelWindow::onWindowState(GtkWidget*, GdkEventWindowState* event, gpointer data) {
    static_cast<PanelWindow*>(data)->iconified_ = (event->new_window_state & GDK_WINDOW_STATE_ICONIFIED) != 0;
    return FALSE;
}

gboolean PanelWindow::onVisibility(GtkWidget*, GdkEventVisibility* event, gpointer data) {
    static_cast<PanelWindow*>(data)->obscured_ = event->state == GDK_VISIBILITY_FULLY_OBSCURED;
    return FALSE;
}

}  // namespace brisel::gtk

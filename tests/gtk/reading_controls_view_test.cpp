// Google Test first: Xlib defines None, which Google Test uses as a name.
#include <gtest/gtest.h>

#include "reading_controls_view.h"

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <gdk/gdkx.h>

#include <cmath>
#include <initializer_list>
#include <vector>

#include "gtk/main_loop.h"
#include "gtk/widgets.h"
#include "reading/reading_controls_presentation.h"
#include "shortcuts/key_binding.h"

namespace brisel::gtk {
namespace {

// The strip in a window of its own, with a note the page could save.
class ReadingControlsViewTest : public ::testing::Test {
protected:
    ReadingControlsViewTest() {
        model.update({{"action", "readingControls"}, {"visible", true}, {"controlId", "note-1"}, {"draft", true}, {"pending", false},
                      {"saving", false}, {"returningAfterSave", false}, {"saveAttempt", 0}});
        model.onAction = [this](const std::string& action, const std::string&) { actions.push_back(action); };
        gtk_window_add_accel_group(window, accelerators);
        gtk_container_add(GTK_CONTAINER(window), view.widget());
        model.onChange = [this] { view.refresh(); };
        view.refresh();
    }
    ~ReadingControlsViewTest() override {
        model.onChange = nullptr;
        gtk_widget_destroy(GTK_WIDGET(window));
        g_object_unref(accelerators);
    }

    GtkWidget* named(const char* name) {
        return widgets::find(GTK_WIDGET(window), [&](GtkWidget* widget) {
            return g_strcmp0(gtk_widget_get_name(widget), name) == 0;
        });
    }
    void showAtWidth(int width) {
        gtk_window_set_default_size(window, width, -1);
        gtk_widget_show(GTK_WIDGET(window));
        gtk_window_present(window);  // a shown window is also given the focus
        ASSERT_TRUE(main_loop::runUntil([&] {
            return gtk_window_is_active(window) && gtk_widget_get_allocated_width(named(reading_controls_ids::save)) > 1;
        }));
    }

    BriselReadingControlsModel model;
    std::vector<std::string> actions;
    GtkWindow* window = GTK_WINDOW(gtk_window_new(GTK_WINDOW_TOPLEVEL));
    GtkAccelGroup* accelerators = gtk_accel_group_new();
    BriselReadingControlsView view{model, accelerators};
};

TEST_F(ReadingControlsViewTest, TheButtonsTakeThePanelsWidthUpTo640) {
    for (const auto& [windowWidth, buttonWidth] : {std::pair{440, 440 - 2 * 16}, {1040, 640}}) {
        showAtWidth(windowWidth);
        gtk_window_resize(window, windowWidth, 200);
        GtkWidget* save = named(reading_controls_ids::save);
        ASSERT_TRUE(main_loop::runUntil([&] { return gtk_widget_get_allocated_width(save) == buttonWidth; }))
            << "in a window " << windowWidth << " wide the save button is " << gtk_widget_get_allocated_width(save);
        GtkAllocation bounds;
        gtk_widget_get_allocation(save, &bounds);
        EXPECT_EQ(bounds.x, (windowWidth - buttonWidth) / 2);  // centred
    }
}

TEST_F(ReadingControlsViewTest, TheSaveButtonIsTintedWithTheAccentColour) {
    showAtWidth(440);
    GtkWidget* save = named(reading_controls_ids::save);
    const int width = gtk_widget_get_allocated_width(save), height = gtk_widget_get_allocated_height(save);
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
    cairo_t* cairo = cairo_create(surface);
    gtk_widget_draw(save, cairo);
    cairo_destroy(cairo);
    cairo_surface_flush(surface);
    // A pixel inside the border, left of the centred label.
    const auto* pixel = reinterpret_cast<const uint32_t*>(cairo_image_surface_get_data(surface) +
                                                           (height / 2) * cairo_image_surface_get_stride(surface)) +
                        8;
    const int red = (*pixel >> 16) & 0xFF, green = (*pixel >> 8) & 0xFF, blue = *pixel & 0xFF;
    cairo_surface_destroy(surface);
    EXPECT_NEAR(red, std::lround(BriselReadingControlsView::accentRed * 255), 2);
    EXPECT_NEAR(green, std::lround(BriselReadingControlsView::accentGreen * 255), 2);
    EXPECT_NEAR(blue, std::lround(BriselReadingControlsView::accentBlue * 255), 2);
}

TEST_F(ReadingControlsViewTest, ControlInABindingIsTheSuperKey) {
    // ⌃⌘S: Super+Ctrl+S on a Linux keyboard; Ctrl+S alone is ⌘S, another binding.
    model.setShortcutHints({"s", BriselKeyBinding::control | BriselKeyBinding::command, "⌃⌘S"}, model.returnShortcut);
    showAtWidth(440);
    Display* display = GDK_DISPLAY_XDISPLAY(gdk_display_get_default());
    const auto type = [&](std::initializer_list<KeySym> keys) {
        for (KeySym key : keys) XTestFakeKeyEvent(display, XKeysymToKeycode(display, key), True, 0);
        for (auto key = std::rbegin(keys); key != std::rend(keys); ++key) {
            XTestFakeKeyEvent(display, XKeysymToKeycode(display, *key), False, 0);
        }
        XFlush(display);
    };
    type({XK_Control_L, XK_s});
    type({XK_Escape});  // the return key, which tells when the keys before it were handled
    ASSERT_TRUE(main_loop::runUntil([&] { return !actions.empty(); }));
    EXPECT_EQ(actions, std::vector<std::string>{BriselReadingControlsModel::returnRequested});
    type({XK_Super_L, XK_Control_L, XK_s});
    ASSERT_TRUE(main_loop::runUntil([&] { return actions.size() == 2; }));
    EXPECT_EQ(actions.back(), BriselReadingControlsModel::saveAndReturnRequested);
}

}  // namespace
}  // namespace brisel::gtk

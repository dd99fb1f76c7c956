#include "reading_controls_view.h"

#include <algorithm>

#include "physical_key_codes.h"
#include "reading/reading_controls_presentation.h"
#include "widget_style.h"

namespace brisel::gtk {

namespace {

// The strip's vertical stack. Centred, it takes the panel's width up to its maximum: its natural
// width is that maximum, and GTK gives a centred widget no more than its natural width.
struct BriselReadingControlsStack {
    GtkBox parent;
};
struct BriselReadingControlsStackClass {
    GtkBoxClass parent;
};
G_DEFINE_TYPE(BriselReadingControlsStack, brisel_reading_controls_stack, GTK_TYPE_BOX)

void brisel_reading_controls_stack_init(BriselReadingControlsStack*) {}

void brisel_reading_controls_stack_class_init(BriselReadingControlsStackClass* type) {
    GTK_WIDGET_CLASS(type)->get_preferred_width = [](GtkWidget* widget, gint* minimum, gint* natural) {
        GTK_WIDGET_CLASS(brisel_reading_controls_stack_parent_class)->get_preferred_width(widget, minimum, natural);
        *natural = std::max(*minimum, BriselReadingControlsView::maximumWidth);
    };
}

// The save button in the accent colour, as a prominent button.
std::string accentButtonCSS() {
    const std::string accent = cssColour(BriselReadingControlsView::accentRed, BriselReadingControlsView::accentGreen,
                                         BriselReadingControlsView::accentBlue);
    return "button { background-image: none; background-color: " + accent + "; border-color: shade(" + accent +
           ", 0.8); color: white; text-shadow: none; box-shadow: none; }"
           "button:hover { background-color: shade(" + accent + ", 1.15); }"
           "button:active { background-color: shade(" + accent + ", 0.85); }"
           "button:disabled { background-color: alpha(" + accent + ", 0.45); color: alpha(white, 0.8); }";
}

// The GDK key and modifiers of a shortcut hint.
bool acceleratorOf(const BriselReadingControlsModel::ShortcutHint& hint, guint& key, GdkModifierType& modifiers) {
    if (hint.key.size() != 1) return false;
    const unsigned char character = static_cast<unsigned char>(hint.key[0]);
    key = character == '\r' ? GDK_KEY_Return : character == 0x1B ? GDK_KEY_Escape : gdk_unicode_to_keyval(character);
    modifiers = gdkModifiers(hint.modifiers);
    return key != GDK_KEY_VoidSymbol && key != 0;
}

}  // namespace

BriselReadingControlsView::BriselReadingControlsView(BriselReadingControlsModel& model, GtkAccelGroup* accelerators)
    : model_(model),
      accelerators_(accelerators),
      root_(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0)),
      stack_(GTK_WIDGET(g_object_new(brisel_reading_controls_stack_get_type(), "orientation",
                                     GTK_ORIENTATION_VERTICAL, "spacing", 8, nullptr))),
      save_(makeRow(reading_controls_ids::save, true)),
      close_(makeRow(reading_controls_ids::close, false)),
      status_(gtk_label_new(nullptr)) {
    g_object_ref_sink(root_);
    gtk_widget_set_name(root_, "reading-controls");
    applyCSS(root_, "box { background-color: @theme_bg_color; }");
    gtk_widget_set_halign(stack_, GTK_ALIGN_CENTER);
    gtk_widget_set_margin_start(stack_, 16);
    gtk_widget_set_margin_end(stack_, 16);
    gtk_widget_set_margin_top(stack_, 12);
    gtk_widget_set_margin_bottom(stack_, 12);
    gtk_box_pack_start(GTK_BOX(root_), stack_, FALSE, FALSE, 0);
    applyCSS(save_.button, accentButtonCSS());

    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
    gtk_box_pack_start(GTK_BOX(buttons), save_.button, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(buttons), close_.button, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(stack_), buttons, FALSE, FALSE, 0);

    gtk_widget_set_name(status_, reading_controls_ids::status);
    gtk_label_set_line_wrap(GTK_LABEL(status_), TRUE);
    gtk_label_set_justify(GTK_LABEL(status_), GTK_JUSTIFY_CENTER);
    addClass(status_, "dim-label");
    gtk_box_pack_start(GTK_BOX(stack_), status_, FALSE, FALSE, 0);

    g_signal_connect_swapped(save_.button, "clicked", G_CALLBACK(+[](BriselReadingControlsView* self) {
                                 self->model_.perform(BriselReadingControlsModel::saveAndReturnRequested,
                                                      self->model_.controlId);
                             }),
                             this);
    g_signal_connect_swapped(close_.button, "clicked", G_CALLBACK(+[](BriselReadingControlsView* self) {
                                 self->model_.perform(BriselReadingControlsModel::returnRequested,
                                                      self->model_.controlId);
                             }),
                             this);
    gtk_widget_show_all(root_);
    refresh();
}

BriselReadingControlsView::~BriselReadingControlsView() {
    g_object_unref(root_);
}

BriselReadingControlsView::Row BriselReadingControlsView::makeRow(const char* name, bool withIcon) {
    Row row{};
    row.button = gtk_button_new();
    gtk_widget_set_name(row.button, name);
    gtk_widget_set_size_request(row.button, -1, 44);
    GtkWidget* content = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 8);
    gtk_widget_set_halign(content, GTK_ALIGN_CENTER);
    gtk_widget_set_margin_start(content, 4);
    gtk_widget_set_margin_end(content, 4);
    if (withIcon) {
        row.icon = gtk_image_new_from_icon_name("bookmark-new-symbolic", GTK_ICON_SIZE_BUTTON);
        row.spinner = gtk_spinner_new();
        gtk_box_pack_start(GTK_BOX(content), row.icon, FALSE, FALSE, 0);
        gtk_box_pack_start(GTK_BOX(content), row.spinner, FALSE, FALSE, 0);
    }
    row.title = gtk_label_new(nullptr);
    row.hint = gtk_label_new(nullptr);
    addClass(row.hint, "dim-label");
    gtk_box_pack_start(GTK_BOX(content), row.title, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(content), row.hint, FALSE, FALSE, 0);
    gtk_container_add(GTK_CONTAINER(row.button), content);
    return row;
}

void BriselReadingControlsView::bindShortcut(GtkWidget* button, const BriselReadingControlsModel::ShortcutHint& hint,
                                        BriselReadingControlsModel::ShortcutHint& bound) {
    if (hint == bound) return;
    guint key = 0;
    GdkModifierType modifiers{};
    if (acceleratorOf(bound, key, modifiers)) gtk_widget_remove_accelerator(button, accelerators_, key, modifiers);
    // Accelerators fire only while the button is visible and sensitive, so a hidden strip or a
    // disabled save button lets the key reach the page.
    if (acceleratorOf(hint, key, modifiers)) {
        gtk_widget_add_accelerator(button, "clicked", accelerators_, key, modifiers, GTK_ACCEL_VISIBLE);
    }
    bound = hint;
}

void BriselReadingControlsView::refresh() {
    const ReadingControlsPresentation shown = presentReadingControls(model_);
    gtk_widget_set_visible(root_, shown.visible);

    gtk_widget_set_visible(save_.button, shown.showsSave);
    gtk_widget_set_sensitive(save_.button, shown.saveEnabled);
    gtk_widget_set_visible(save_.icon, !shown.saveBusy);
    gtk_widget_set_visible(save_.spinner, shown.saveBusy);
    if (shown.saveBusy) {
        gtk_spinner_start(GTK_SPINNER(save_.spinner));
    } else {
        gtk_spinner_stop(GTK_SPINNER(save_.spinner));
    }
    setLabelMarkup(save_.title, "<span weight=\"600\">%s</span>", shown.saveTitle);
    setLabelMarkup(save_.hint, "<small><tt>%s</tt></small>", model_.saveShortcut.label);
    setLabelMarkup(close_.title, "%s", shown.closeTitle);
    setLabelMarkup(close_.hint, "<small><tt>%s</tt></small>", model_.returnShortcut.label);
    setLabelMarkup(status_, "<small>%s</small>", shown.status);

    atk_object_set_name(gtk_widget_get_accessible(save_.button), shown.saveTitle.c_str());
    atk_object_set_name(gtk_widget_get_accessible(close_.button), shown.closeTitle.c_str());
    bindShortcut(save_.button, model_.saveShortcut, boundSave_);
    bindShortcut(close_.button, model_.returnShortcut, boundReturn_);
}

}  // namespace brisel::gtk

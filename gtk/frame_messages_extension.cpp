// Runs inside the panel's web processes, where WebKit knows which frame runs a script. Every
// frame gets its own window.webkit.messageHandlers.<channel>.postMessage, bound to that frame
// and to the document it was made for; each message goes to the panel's web view with that
// frame's place (main frame or not) and its document's security origin. The panel's core then
// decides; nothing is decided here.
//
// The origin is read in a script world of this extension's own: page scripts share neither its
// globals nor its DOM wrappers, so no page can change what `self.origin` answers there. A frame
// can only reach another frame's postMessage when it may already run script in that frame (same
// origin), exactly as with WebKit's own message handlers.
#include <webkit2/webkit-web-extension.h>

#include <string>

#include "frame_message.h"

namespace {

using namespace brisel::gtk;

struct Channel {
    std::string name;
    WebKitScriptWorld* originWorld = nullptr;
};

Channel* channel = nullptr;  // set once when the web process loads the extension

// A frame's documents are counted as their windows are made; a postMessage made for an earlier
// document of the frame no longer speaks for it, as WebKit's handlers refuse a detached window.
constexpr const char* documentKey = "brisel-document";

unsigned documentOf(WebKitFrame* frame) {
    return GPOINTER_TO_UINT(g_object_get_data(G_OBJECT(frame), documentKey));
}

// What one postMessage knows of its sender. Weak, so that a frame or page that goes away
// leaves a function that posts nothing.
struct Sender {
    GWeakRef frame;
    GWeakRef page;
    unsigned document = 0;
};

void destroySender(gpointer data) {
    auto* sender = static_cast<Sender*>(data);
    g_weak_ref_clear(&sender->frame);
    g_weak_ref_clear(&sender->page);
    delete sender;
}

std::string originOf(WebKitFrame* frame) {
    JSCContext* context = webkit_frame_get_js_context_for_script_world(frame, channel->originWorld);
    JSCValue* origin = jsc_context_evaluate(context, "self.origin", -1);
    std::string text = "null";
    if (origin && jsc_value_is_string(origin)) {
        gchar* value = jsc_value_to_string(origin);
        text = value;
        g_free(value);
    }
    if (origin) g_object_unref(origin);
    g_object_unref(context);
    return text;
}

void postMessage(JSCValue* body, gpointer data) {
    // Serialised first: a body's toJSON may run page script, even remove the frame.
    gchar* json = jsc_value_to_json(body, 0);
    if (!json) return;
    auto* sender = static_cast<Sender*>(data);
    auto* frame = static_cast<WebKitFrame*>(g_weak_ref_get(&sender->frame));
    auto* page = static_cast<WebKitWebPage*>(g_weak_ref_get(&sender->page));
    if (frame && page && documentOf(frame) == sender->document) {
        GVariant* parameters = g_variant_new(frame_message::parameterType, json,
                                             webkit_frame_is_main_frame(frame), originOf(frame).c_str());
        webkit_web_page_send_message_to_view(page, webkit_user_message_new(channel->name.c_str(), parameters),
                                             nullptr, nullptr, nullptr);
    }
    if (page) g_object_unref(page);
    if (frame) g_object_unref(frame);
    g_free(json);
}

void setProperty(JSCValue* object, const char* name, JSCValue* value) {
    jsc_value_object_set_property(object, name, value);
    g_object_unref(value);
}

// A new window in a frame, before any of its scripts runs: give it its own channel.
void onWindowObjectCleared(WebKitScriptWorld* world, WebKitWebPage* page, WebKitFrame* frame, gpointer) {
    const unsigned document = documentOf(frame) + 1;
    g_object_set_data(G_OBJECT(frame), documentKey, GUINT_TO_POINTER(document));
    auto* sender = new Sender;
    g_weak_ref_init(&sender->frame, frame);
    g_weak_ref_init(&sender->page, page);
    sender->document = document;

    JSCContext* context = webkit_frame_get_js_context_for_script_world(frame, world);
    JSCValue* handler = jsc_value_new_object(context, nullptr, nullptr);
    setProperty(handler, "postMessage",
                jsc_value_new_function(context, "postMessage", G_CALLBACK(postMessage), sender, destroySender,
                                       G_TYPE_NONE, 1, JSC_TYPE_VALUE));
    JSCValue* handlers = jsc_value_new_object(context, nullptr, nullptr);
    setProperty(handlers, channel->name.c_str(), handler);
    JSCValue* webkit = jsc_value_new_object(context, nullptr, nullptr);
    setProperty(webkit, "messageHandlers", handlers);
    JSCValue* global = jsc_context_get_global_object(context);
    setProperty(global, "webkit", webkit);
    g_object_unref(global);
    g_object_unref(context);
}

}  // namespace

// The panel passes the channel's name; without one the extension offers nothing.
extern "C" G_MODULE_EXPORT void webkit_web_extension_initialize_with_user_data(WebKitWebExtension*,
                                                                              const GVariant* userData) {
    auto* data = const_cast<GVariant*>(userData);
    if (channel || !data || !g_variant_is_of_type(data, G_VARIANT_TYPE_STRING)) return;
    const std::string name = g_variant_get_string(data, nullptr);
    if (name.empty()) return;
    channel = new Channel{name, webkit_script_world_new_with_name("brisel-frame-origin")};
    g_signal_connect(webkit_script_world_get_default(), "window-object-cleared", G_CALLBACK(onWindowObjectCleared),
                     nullptr);
}

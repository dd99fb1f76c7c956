#include "web_view.h"

#include <cstdlib>
#include <memory>

#include "app/companion.h"
#include "net/url.h"

namespace brisel::gtk {

namespace {

// A script argument as WebKitGTK takes it: objects as a{sv} and strings, all the web view port
// allows. Anything else is a programming error in core. A GVariant string is UTF-8 without
// NUL, so other bytes arrive as U+FFFD.
GVariant* variantOf(const nlohmann::json& value) {
    switch (value.type()) {
    case nlohmann::json::value_t::object: {
        GVariantBuilder members;
        g_variant_builder_init(&members, G_VARIANT_TYPE_VARDICT);
        for (const auto& [key, member] : value.items()) {
            gchar* name = g_utf8_make_valid(key.data(), static_cast<gssize>(key.size()));
            g_variant_builder_add(&members, "{sv}", name, variantOf(member));
            g_free(name);
        }
        return g_variant_builder_end(&members);
    }
    case nlohmann::json::value_t::string: {
        const auto& text = value.get_ref<const std::string&>();
        return g_variant_new_take_string(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    }
    default:
        std::abort();
    }
}

}  // namespace

WebError webErrorOf(const GError* error) {
    if (!error) return {"other", 0};
    std::string domain = "other";
    if (error->domain == WEBKIT_NETWORK_ERROR) {
        domain = web_error_domain::urlLoading;
    } else if (error->domain == WEBKIT_POLICY_ERROR || error->domain == WEBKIT_PLUGIN_ERROR ||
               error->domain == WEBKIT_JAVASCRIPT_ERROR) {
        domain = web_error_domain::webKit;
    } else if (error->domain == G_IO_ERROR) {
        domain = web_error_domain::posix;
    }
    return {domain, error->code};
}

WebView::~WebView() {
    if (content_) {
        g_signal_handlers_disconnect_by_data(content_, this);
        g_object_unref(content_);
    }
    if (!view_) return;
    g_signal_handlers_disconnect_by_data(view_, this);
    g_object_unref(view_);
}

GtkWidget* WebView::create(const std::string& messageChannel, const std::vector<std::string>& userScripts) {
    WebKitUserContentManager* content = webkit_user_content_manager_new();
    for (const auto& source : userScripts) {
        WebKitUserScript* script =
            webkit_user_script_new(source.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
                                   WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr);
        webkit_user_content_manager_add_script(content, script);
        webkit_user_script_unref(script);
    }
    // The page posts to window.webkit.messageHandlers.omvane, as it does on macOS.
    const std::string signal = "script-message-received::" + messageChannel;
    g_signal_connect(content, signal.c_str(), G_CALLBACK(onScriptMessage), this);
    webkit_user_content_manager_register_script_message_handler(content, messageChannel.c_str());
    content_ = WEBKIT_USER_CONTENT_MANAGER(g_object_ref(content));

    // Held until this object goes, whichever of it and the panel's window is destroyed first.
    view_ = WEBKIT_WEB_VIEW(g_object_ref_sink(webkit_web_view_new_with_user_content_manager(content)));
    g_object_unref(content);
    WebKitSettings* settings = webkit_web_view_get_settings(view_);
    webkit_settings_set_enable_developer_extras(settings, TRUE);
    webkit_settings_set_javascript_can_open_windows_automatically(settings, FALSE);

    g_signal_connect(view_, "decide-policy", G_CALLBACK(onDecidePolicy), this);
    g_signal_connect(view_, "load-changed", G_CALLBACK(onLoadChanged), this);
    g_signal_connect(view_, "load-failed", G_CALLBACK(onLoadFailed), this);
    g_signal_connect(view_, "web-process-terminated", G_CALLBACK(onWebProcessTerminated), this);
    return GTK_WIDGET(view_);
}

void WebView::load(const std::string& url, Duration) {
    // WebKitGTK has no per-request time-out; its network stack gives up on its own.
    if (view_) webkit_web_view_load_uri(view_, url.c_str());
}

std::optional<std::string> WebView::currentURL() const {
    const char* uri = view_ ? webkit_web_view_get_uri(view_) : nullptr;
    if (!uri) return std::nullopt;
    return std::string(uri);
}

void WebView::evaluate(const std::string& script, std::function<void(ScriptResult)> completion) {
    if (!view_) {
        completion({WebError{web_error_domain::webKit, 0}, std::nullopt});
        return;
    }
    auto* pending = new std::function<void(ScriptResult)>(std::move(completion));
    webkit_web_view_evaluate_javascript(
        view_, script.c_str(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr,
        [](GObject* source, GAsyncResult* asyncResult, gpointer data) {
            std::unique_ptr<std::function<void(ScriptResult)>> done(static_cast<std::function<void(ScriptResult)>*>(data));
            GError* error = nullptr;
            JSCValue* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), asyncResult, &error);
            ScriptResult result;
            if (error) {
                result.error = webErrorOf(error);
                g_error_free(error);
            } else if (value) {
                if (jsc_value_is_string(value)) {
                    gchar* text = jsc_value_to_string(value);
                    result.stringValue = text;
                    g_free(text);
                }
            }
            if (value) g_object_unref(value);
            (*done)(std::move(result));
        },
        pending);
}

void WebView::callAsyncFunction(const std::string& functionBody, const nlohmann::json& arguments) {
    if (!view_) return;
    GVariant* parameters = g_variant_ref_sink(variantOf(arguments));
    // No world name is the page's own world.
    webkit_web_view_call_async_javascript_function(
        view_, functionBody.c_str(), static_cast<gssize>(functionBody.size()), parameters, nullptr, nullptr, nullptr,
        [](GObject* source, GAsyncResult* asyncResult, gpointer) {
            GError* error = nullptr;
            JSCValue* value =
                webkit_web_view_call_async_javascript_function_finish(WEBKIT_WEB_VIEW(source), asyncResult, &error);
            if (value) g_object_unref(value);
            g_clear_error(&error);
        },
        nullptr);
    g_variant_unref(parameters);
}

// WebKitGTK does not say which frame sent a message. The navigation policy lets no frame load
// anything but the local origin, so every document that can post here is the local page's; the
// message is attributed to the main frame and to the origin the web view shows, and core checks
// that origin as it does on macOS.
void WebView::onScriptMessage(WebKitUserContentManager*, WebKitJavascriptResult* result, gpointer data) {
    auto* self = static_cast<WebView*>(data);
    if (!self->companion_ || !self->view_) return;
    JSCValue* value = webkit_javascript_result_get_js_value(result);
    gchar* json = value ? jsc_value_to_json(value, 0) : nullptr;
    ScriptMessage message;
    message.body = nlohmann::json::parse(json ? json : "", nullptr, false);
    g_free(json);
    message.isMainFrame = true;
    message.webView = self->view_;
    if (const auto url = self->currentURL()) {
        if (const auto parts = parseURL(*url); parts && parts->host) {
            message.origin = {parts->scheme, *parts->host, parts->port.value_or(0)};
        }
    }
    self->companion_->didReceiveScriptMessage(message);
}

gboolean WebView::onDecidePolicy(WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type,
                                 gpointer data) {
    auto* self = static_cast<WebView*>(data);
    if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE || !self->companion_) return FALSE;
    WebKitNavigationAction* action =
        webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    WebKitURIRequest* request = webkit_navigation_action_get_request(action);
    const char* uri = request ? webkit_uri_request_get_uri(request) : nullptr;
    const bool linkClicked = webkit_navigation_action_get_navigation_type(action) == WEBKIT_NAVIGATION_TYPE_LINK_CLICKED;
    const std::optional<std::string> url = uri ? std::optional<std::string>(uri) : std::nullopt;
    // A link that asks for a new window never gets one: the panel is the only window.
    const bool allow = self->companion_->decidePolicyForNavigation(url, linkClicked) &&
                       type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION;
    if (allow) {
        webkit_policy_decision_use(decision);
    } else {
        webkit_policy_decision_ignore(decision);
    }
    return TRUE;
}

void WebView::onLoadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) {
    auto* self = static_cast<WebView*>(data);
    if (!self->companion_) return;
    if (event == WEBKIT_LOAD_STARTED) {
        self->loadFailed_ = false;
        self->companion_->didStartProvisionalNavigation();
    } else if (event == WEBKIT_LOAD_FINISHED && !self->loadFailed_) {
        // WebKitGTK also reports a failed load as finished, after "load-failed".
        self->companion_->didFinishNavigation();
    }
}

gboolean WebView::onLoadFailed(WebKitWebView*, WebKitLoadEvent event, gchar*, GError* error, gpointer data) {
    auto* self = static_cast<WebView*>(data);
    self->loadFailed_ = true;
    if (self->companion_) self->companion_->didFailNavigation(webErrorOf(error), event != WEBKIT_LOAD_COMMITTED);
    return TRUE;  // no WebKit error page: the panel shows the start-up label or stays blank
}

void WebView::onWebProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason, gpointer data) {
    auto* self = static_cast<WebView*>(data);
    if (self->companion_) self->companion_->webContentProcessDidTerminate();
}

}  // namespace brisel::gtk

#include "web_view.h"

#include <cstdlib>
#include <memory>

#include "app/companion.h"
#include "frame_message.h"
#include "net/url.h"

namespace brisel::gtk {

namespace {

// The origin's text as `self.origin` gives it; an opaque origin ("null") has no parts.
SecurityOrigin securityOriginOf(const std::string& serialisation) {
    const auto parts = parseURL(serialisation);
    if (!parts || !parts->host) return {};
    return {parts->scheme, *parts->host, parts->port.value_or(0)};
}

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
    cancelLoadTimer();
    if (!view_) return;
    g_signal_handlers_disconnect_by_data(view_, this);
    g_object_unref(view_);
}

GtkWidget* WebView::create(const std::string& messageChannel, const std::vector<std::string>& userScripts) {
    // The extension gives every frame window.webkit.messageHandlers.omvane, as WebKit does on
    // macOS, and tells which frame posted; it is loaded into each web process as it starts.
    WebKitWebContext* context = webkit_web_context_get_default();
    std::error_code error;
    if (options_.extensions && std::filesystem::is_directory(*options_.extensions, error)) {
        webkit_web_context_set_web_extensions_directory(context, options_.extensions->c_str());
    } else {
        g_warning("No web extension folder in the bundle's resources: the page cannot post messages to Brisel.");
    }
    webkit_web_context_set_web_extensions_initialization_user_data(context, g_variant_new_string(messageChannel.c_str()));
    channel_ = messageChannel;

    WebKitUserContentManager* content = webkit_user_content_manager_new();
    for (const auto& source : userScripts) {
        WebKitUserScript* script =
            webkit_user_script_new(source.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
                                   WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr);
        webkit_user_content_manager_add_script(content, script);
        webkit_user_script_unref(script);
    }
    // Held until this object goes, whichever of it and the panel's window is destroyed first.
    view_ = WEBKIT_WEB_VIEW(g_object_ref_sink(webkit_web_view_new_with_user_content_manager(content)));
    g_object_unref(content);
    WebKitSettings* settings = webkit_web_view_get_settings(view_);
    webkit_settings_set_enable_developer_extras(settings, options_.inspector);
    webkit_settings_set_javascript_can_open_windows_automatically(settings, FALSE);

    g_signal_connect(view_, "decide-policy", G_CALLBACK(onDecidePolicy), this);
    g_signal_connect(view_, "load-changed", G_CALLBACK(onLoadChanged), this);
    g_signal_connect(view_, "load-failed", G_CALLBACK(onLoadFailed), this);
    g_signal_connect(view_, "web-process-terminated", G_CALLBACK(onWebProcessTerminated), this);
    g_signal_connect(view_, "user-message-received", G_CALLBACK(onUserMessage), this);
    return GTK_WIDGET(view_);
}

void WebView::load(const std::string& url, Duration timeout) {
    if (!view_) return;
    cancelLoadTimer();
    timedOut_ = false;
    loadTimeout_ = timeout;
    webkit_web_view_load_uri(view_, url.c_str());
}

// WebKitGTK's requests have no time-out of their own. The clock starts when the load is under
// way: stopping a load that the web process has not started yet stops nothing.
void WebView::startLoadTimer() {
    if (loadTimer_ || loadTimeout_.count() <= 0) return;
    loadTimer_ = g_timeout_add(static_cast<guint>(loadTimeout_.count()), onLoadTimedOut, this);
    loadTimeout_ = Duration(0);
}

void WebView::cancelLoadTimer() {
    if (loadTimer_) g_source_remove(loadTimer_);
    loadTimer_ = 0;
}

gboolean WebView::onLoadTimedOut(gpointer data) {
    auto* self = static_cast<WebView*>(data);
    self->loadTimer_ = 0;
    self->timedOut_ = true;
    self->loadFailed_ = true;
    webkit_web_view_stop_loading(self->view_);
    if (self->companion_) {
        self->companion_->didFailNavigation({web_error_domain::urlLoading, web_error_code::timedOut}, !self->committed_);
    }
    return G_SOURCE_REMOVE;
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

// Each message comes from the web process's extension with the frame that posted it and that
// frame's security origin; whether to act on it is core's decision.
gboolean WebView::onUserMessage(WebKitWebView*, WebKitUserMessage* message, gpointer data) {
    auto* self = static_cast<WebView*>(data);
    if (self->channel_ != webkit_user_message_get_name(message)) return FALSE;
    GVariant* parameters = webkit_user_message_get_parameters(message);
    if (!self->companion_ || !parameters ||
        !g_variant_is_of_type(parameters, G_VARIANT_TYPE(frame_message::parameterType))) {
        return TRUE;
    }
    const gchar* json = nullptr;
    gboolean isMainFrame = FALSE;
    const gchar* origin = nullptr;
    g_variant_get(parameters, "(&sb&s)", &json, &isMainFrame, &origin);
    ScriptMessage script;
    script.body = nlohmann::json::parse(json, nullptr, false);
    script.isMainFrame = isMainFrame;
    script.origin = securityOriginOf(origin);
    script.webView = self->view_;
    self->companion_->didReceiveScriptMessage(script);
    return TRUE;
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
        self->committed_ = false;
        self->timedOut_ = false;
        self->startLoadTimer();
        self->companion_->didStartProvisionalNavigation();
    } else if (event == WEBKIT_LOAD_COMMITTED) {
        self->committed_ = true;
    } else if (event == WEBKIT_LOAD_FINISHED) {
        self->cancelLoadTimer();
        // WebKitGTK also reports a failed load as finished, after "load-failed".
        if (!self->loadFailed_) self->companion_->didFinishNavigation();
    }
}

gboolean WebView::onLoadFailed(WebKitWebView*, WebKitLoadEvent event, gchar*, GError* error, gpointer data) {
    auto* self = static_cast<WebView*>(data);
    self->cancelLoadTimer();
    // The load that the time-out stopped has been reported as timed out already.
    if (self->timedOut_ && g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED)) {
        self->timedOut_ = false;
        return TRUE;
    }
    self->loadFailed_ = true;
    if (self->companion_) self->companion_->didFailNavigation(webErrorOf(error), event != WEBKIT_LOAD_COMMITTED);
    return TRUE;  // no WebKit error page: the panel shows the start-up label or stays blank
}

void WebView::onWebProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason, gpointer data) {
    auto* self = static_cast<WebView*>(data);
    self->cancelLoadTimer();
    if (self->companion_) self->companion_->webContentProcessDidTerminate();
}

}  // namespace brisel::gtk

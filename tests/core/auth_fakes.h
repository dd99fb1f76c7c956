#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "auth/auth_configuration.h"
#include "auth/native_auth.h"
#include "fakes/fake_ports.h"

namespace brisel::testing {

// Records every Apple request; the test plays the platform's delegate calls.
struct FakeAppleSignIn final : AppleSignInPort {
    std::vector<AppleSignInRequest> requests;
    std::vector<std::function<void(AppleSignInOutcome)>> completions;
    int cancels = 0;

    void perform(const AppleSignInRequest& request, std::function<void(AppleSignInOutcome)> completion) override {
        requests.push_back(request);
        completions.push_back(std::move(completion));
    }
    void cancel() override { ++cancels; }
    // The credential Apple hands back for the request that `perform` received at `index`.
    void succeed(size_t index = 0) { completions.at(index)(AppleAuthorization{true, requests.at(index).state, "apple.token"}); }
};

// Records Google calls; the test plays the library's completion.
struct FakeGoogleSignIn final : GoogleSignInPort {
    std::vector<GoogleConfiguration> configurations;
    std::vector<std::function<void(GoogleSignInOutcome)>> completions;
    std::vector<std::string> handledURLs;
    int signOuts = 0;

    void setConfiguration(const GoogleConfiguration& configuration) override { configurations.push_back(configuration); }
    void signIn(std::function<void(GoogleSignInOutcome)> completion) override { completions.push_back(std::move(completion)); }
    bool handle(const std::string& url) override { return handledURLs.push_back(url), true; }
    void signOut() override { ++signOuts; }
    void succeed(size_t index = 0) { completions.at(index)({std::nullopt, "google.id.token", "google.access.token"}); }
};

inline const char* validClientID = "123456-abcdef.apps.googleusercontent.com";
inline const char* validServerClientID = "987654-server.apps.googleusercontent.com";
inline const char* validRedirectScheme = "com.googleusercontent.apps.123456-abcdef";

// Both providers switched on and Google fully configured.
inline nlohmann::json signInConfiguration() {
    return {{"BriselAppleSignInEnabled", true},
            {"BriselGoogleClientID", validClientID},
            {"BriselGoogleServerClientID", validServerClientID},
            {"CFBundleURLTypes", {{{"CFBundleURLSchemes", {"brisel", validRedirectScheme}}}}}};
}

inline const std::string validNonce(43, 'A');
inline const char* firstRequest = "6F9619FF-8B86-D011-B42D-00C04FC964FF";
inline const char* secondRequest = "1b4e28ba-2fa1-11d2-883f-0016d3cca427";

// A BriselNativeAuth over fakes, serving the local page on the product's port.
struct AuthHarness {
    FakeWebView webView;
    int nativeWebView = 0;  // stands for the WKWebView or WebKitWebView that messages name
    bool webViewAlive = true;
    JsonConfigurationValues configuration{signInConfiguration()};
    FakeAppleSignIn apple;
    FakeGoogleSignIn google;
    int windowsLeft = 100;  // how many more times the reader panel answers the anchor
    std::unique_ptr<BriselNativeAuth> auth;

    explicit AuthHarness(bool withApple = true, bool withGoogle = true) {
        webView.url = "http://127.0.0.1:47831/";
        auth = std::make_unique<BriselNativeAuth>(
            BriselNativeAuthPorts{[this] { return webViewAlive ? WebViewReference{&webView, &nativeWebView} : WebViewReference(); },
                                  configuration, withApple ? &apple : nullptr, withGoogle ? &google : nullptr,
                                  [this] { return windowsLeft-- > 0; }, [n = 0]() mutable { return "generation-" + std::to_string(++n); }},
            "http://127.0.0.1:47831");
    }

    ScriptMessage message(nlohmann::json body) { return {std::move(body), true, {"http", "127.0.0.1", 47831}, &nativeWebView}; }
    bool send(nlohmann::json body) { return auth->handle(message(std::move(body))); }
    bool authenticate(const std::string& provider, const std::string& requestID = firstRequest,
                      const nlohmann::json& nonce = validNonce) {
        nlohmann::json body{{"action", "authenticate"}, {"requestId", requestID}, {"provider", provider}};
        if (!nonce.is_null()) body["nonce"] = nonce;
        return send(std::move(body));
    }

    std::vector<nlohmann::json> results() const {
        std::vector<nlohmann::json> details;
        for (const auto& call : webView.calls) details.push_back(call.arguments.at("detail"));
        return details;
    }
};

}  // namespace brisel::testing

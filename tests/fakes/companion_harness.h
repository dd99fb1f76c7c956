#pragma once

#include <sstream>

#include "app/companion.h"
#include "core/auth_fakes.h"
#include "core/shortcut_fakes.h"
#include "fakes/fake_ports.h"
#include "fakes/fake_save_panel.h"
#include "fakes/kindle_capture_harness.h"
#include "fakes/temp_dir.h"

namespace brisel::testing {

inline const char* compatibleLocalStatus =
    R"({"provider":"codex","version":2,"capabilities":["explicit-save","knowledge-notes","note-suggestions",
        "note-context","semantic-relations","privacy-minimal-v1"]})";

inline HttpResponse statusAnswer(const std::string& body) { return {true, 200, "http://127.0.0.1:47831/api/status", body}; }

// Every port of the companion but its queue, HTTP and launcher, as fakes.
struct FakeDesktop {
    FakeApplication application;
    FakePanel panel;
    FakeWebView webView;
    FakeWorkspace workspace;
    FakeBackgroundQueue background;
    FakePasteboard pasteboard;
    FakeAccessibility accessibility;
    FakeRunningApplications applications;
    FakeHotKeys hotKeys;
    FakeKeyboardLayout keyboardLayout = FakeKeyboardLayout::us();
    FakeKeyValueStore preferences;
    FakeSettingsWindow settingsWindow;
    FakeKeyRecorder keyRecorder;
    FakeSavePanel savePanel;
    JsonConfigurationValues configuration;
    FakeAppleSignIn apple;
    FakeGoogleSignIn google;

    CompanionPorts ports(MainQueue& queue, HttpClient& http, ProcessLauncher& launcher) {
        return {queue, http, launcher, application, panel, webView, workspace, background, pasteboard,
                accessibility, applications, hotKeys, keyboardLayout, preferences, settingsWindow,
                keyRecorder, savePanel, configuration, &apple, &google};
    }
};

// A Companion over fakes on virtual time, with a bundle and its log in a temporary home.
struct CompanionHarness : FakeDesktop {
    VirtualMainQueue queue;
    FakeHttpClient http{queue};
    FakeProcessLauncher launcher;
    TempDir home;
    const std::filesystem::path resources = home / "Brisel/Contents/Resources";
    std::unique_ptr<Companion> companion;

    CompanionHarness() {
        writeFile(home / "Brisel/Contents/MacOS/node", "");
        std::filesystem::permissions(home / "Brisel/Contents/MacOS/node", std::filesystem::perms::owner_all);
        writeFile(resources / "server/server.mjs", "");
    }

    Companion& launch(CompanionSettings settings = {}) {
        settings.resources = resources;
        settings.logFolder = home / "logs";
        companion = std::make_unique<Companion>(ports(queue, http, launcher), std::move(settings));
        companion->applicationDidFinishLaunching();
        return *companion;
    }
    // Launched against a compatible server, with the page loaded.
    Companion& launchAndLoad(CompanionSettings settings = {}) {
        http.answer = [](auto&) { return statusAnswer(compatibleLocalStatus); };
        launch(std::move(settings));
        queue.runUntilIdle();
        companion->didFinishNavigation();
        return *companion;
    }
    void post(nlohmann::json body) {  // from the local page's main frame
        companion->didReceiveScriptMessage({std::move(body), true, {"http", "127.0.0.1", 47831}, webView.identity()});
    }

    std::vector<nlohmann::json> logLines() const {
        std::vector<nlohmann::json> lines;
        std::istringstream in(readFile(home / "logs/startup.log"));
        for (std::string line; std::getline(in, line);) lines.push_back(nlohmann::json::parse(line));
        return lines;
    }
    // The native events the page received, decoded from the dispatch scripts.
    std::vector<nlohmann::json> deliveredEvents() const {
        std::vector<nlohmann::json> events;
        const std::string prefix = "(() => { const detail = ";
        for (const auto& script : webView.scripts) {
            if (script.rfind(prefix, 0) == 0) events.push_back(nlohmann::json::parse(script.substr(prefix.size(), script.find("; if (") - prefix.size())));
        }
        return events;
    }
};

}  // namespace brisel::testing

#pragma once

#include <sstream>

#include <nlohmann/json.hpp>

#include "app/companion.h"
#include "core/auth_fakes.h"
#include "core/shortcut_fakes.h"
#include "fakes/fake_background_queue.h"
#include "fakes/fake_kindle_accessibility.h"
#include "fakes/fake_pasteboard.h"
#include "fakes/fake_ports.h"
#include "fakes/fake_running_applications.h"
#include "fakes/fake_save_panel.h"
#include "fakes/temp_dir.h"
#include "fakes/virtual_main_queue.h"

namespace brisel::testing {

inline const char* compatibleLocalStatus =
    R"({"provider":"codex","version":2,"capabilities":["explicit-save","knowledge-notes","note-suggestions",
        "note-context","semantic-relations","privacy-minimal-v1"]})";

inline HttpResponse statusAnswer(const std::string& body, long status = 200) {
    return {true, status, "http://127.0.0.1:47831/api/status", body};
}

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
        return {.mainQueue = queue,
                .http = http,
                .launcher = launcher,
                .application = application,
                .panel = panel,
                .webView = webView,
                .workspace = workspace,
                .background = background,
                .pasteboard = pasteboard,
                .accessibility = accessibility,
                .applications = applications,
                .hotKeys = hotKeys,
                .keyboardLayout = keyboardLayout,
                .preferences = preferences,
                .settingsWindow = settingsWindow,
                .keyRecorder = keyRecorder,
                .savePanel = savePanel,
                .configuration = configuration,
                .apple = &apple,
                .google = &google};
    }
};

// A Companion over fakes on virtual time, with its log in a temporary home.
struct CompanionHarness : FakeDesktop {
    VirtualMainQueue queue;
    FakeHttpClient http;
    FakeProcessLauncher launcher;
    TempDir home;
    std::unique_ptr<Companion> companion;

    CompanionHarness() {
        // A resources folder with a runtime and both scripts, so a launch finds its files.
        writeFile(home / "Brisel/Contents/MacOS/node", "");
        std::filesystem::permissions(home / "Brisel/Contents/MacOS/node", std::filesystem::perms::owner_all);
        writeFile(home / "Brisel/Contents/Resources/server/server.mjs", "");
    }

    std::filesystem::path resources() const { return home / "Brisel/Contents/Resources"; }
    std::filesystem::path logFolder() const { return home / "Library/Logs/Brisel"; }

    Companion& make(CompanionSettings settings = {}) {
        if (!settings.logFolder) settings.logFolder = logFolder();
        if (!settings.resources) settings.resources = resources();
        if (settings.processID == 0) settings.processID = 4242;
        companion = std::make_unique<Companion>(ports(queue, http, launcher), std::move(settings));
        return *companion;
    }

    Companion& launch(CompanionSettings settings = {}) {
        make(std::move(settings)).applicationDidFinishLaunching();
        return *companion;
    }

    std::vector<nlohmann::json> logLines() const {
        std::vector<nlohmann::json> lines;
        std::istringstream in(readFile(logFolder() / "startup.log"));
        for (std::string line; std::getline(in, line);) lines.push_back(nlohmann::json::parse(line));
        return lines;
    }

    std::vector<std::string> logEvents() const {
        std::vector<std::string> events;
        for (const auto& line : logLines()) events.push_back(line["event"]);
        return events;
    }

    // The native events the page received, decoded from the dispatch scripts.
    std::vector<nlohmann::json> deliveredEvents() const {
        std::vector<nlohmann::json> events;
        const std::string prefix = "(() => { const detail = ";
        for (const auto& script : webView.scripts) {
            if (script.rfind(prefix, 0) != 0) continue;
            const size_t end = script.find("; if (detail.type");
            events.push_back(nlohmann::json::parse(script.substr(prefix.size(), end - prefix.size())));
        }
        return events;
    }
};

}  // namespace brisel::testing

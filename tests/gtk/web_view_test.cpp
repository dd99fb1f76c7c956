// The panel's web view in the real shell, against a test page server on loopback: which frames
// the message channel speaks for, the page-load time-out, and the web inspector left off.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "fakes/temp_dir.h"
#include "gtk/child_process.h"
#include "gtk/main_loop.h"
#include "shell.h"

namespace brisel::gtk {
namespace {

using nlohmann::json;

// The shell of the product, with the page from `test_page_server.mjs` serving `page`.
class WebViewTest : public ::testing::Test {
protected:
    explicit WebViewTest(const std::string& page, Duration pageLoadTimeout = CompanionSettings().pageLoadTimeout)
        : server({BRISEL_NODE, BRISEL_TEST_PAGE_SERVER, page}),
          localURL("http://127.0.0.1:" + server.readLine()),
          shell(localURL, {std::filesystem::path(BRISEL_BUNDLE_RESOURCES), home / "state", home / "config"},
                pageLoadTimeout) {
        shell.companion().applicationDidFinishLaunching();
    }
    ~WebViewTest() override { shell.companion().applicationWillTerminate(); }

    std::vector<json> logLines() {
        std::ifstream log(home / "state/startup.log");
        std::vector<json> lines;
        for (std::string line; std::getline(log, line);) lines.push_back(json::parse(line, nullptr, false));
        return lines;
    }
    std::vector<json> logged(const std::string& event) {
        std::vector<json> found;
        for (const json& line : logLines()) {
            if (line.value("event", "") == event) found.push_back(line);
        }
        return found;
    }

    json page(const std::string& expression) {
        std::optional<ScriptResult> answer;
        shell.webView().evaluate("JSON.stringify(" + expression + ")",
                                 [&](ScriptResult result) { answer = std::move(result); });
        main_loop::runUntil([&] { return answer.has_value(); });
        if (!answer || !answer->stringValue) return nullptr;
        return json::parse(*answer->stringValue, nullptr, false);
    }

    brisel::testing::TempDir home;
    testing::ChildProcess server;
    std::string localURL;
    Shell shell;
};

class FramesTest : public WebViewTest {
protected:
    FramesTest() : WebViewTest("frames") {}
};

TEST_F(FramesTest, OnlyTheTopFrameOfTheLocalPageReachesTheNativeSide) {
    ASSERT_TRUE(main_loop::runUntil([&] { return shell.companion().pageReady(); }, 30000));
    // Each frame posted its report on its own channel before telling the top page.
    const std::vector<std::string> framesPosted = {"RangeError", "SyntaxError", "TypeError"};
    ASSERT_TRUE(main_loop::runUntil([&] { return page("window.framesPosted.length") == framesPosted.size(); }, 10000))
        << page("window.framesPosted");

    // Messages arrive in the order they were posted, so the top frame's comes after the frames'.
    page("window.postFromTop('Error')");
    ASSERT_TRUE(main_loop::runUntil([&] { return !logged("script-error").empty(); }, 10000));
    const auto reports = logged("script-error");
    ASSERT_EQ(reports.size(), 1u) << reports.back();
    EXPECT_EQ(reports[0]["errorType"], "Error");
    // The srcdoc frames never ran: their documents are not the local page's.
    EXPECT_EQ(page("window.framesPosted.sort()"), framesPosted);
}

bool inspectorEnabled(Shell& shell) {
    return webkit_settings_get_enable_developer_extras(webkit_web_view_get_settings(shell.webView().widget()));
}

TEST_F(FramesTest, TheWebInspectorIsForDevelopersOnly) {
    EXPECT_FALSE(inspectorEnabled(shell));
}

class DeveloperShellTest : public FramesTest {
protected:
    static void SetUpTestSuite() { g_setenv("BRISEL_WEB_INSPECTOR", "1", TRUE); }
    static void TearDownTestSuite() { g_unsetenv("BRISEL_WEB_INSPECTOR"); }
};

TEST_F(DeveloperShellTest, AskingForTheWebInspectorTurnsItOn) {
    EXPECT_TRUE(inspectorEnabled(shell));
}

class SilentServerTest : public WebViewTest {
protected:
    SilentServerTest() : WebViewTest("silent", Duration(300)) {}
};

TEST_F(SilentServerTest, APageThatNeverAnswersTimesOutAsTheURLLoadingSystemWould) {
    ASSERT_TRUE(main_loop::runUntil([&] { return !logged("web-error").empty(); }, 10000));
    // The load that the time-out stopped ends without a second report.
    ASSERT_TRUE(main_loop::runUntil([&] { return !webkit_web_view_is_loading(shell.webView().widget()); }));
    const auto errors = logged("web-error");
    ASSERT_EQ(errors.size(), 1u) << errors.back();
    EXPECT_EQ(errors[0]["stage"], "provisional-navigation-failed");
    EXPECT_EQ(errors[0]["domain"], "NSURLErrorDomain");
    EXPECT_EQ(errors[0]["code"], -1001);
    EXPECT_FALSE(shell.companion().pageReady());
}

}  // namespace
}  // namespace brisel::gtk

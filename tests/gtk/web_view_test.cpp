// The panel's web view in the real shell, against a test page server on loopback: which frames
// the message channel speaks for, and the page-load time-out.
#include <gtest/gtest.h>

#include <fstream>

#include <nlohmann/json.hpp>

#include "fakes/temp_dir.h"
#include "gtk/child_process.h"
#include "gtk/main_loop.h"
#include "shell.h"

namespace brisel::gtk {
namespace {

using nlohmann::json;

// The shell of the product, showing `page` of `test_page_server.mjs`.
class WebViewTest : public ::testing::Test {
protected:
    explicit WebViewTest(const std::string& page, Duration pageLoadTimeout = CompanionSettings().pageLoadTimeout)
        : server({BRISEL_NODE, BRISEL_TEST_PAGE_SERVER, page}),
          shell("http://127.0.0.1:" + server.readLine(),
                {std::filesystem::path(BRISEL_BUNDLE_RESOURCES), home / "state", home / "config"}, pageLoadTimeout) {
        shell.companion().applicationDidFinishLaunching();
    }
    ~WebViewTest() override { shell.companion().applicationWillTerminate(); }

    std::vector<json> logged(const std::string& event) {
        std::ifstream log(home / "state/startup.log");
        std::vector<json> found;
        for (std::string line; std::getline(log, line);) {
            if (json entry = json::parse(line, nullptr, false); entry.value("event", "") == event) found.push_back(entry);
        }
        return found;
    }
    json page(const std::string& expression) {
        std::optional<ScriptResult> answer;
        shell.webView().evaluate("JSON.stringify(" + expression + ")", [&](ScriptResult result) { answer = std::move(result); });
        main_loop::runUntil([&] { return answer.has_value(); });
        return answer && answer->stringValue ? json::parse(*answer->stringValue, nullptr, false) : json();
    }

    brisel::testing::TempDir home;
    testing::ChildProcess server;
    Shell shell;
};

struct FramesTest : WebViewTest {
    FramesTest() : WebViewTest("frames") {}
};

TEST_F(FramesTest, OnlyTheTopFrameOfTheLocalPageReachesTheNativeSide) {
    ASSERT_TRUE(main_loop::runUntil([&] { return shell.companion().pageReady(); }, 30000));
    // Each frame posted its report on the channel before telling the top page: the same-origin
    // frame, the sandboxed one and the one the top page wrote itself. The srcdoc frames never ran:
    // their documents are not the local page's.
    const std::vector<std::string> framesPosted = {"RangeError", "SyntaxError", "TypeError"};
    ASSERT_TRUE(main_loop::runUntil([&] { return page("window.framesPosted.sort()") == framesPosted; }, 10000))
        << page("window.framesPosted");

    // Messages arrive in the order they were posted, so the top frame's comes after the frames'.
    page("window.postFromTop('Error')");
    ASSERT_TRUE(main_loop::runUntil([&] { return !logged("script-error").empty(); }, 10000));
    const auto reports = logged("script-error");
    ASSERT_EQ(reports.size(), 1u) << reports.back();
    EXPECT_EQ(reports[0]["errorType"], "Error");
    EXPECT_FALSE(webkit_settings_get_enable_developer_extras(webkit_web_view_get_settings(shell.webView().widget())))
        << "the web inspector is for developers only";
}

struct SilentServerTest : WebViewTest {
    SilentServerTest() : WebViewTest("silent", Duration(300)) {}
};

TEST_F(SilentServerTest, APageThatNeverAnswersTimesOutOnceAsTheURLLoadingSystemWould) {
    ASSERT_TRUE(main_loop::runUntil([&] { return !logged("web-error").empty(); }, 10000));
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

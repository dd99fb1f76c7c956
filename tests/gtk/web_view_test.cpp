// The panel's web view against a test page server: which frames the channel speaks for, and the
// page-load time-out.
#include "gtk/shell_fixture.h"

#include "gtk/child_process.h"

namespace brisel::gtk {
namespace {

// `test_page_server.mjs` serving `page`, started before the shell that shows it.
struct TestPageServer {
    explicit TestPageServer(const std::string& page)
        : process({BRISEL_NODE, BRISEL_TEST_PAGE_SERVER, page}), url("http://127.0.0.1:" + process.readLine()) {}
    testing::ChildProcess process;
    std::string url;
};

struct FramesTest : TestPageServer, testing::ShellTest {
    FramesTest() : TestPageServer("frames"), ShellTest(url) {}
};

TEST_F(FramesTest, OnlyTheTopFrameOfTheLocalPageReachesTheNativeSide) {
    ASSERT_TRUE(main_loop::runUntil([&] { return shell.companion().pageReady(); }, 30000));
    // The frames that ran posted before telling the top page; the srcdoc ones never ran.
    const std::vector<std::string> framesPosted = {"RangeError", "SyntaxError", "TypeError"};
    ASSERT_TRUE(main_loop::runUntil([&] { return page("window.framesPosted.sort()") == framesPosted; }, 10000))
        << page("window.framesPosted");

    // Messages arrive in the order they were posted, so the top frame's comes after the frames'.
    page("window.webkit.messageHandlers.omvane.postMessage({action: 'diagnostic', event: 'script-error', errorType: 'Error'})");
    ASSERT_TRUE(main_loop::runUntil([&] { return !logged("script-error").empty(); }, 10000));
    const auto reports = logged("script-error");
    ASSERT_EQ(reports.size(), 1u) << reports.back();
    EXPECT_EQ(reports[0]["errorType"], "Error");
    EXPECT_FALSE(webkit_settings_get_enable_developer_extras(webkit_web_view_get_settings(shell.webView().widget())))
        << "the web inspector is for developers only";
}

struct SilentServerTest : TestPageServer, testing::ShellTest {
    SilentServerTest() : TestPageServer("silent"), ShellTest(url, Duration(300)) {}
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

#include <gtest/gtest.h>

#include "bridge/injected_scripts.h"
#include "bridge/native_events.h"
#include "fakes/page_script_runner.h"

namespace brisel {
namespace {

using nlohmann::json;
using testing::runPageScripts;

TEST(PageScriptRunner, RunsEachScriptInOnePageAndReportsWhatItReceived) {
    const auto status = nativeEventScript({{"type", "status"}, {"error", "a \"quote\" \\ \u2028 </script>"}});
    ASSERT_TRUE(status);
    testing::PageSetup setup;
    setup.probe = "window.__omvaneLastNative";
    const auto run = runPageScripts({"window.marker = 1;", "this is not javaScript", *status}, setup);
    ASSERT_TRUE(run.ran) << run.failure;
    ASSERT_EQ(run.scriptErrors.size(), 3u);
    EXPECT_EQ(run.scriptErrors[0], std::nullopt);
    ASSERT_TRUE(run.scriptErrors[1]);
    EXPECT_EQ(run.scriptErrors[1]->rfind("SyntaxError", 0), 0u);
    EXPECT_EQ(run.scriptErrors[2], std::nullopt);
    const json expected = {{"type", "status"}, {"error", "a \"quote\" \\ \u2028 </script>"}};
    EXPECT_EQ(run.details("omvane:native"), std::vector<json>{expected});
    EXPECT_EQ(run.probe, expected);
}

TEST(PageScriptRunner, RecordsMessagesPostedToTheNativeSide) {
    const auto run = runPageScripts({std::string(scripts::errorReporter),
                                     "window.webkit.messageHandlers.omvane.postMessage({action: 'capture'});"});
    ASSERT_TRUE(run.ran) << run.failure;
    EXPECT_EQ(run.posted, json::array({{{"channel", "omvane"}, {"body", {{"action", "capture"}}}}}));
}

TEST(PageScriptRunner, ReportsAListenerThatThrows) {
    const auto run = runPageScripts({"window.addEventListener('x', () => { throw new TypeError('boom'); });",
                                     "window.dispatchEvent(new CustomEvent('x'));"});
    EXPECT_TRUE(run.ran);
    EXPECT_NE(run.failure.find("TypeError: boom"), std::string::npos) << run.failure;
}

TEST(PageScriptRunner, GivesUpOnAPageThatNeverEnds) {
    testing::PageSetup setup;
    setup.timeout = std::chrono::milliseconds(1500);
    const auto run = runPageScripts({"for (;;) {}"}, setup);
    EXPECT_FALSE(run.ran);
    EXPECT_NE(run.failure.find("timed out"), std::string::npos) << run.failure;
}

TEST(PageScriptRunner, CarriesLargeScriptsBothWays) {
    // Larger than any pipe buffer, so writing and reading must interleave.
    const std::string big(3 * 1024 * 1024, 'x');
    const auto script = nativeEventScript({{"type", "status"}, {"error", big}});
    const auto run = runPageScripts({*script});
    ASSERT_TRUE(run.ran) << run.failure;
    ASSERT_EQ(run.details("omvane:native").size(), 1u);
    EXPECT_EQ(run.details("omvane:native")[0]["error"], big);
}

}  // namespace
}  // namespace brisel

#include "bridge/native_events.h"

#include <gtest/gtest.h>

#include "fakes/page_script_runner.h"

namespace brisel {
namespace {

using nlohmann::json;

// In a real JavaScript engine: any text reaches the page unchanged, since the JSON text is the
// whole literal of `detail`, and the event left for late listeners is never a selection.
TEST(NativeEventScript, DeliversAnyTextUnchangedAndNeverLeavesASelectionBehind) {
    const json status = {{"type", "status"}, {"error", "a \"quote\" \\ \u2028\u2029 </script> 日本語"}};
    const json selection = {{"type", "selection"}, {"text", "'); throw 1; ('"}};
    const auto run = testing::runPageScripts({*nativeEventScript(status), *nativeEventScript(selection)});
    ASSERT_TRUE(run.ran) << run.failure;
    EXPECT_EQ(run.details("omvane:native"), (std::vector<json>{status, selection}));
    EXPECT_EQ(run.lastNative, status);
}

}  // namespace
}  // namespace brisel

#include "bridge/native_events.h"

#include <cmath>

#include <gtest/gtest.h>

namespace brisel {
namespace {

std::vector<std::string> types(const std::vector<NativeEvent>& events) {
    std::vector<std::string> names;
    for (const auto& event : events) names.push_back(event["type"]);
    return names;
}

TEST(PendingEvents, OnlyTheNewestStatusWaitsAndOthersKeepTheirOrder) {
    PendingEvents queue;
    queue.enqueue({{"type", "status"}, {"n", 1}});
    queue.enqueue({{"type", "captureStarted"}});
    queue.enqueue({{"type", "status"}, {"n", 2}});
    queue.enqueue({{"type", "returnRequested"}});
    queue.enqueue({{"type", "status"}, {"n", 3}});
    EXPECT_EQ(types(queue.events()), (std::vector<std::string>{"captureStarted", "returnRequested", "status"}));
    EXPECT_EQ(queue.events().back()["n"], 3);
}

TEST(PendingEvents, ASelectionIsNeverQueued) {
    PendingEvents queue;
    queue.enqueue({{"type", "selection"}, {"text", "a passage"}});
    queue.enqueue({{"type", "captureStarted"}});
    EXPECT_EQ(types(queue.take()), std::vector<std::string>{"captureStarted"});
    EXPECT_TRUE(queue.events().empty());
}

TEST(NativeEventScript, CarriesTheEventAsTheWholeLiteralOfDetail) {
    const auto script = nativeEventScript({{"type", "status"}, {"error", "a \"quote\" \\ \u2028 </script>"}});
    ASSERT_TRUE(script);
    EXPECT_EQ(script->rfind("(() => { const detail = {", 0), 0u);
    EXPECT_NE(script->find(R"("a \"quote\" \\ \u2028 </script>")"), std::string::npos);
    EXPECT_NE(script->find("if (detail.type !== 'selection') window.__omvaneLastNative = detail; "
                           "window.dispatchEvent(new CustomEvent('omvane:native', { detail })); })();"),
              std::string::npos);
}

TEST(NativeEventScript, RefusesWhatCannotBeSerialised) {
    EXPECT_EQ(nativeEventScript({{"type", "status"}, {"error", "\xFF"}}), std::nullopt);
    EXPECT_EQ(nativeEventScript({{"type", "status"}, {"n", std::nan("")}}), std::nullopt);
    EXPECT_EQ(nativeEventScript({{"type", "status"}, {"n", {{"deep", -HUGE_VAL}}}}), std::nullopt);
}

}  // namespace
}  // namespace brisel

// Any JSON on the "omvane" channel from the local page: no crash, and no free text in the start-up log.
#include "fakes/companion_harness.h"
#include "fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static brisel::testing::CompanionHarness* harness = [] {
        auto* h = new brisel::testing::CompanionHarness;
        h->http.answer = [](const std::string&) { return brisel::testing::statusAnswer(brisel::testing::compatibleLocalStatus); };
        h->launch();
        h->queue.runUntilIdle();
        h->companion->didFinishNavigation();
        return h;
    }();
    brisel::ScriptMessage message;
    message.body = nlohmann::json::parse(data, data + size, nullptr, false);
    message.isMainFrame = true;
    message.origin = {"http", "127.0.0.1", 47831};
    message.webView = harness->webView.identity();  // so sign-in and export take part too
    harness->companion->didReceiveScriptMessage(message);
    harness->queue.runUntilIdle();
    for (const auto& line : harness->logLines()) {
        const std::string event = line["event"];
        brisel::fuzz::require(!(event == "script-error" || event == "unhandled-rejection") || line.size() == 3,
                              "an error report logs its name only");
    }
    return 0;
}

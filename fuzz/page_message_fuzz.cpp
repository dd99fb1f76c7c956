// Any JSON on the "omvane" channel from the local page: no crash, and no free text in the start-up log.
#include "fakes/companion_harness.h"
#include "fuzz_check.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static auto* const harness = new brisel::testing::CompanionHarness;
    [[maybe_unused]] static auto& companion = harness->launchAndLoad();
    harness->post(nlohmann::json::parse(data, data + size, nullptr, false));  // in the local page's web view, so sign-in and export take part too
    harness->queue.runUntilIdle();
    for (const auto& line : harness->logLines()) {
        const std::string event = line["event"];
        brisel::fuzz::require(!(event == "script-error" || event == "unhandled-rejection") || line.size() == 3,
                              "an error report logs its name only");
    }
    return 0;
}

// Arbitrary JSON as a reading-controls status: never crashes, and an accepted visible status
// always leaves a model that could have come from a well-formed page.
#include <cstdint>
#include <cstdlib>

#include "reading/reading_controls_model.h"
#include "util/text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto body = nlohmann::json::parse(data, data + size, nullptr, false);
    static brisel::BriselReadingControlsModel model;
    if (!model.update(body) || !model.visible) return 0;
    if (model.controlId.empty() || brisel::utf16Length(model.controlId) > 128 || model.saveAttempt < 0 ||
        model.saveAttempt > brisel::BriselReadingControlsModel::maximumSaveAttempt) {
        std::abort();
    }
    return 0;
}

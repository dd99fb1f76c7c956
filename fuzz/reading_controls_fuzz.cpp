// Arbitrary JSON as a reading-controls status: what is accepted could have come from a proper page.
#include "fuzz_check.h"
#include "reading/reading_controls_model.h"
#include "util/text.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static brisel::BriselReadingControlsModel model;
    if (!model.update(nlohmann::json::parse(data, data + size, nullptr, false)) || !model.visible) return 0;
    brisel::fuzz::require(!model.controlId.empty() && brisel::utf16Length(model.controlId) <= 128, "control id");
    brisel::fuzz::require(model.saveAttempt >= 0 && model.saveAttempt <= model.maximumSaveAttempt, "save attempt");
    return 0;
}

#pragma once

#include <string>

#include "reading/reading_controls_model.h"

namespace brisel {

// What the strip shows for the model's state; both shells draw exactly this.
struct ReadingControlsPresentation {
    bool visible = false;
    bool showsSave = false;
    bool saveEnabled = false;
    bool saveBusy = false;  // a progress indicator instead of the bookmark icon
    std::string saveTitle;
    std::string closeTitle;
    std::string status;
};

ReadingControlsPresentation presentReadingControls(const BriselReadingControlsModel& model, bool isIOS = false);

// Glass buttons on macOS 26 and later, unless transparency is reduced or the host forces the
// opaque look; bordered buttons everywhere else.
bool readingControlsUseGlass(int macOSMajorVersion, bool reduceTransparency, bool forceOpaque);

namespace reading_controls_ids {
inline constexpr const char* save = "reading-controls-save";
inline constexpr const char* close = "reading-controls-close";
inline constexpr const char* status = "reading-controls-status";
}  // namespace reading_controls_ids

}  // namespace brisel

#pragma once

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace brisel {

// A native event: a JSON object whose "type" names it.
using NativeEvent = nlohmann::json;

// The script that hands `event` to the page as the DOM event "omvane:native". The JSON text is
// the whole literal of `detail`, so any text reaches the page unchanged. Absent when the event
// cannot be serialised (NaN, infinity, text that is not UTF-8): such an event is dropped.
std::optional<std::string> nativeEventScript(const NativeEvent& event);

// Events held back while the page is not ready. A selection is never queued (a passage is not
// delivered to a page that was not showing when it was captured), and only the newest status
// waits.
class PendingEvents {
public:
    void enqueue(NativeEvent event);
    std::vector<NativeEvent> take();
    const std::vector<NativeEvent>& events() const { return events_; }

private:
    std::vector<NativeEvent> events_;
};

}  // namespace brisel

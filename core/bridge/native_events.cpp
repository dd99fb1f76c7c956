#include "bridge/native_events.h"

#include <algorithm>

#include "util/json_text.h"

namespace brisel {

namespace {

std::string typeOf(const NativeEvent& event) {
    const auto type = event.find("type");
    return type != event.end() && type->is_string() ? type->get<std::string>() : std::string();
}

}  // namespace

std::optional<std::string> nativeEventScript(const NativeEvent& event) {
    // Escaping every non-ASCII character keeps U+2028 and U+2029 from ending a line inside the
    // literal on older engines, and the output is plain ASCII whatever the input.
    const auto json = strictJSONText(event, true);
    if (!json) return std::nullopt;
    return "(() => { const detail = " + *json +
           "; if (detail.type !== 'selection') window.__omvaneLastNative = detail; "
           "window.dispatchEvent(new CustomEvent('omvane:native', { detail })); })();";
}

void PendingEvents::enqueue(NativeEvent event) {
    const std::string type = typeOf(event);
    if (type == "selection") return;
    if (type == "status") {
        std::erase_if(events_, [](const NativeEvent& queued) { return typeOf(queued) == "status"; });
    }
    events_.push_back(std::move(event));
}

std::vector<NativeEvent> PendingEvents::take() {
    return std::exchange(events_, {});
}

}  // namespace brisel

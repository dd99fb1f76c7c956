// Stored shortcut bytes come from a file any program of the user can write: whatever the loader
// keeps must be a set that validation accepts, and what decodes encodes back to the same set.
#include "core/shortcut_fakes.h"
#include "fuzz_check.h"
#include "shortcuts/shortcut_bindings.h"
#include "shortcuts/shortcut_settings.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using brisel::fuzz::require;
    const std::string bytes(brisel::fuzz::text(data, size));
    const auto decoded = brisel::decodeShortcutBindings(bytes);
    if (decoded) require(brisel::decodeShortcutBindings(brisel::encodeShortcutBindings(*decoded)) == decoded, "round trip");

    brisel::testing::FakeKeyValueStore store;
    store.values[brisel::BriselShortcutSettings::storageKey] = bytes;
    const brisel::BriselShortcutSettings settings(store);
    const auto& loaded = settings.bindings();
    if (loaded != brisel::BriselShortcutBindings{}) require(!loaded.error() && decoded == loaded, "only valid sets load");
    require(settings.message().empty() && !settings.recording() && store.writes == 0, "loading says, records and writes nothing");
    return 0;
}

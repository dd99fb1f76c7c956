// Stored shortcut bytes come from a file any program of the user can write: whatever the loader
// keeps must be a set that validation accepts, and what decodes encodes back to the same set.
#include <string>

#include "fuzz_check.h"
#include "shortcuts/shortcut_bindings.h"
#include "shortcuts/shortcut_settings.h"

namespace {

class OneValueStore final : public brisel::KeyValueStorePort {
public:
    explicit OneValueStore(std::string bytes) : bytes_(std::move(bytes)) {}
    std::optional<std::string> get(const std::string&) const override { return bytes_; }
    bool set(const std::string&, std::string_view) override { std::abort(); }

private:
    std::string bytes_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using brisel::fuzz::require;
    const std::string bytes(brisel::fuzz::text(data, size));
    const auto decoded = brisel::decodeShortcutBindings(bytes);
    if (decoded) require(brisel::decodeShortcutBindings(brisel::encodeShortcutBindings(*decoded)) == decoded, "round trip");

    OneValueStore store(bytes);
    const brisel::BriselShortcutSettings settings(store);
    const auto& loaded = settings.bindings();
    if (loaded != brisel::BriselShortcutBindings{}) require(!loaded.error() && decoded == loaded, "only valid sets load");
    require(settings.message().empty() && !settings.recording(), "loading says nothing and records nothing");
    return 0;
}

// Stored shortcut bytes come from a file any program of the user can write: decoding them must
// never throw, and whatever the loader keeps must be a set that validation accepts.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

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
    const std::string bytes(reinterpret_cast<const char*>(data), size);

    if (const auto decoded = brisel::decodeShortcutBindings(bytes)) {
        // What decodes encodes back to the same set.
        if (brisel::decodeShortcutBindings(brisel::encodeShortcutBindings(*decoded)) != decoded) std::abort();
    }

    OneValueStore store(bytes);
    const brisel::BriselShortcutSettings settings(store);
    const auto& loaded = settings.bindings();
    if (loaded != brisel::BriselShortcutBindings{} && loaded.error()) std::abort();
    if (loaded != brisel::BriselShortcutBindings{} && brisel::decodeShortcutBindings(bytes) != loaded) std::abort();
    if (!settings.message().empty() || settings.recording()) std::abort();
    return 0;
}

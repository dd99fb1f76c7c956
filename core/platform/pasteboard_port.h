#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brisel {

// The bytes of one pasteboard type, immutable and shared: copying a value never copies the
// bytes, so a snapshot of a large image holds exactly the one copy the shell read.
class PasteboardData {
public:
    PasteboardData() = default;

    // Takes the bytes over (a moved-in string is not copied).
    explicit PasteboardData(std::string bytes) {
        auto owned = std::make_shared<const std::string>(std::move(bytes));
        bytes_ = *owned;
        owner_ = std::move(owned);
    }

    // Borrows `size` bytes at `bytes` that `owner` keeps alive (the shell's NSData, say).
    PasteboardData(std::shared_ptr<const void> owner, const char* bytes, size_t size)
        : owner_(std::move(owner)), bytes_(bytes, size) {}

    std::string_view bytes() const { return bytes_; }
    size_t size() const { return bytes_.size(); }

    friend bool operator==(const PasteboardData& a, const PasteboardData& b) { return a.bytes_ == b.bytes_; }

private:
    std::shared_ptr<const void> owner_;
    std::string_view bytes_;
};

// One type of an item with its data.
struct PasteboardEntry {
    std::string type;
    PasteboardData data;

    bool operator==(const PasteboardEntry&) const = default;
};

// An item: every type it declares, in the item's own order.
using PasteboardItem = std::vector<PasteboardEntry>;

// A type as read: its data is absent when the owner could not produce it (a promised type).
struct PasteboardReadEntry {
    std::string type;
    std::optional<PasteboardData> data;
};
using PasteboardReadItem = std::vector<PasteboardReadEntry>;

// The general pasteboard (NSPasteboard.general on macOS, the CLIPBOARD selection on Linux).
// Main thread only.
class PasteboardPort {
public:
    virtual ~PasteboardPort() = default;

    // Moves on every change of contents, by any program.
    virtual int64_t changeCount() const = 0;

    // Every item, in the pasteboard's order, with every type it declares and that type's data.
    virtual std::vector<PasteboardReadItem> items() const = 0;

    // The plain-text string, when some item carries one.
    virtual std::optional<std::string> plainText() const = 0;

    // Empties the pasteboard (the change count moves).
    virtual void clear() = 0;

    // Adds all items in one call; returns that call's success.
    virtual bool write(const std::vector<PasteboardItem>& items) = 0;
};

}  // namespace brisel

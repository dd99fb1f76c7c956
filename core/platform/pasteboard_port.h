#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/main_queue.h"

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
//
// Reads answer through a completion, called exactly once on the main thread and no later than
// the deadline given: a pasteboard that answers at once (macOS) calls it before returning, one
// whose owner must be asked (X11) once the owner has answered, without blocking meanwhile.
class PasteboardPort {
public:
    // Every item, in the pasteboard's order, with every type it declares and that type's data.
    // An empty pasteboard is an empty list. Absent when the pasteboard's owner does not tell
    // what it holds: it refuses, answers nonsense, goes away, or is still silent at the deadline.
    using ItemsRead = std::optional<std::vector<PasteboardReadItem>>;
    // The plain-text string, when some item carries one and its owner hands it over in time.
    using TextRead = std::optional<std::string>;

    virtual ~PasteboardPort() = default;

    // Moves on every change of contents, by any program.
    virtual int64_t changeCount() const = 0;

    virtual void readItems(Clock::time_point deadline, std::function<void(ItemsRead)> completion) = 0;
    virtual void readPlainText(Clock::time_point deadline, std::function<void(TextRead)> completion) = 0;

    // Empties the pasteboard (the change count moves).
    virtual void clear() = 0;

    // Adds all items in one call; returns that call's success.
    virtual bool write(const std::vector<PasteboardItem>& items) = 0;
};

}  // namespace brisel

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/pasteboard_port.h"

namespace brisel::testing {

inline constexpr const char* plainTextType = "public.utf8-plain-text";

// A stored type: its bytes, or none for a promised type whose owner cannot produce the data.
struct FakePasteboardEntry {
    std::string type;
    std::optional<std::string> bytes;
    bool operator==(const FakePasteboardEntry&) const = default;
};
using FakePasteboardItem = std::vector<FakePasteboardEntry>;
using FakePasteboardContents = std::vector<FakePasteboardItem>;

inline FakePasteboardContents plainTextContents(const std::string& text) { return {{{plainTextType, text}}}; }

// The general pasteboard in memory. Other programs write with `replace`; the capture's own
// clears and writes are recorded as "capture". Every read first runs `beforeRead` with its
// name, so a test can let another program write between two reads of one round. Reads answer
// at once, as on macOS, unless `deliver` holds the answer back (to send it later, as an X11
// owner does); an owner that will not say what it holds answers `ownerRefuses`.
class FakePasteboard final : public PasteboardPort {
public:
    FakePasteboardContents contents;
    int64_t count = 1;
    std::string lastWriter = "user";
    std::vector<std::string> changes;  // who changed the contents, in order
    std::vector<std::vector<PasteboardItem>> writes;  // what the capture wrote, call by call
    int clears = 0;
    bool writeFails = false;
    std::function<void(const std::string& read)> beforeRead;
    bool ownerRefuses = false;
    std::function<void(std::function<void()> answer)> deliver = [](std::function<void()> answer) { answer(); };
    std::vector<Clock::time_point> readDeadlines;

    void replace(FakePasteboardContents newContents, const std::string& writer) {
        contents = std::move(newContents);
        ++count;
        lastWriter = writer;
        changes.push_back(writer);
    }

    int64_t changeCount() const override {
        if (beforeRead) beforeRead("changeCount");
        return count;
    }

    void readItems(Clock::time_point deadline, std::function<void(ItemsRead)> completion) override {
        readDeadlines.push_back(deadline);
        deliver([this, completion = std::move(completion)] {
            if (beforeRead) beforeRead("items");
            if (ownerRefuses) return completion(std::nullopt);
            std::vector<PasteboardReadItem> read;
            for (const auto& item : contents) {
                PasteboardReadItem& readItem = read.emplace_back();
                for (const auto& entry : item) {
                    std::optional<PasteboardData> data;
                    if (entry.bytes) data = PasteboardData(*entry.bytes);
                    readItem.push_back({entry.type, std::move(data)});
                }
            }
            completion(std::move(read));
        });
    }

    void readPlainText(Clock::time_point deadline, std::function<void(TextRead)> completion) override {
        readDeadlines.push_back(deadline);
        deliver([this, completion = std::move(completion)] {
            if (beforeRead) beforeRead("plainText");
            if (ownerRefuses) return completion(std::nullopt);
            completion(storedPlainText());
        });
    }

    std::optional<std::string> storedPlainText() const {
        for (const auto& item : contents) {
            for (const auto& entry : item) {
                if (entry.type == plainTextType) return entry.bytes;
            }
        }
        return std::nullopt;
    }

    void clear() override {
        contents.clear();
        ++count;
        ++clears;
        lastWriter = "capture";
        changes.push_back("capture");
    }

    bool write(const std::vector<PasteboardItem>& items) override {
        writes.push_back(items);
        if (writeFails) return false;
        for (const auto& item : items) {
            FakePasteboardItem& stored = contents.emplace_back();
            for (const auto& entry : item) stored.push_back({entry.type, std::string(entry.data.bytes())});
        }
        lastWriter = "capture";
        return true;
    }
};

}  // namespace brisel::testing

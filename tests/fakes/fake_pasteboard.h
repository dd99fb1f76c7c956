#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/pasteboard_port.h"

namespace brisel::testing {

// Items of (type, bytes) pairs; no bytes for a promised type whose owner cannot produce the data.
using FakePasteboardContents = std::vector<std::vector<std::pair<std::string, std::optional<std::string>>>>;

inline FakePasteboardContents plainText(const std::string& text) { return {{{"public.utf8-plain-text", text}}}; }

// The general pasteboard in memory. `log` names every change in order: the writer `replace` was
// given (Kindle, other programs), "clear" and "write" for the capture's own. `beforeRead` runs
// before every read ("changeCount", "items", "text"), for a write between two reads. Reads
// answer at once, as on macOS; `ownerRefuses` is an owner that will not say what it holds.
class FakePasteboard final : public PasteboardPort {
public:
    FakePasteboardContents contents;
    int64_t count = 1;
    std::vector<std::string> log;
    std::function<void(const std::string& read)> beforeRead;
    bool ownerRefuses = false;

    void replace(FakePasteboardContents newContents, const std::string& writer) {
        contents = std::move(newContents);
        ++count;
        log.push_back(writer);
    }

    int64_t changeCount() const override {
        if (beforeRead) beforeRead("changeCount");
        return count;
    }
    void readItems(Clock::time_point, std::function<void(ItemsRead)> completion) override {
        if (beforeRead) beforeRead("items");
        if (ownerRefuses) return completion(std::nullopt);
        std::vector<PasteboardReadItem> items;
        for (const auto& item : contents) {
            auto& read = items.emplace_back();
            for (const auto& [type, bytes] : item)
                read.push_back({type, bytes ? std::optional(PasteboardData(*bytes)) : std::nullopt});
        }
        completion(std::move(items));
    }
    void readPlainText(Clock::time_point, std::function<void(TextRead)> completion) override {
        if (beforeRead) beforeRead("text");
        for (const auto& item : contents)
            for (const auto& [type, bytes] : item)
                if (type == "public.utf8-plain-text") return completion(bytes);
        completion(std::nullopt);
    }
    void clear() override {
        contents.clear();
        ++count;
        log.push_back("clear");
    }
    bool write(const std::vector<PasteboardItem>& items) override {
        for (const auto& item : items) {
            auto& stored = contents.emplace_back();
            for (const auto& [type, data] : item) stored.push_back({type, std::string(data.bytes())});
        }
        log.push_back("write");
        return true;
    }
};

}  // namespace brisel::testing

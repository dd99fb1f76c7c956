#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "capture/hot_key_port.h"
#include "shortcuts/key_value_store_port.h"
#include "shortcuts/keyboard_layout_port.h"
#include "shortcuts/physical_keys.h"
#include "shortcuts/settings_window_port.h"

namespace brisel::testing {

// A layout as a table of key code to typed units; keys it does not list fail to translate.
struct FakeKeyboardLayout final : KeyboardLayoutPort {
    std::map<uint32_t, std::u16string> typed;
    std::u16string characters(uint32_t keyCode) const override { return typed.contains(keyCode) ? typed.at(keyCode) : u""; }

    // US: every key of the table types its own character.
    static FakeKeyboardLayout us() {
        FakeKeyboardLayout layout;
        for (const auto& entry : physicalKeys) layout.typed[entry.keyCode] = std::u16string(1, entry.key[0]);
        return layout;
    }
};

struct FakeKeyValueStore final : KeyValueStorePort {
    std::map<std::string, std::string> values;
    bool writesFail = false;
    int writes = 0;

    std::optional<std::string> get(const std::string& key) const override { return values.contains(key) ? std::optional(values.at(key)) : std::nullopt; }
    bool set(const std::string& key, std::string_view bytes) override {
        ++writes;
        if (!writesFail) values[key] = std::string(bytes);
        return !writesFail;
    }
};

// Hot keys as the event manager keeps them: a refused combination answers with an error status.
struct FakeHotKeys final : HotKeyPort {
    using Combination = std::pair<uint32_t, uint32_t>;  // key code, Carbon modifiers

    int32_t installStatus = 0;
    std::set<Combination> takenByOthers;
    bool answersWithoutRef = false;
    bool answersErrorWithRef = false;
    std::function<bool()> pressed;
    std::map<HotKeyRef, Combination> registered;
    HotKeyRef nextRef = 100;
    std::vector<std::string> calls;

    int32_t installHandler(std::function<bool()> handler) override {
        calls.push_back("install");
        if (installStatus == 0) pressed = std::move(handler);
        return installStatus;
    }
    void removeHandler() override { calls.push_back("remove"); }
    HotKeyRegistration registerHotKey(uint32_t keyCode, uint32_t modifiers) override {
        calls.push_back("register " + std::to_string(keyCode) + "/" + std::to_string(modifiers));
        if (takenByOthers.count({keyCode, modifiers})) return {-9878, std::nullopt};  // eventHotKeyExistsErr
        if (answersWithoutRef) return {0, std::nullopt};
        if (answersErrorWithRef) return {-50, HotKeyRef{999}};
        registered[nextRef] = {keyCode, modifiers};
        return {0, nextRef++};
    }
    void unregisterHotKey(HotKeyRef ref) override {
        const auto [keyCode, modifiers] = registered.at(ref);
        calls.push_back("unregister " + std::to_string(keyCode) + "/" + std::to_string(modifiers));
        registered.erase(ref);
    }

    std::vector<Combination> live() const {
        std::vector<Combination> combinations;
        for (const auto& entry : registered) combinations.push_back(entry.second);
        return combinations;
    }
};

// Ports the companion needs filled in and no test reads.
struct FakeSettingsWindow final : SettingsWindowPort { void show(BriselShortcutSettings&) override {} };
struct FakeKeyRecorder final : KeyRecorderPort { void install(KeyDown) override {} void remove() override {} };

}  // namespace brisel::testing

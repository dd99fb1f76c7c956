#pragma once

#include "capture/hot_key_port.h"

struct OpaqueEventHandlerRef;

namespace brisel::mac {

// The Carbon event manager's system-wide hot keys, on the application event target.
class MacHotKeys final : public HotKeyPort {
public:
    MacHotKeys() = default;
    ~MacHotKeys() override;
    MacHotKeys(const MacHotKeys&) = delete;
    MacHotKeys& operator=(const MacHotKeys&) = delete;

    int32_t installHandler(std::function<bool()> pressed) override;
    void removeHandler() override;
    HotKeyRegistration registerHotKey(uint32_t keyCode, uint32_t modifiers) override;
    void unregisterHotKey(HotKeyRef ref) override;

    // What the Carbon handler answers for one press.
    bool pressed() const { return pressed_ && pressed_(); }

private:
    std::function<bool()> pressed_;
    OpaqueEventHandlerRef* handler_ = nullptr;
};

}  // namespace brisel::mac

#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace brisel {

// The identity the shell registers the capture hot key under: signature 'OMVK', id 1.
inline constexpr uint32_t captureHotKeySignature = 0x4F4D564B;
inline constexpr uint32_t captureHotKeyID = 1;

// An opaque handle of one registered hot key (an EventHotKeyRef on macOS).
using HotKeyRef = uint64_t;

struct HotKeyRegistration {
    int32_t status = 0;  // 0 is success, anything else the platform's error
    std::optional<HotKeyRef> ref;
};

// The system-wide hot keys: the Carbon event manager on macOS, an X11 key grab on Linux.
class HotKeyPort {
public:
    virtual ~HotKeyPort() = default;
    // Installs the one application-level handler of hot-key presses; returns the status (0 is
    // success). `pressed` returns false when its owner is gone, which the Carbon handler answers
    // with eventNotHandledErr (-9874) and otherwise with noErr.
    virtual int32_t installHandler(std::function<bool()> pressed) = 0;
    virtual void removeHandler() = 0;
    // Registers a macOS key code with Carbon modifier bits (the Linux shell translates both).
    virtual HotKeyRegistration registerHotKey(uint32_t keyCode, uint32_t modifiers) = 0;
    virtual void unregisterHotKey(HotKeyRef ref) = 0;
};

}  // namespace brisel

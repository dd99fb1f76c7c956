#include "MacHotKeys.h"

#include <Carbon/Carbon.h>

namespace brisel::mac {

namespace {

OSStatus hotKeyPressed(EventHandlerCallRef, EventRef, void* context) {
    if (static_cast<const MacHotKeys*>(context)->pressed()) return noErr;
    return eventNotHandledErr;
}

}  // namespace

MacHotKeys::~MacHotKeys() {
    removeHandler();
}

int32_t MacHotKeys::installHandler(std::function<bool()> pressed) {
    removeHandler();
    pressed_ = std::move(pressed);
    // Made once and never disposed: the handler may be installed again after a removal.
    static const EventHandlerUPP procedure = NewEventHandlerUPP(hotKeyPressed);
    const EventTypeSpec hotKeyPressedEvent{kEventClassKeyboard, kEventHotKeyPressed};
    EventHandlerRef handler = nullptr;
    const OSStatus status =
        InstallEventHandler(GetApplicationEventTarget(), procedure, 1, &hotKeyPressedEvent, this, &handler);
    if (status != noErr) {
        pressed_ = nullptr;
        return status;
    }
    handler_ = handler;
    return status;
}

void MacHotKeys::removeHandler() {
    if (handler_) RemoveEventHandler(handler_);
    handler_ = nullptr;
    pressed_ = nullptr;
}

HotKeyRegistration MacHotKeys::registerHotKey(uint32_t keyCode, uint32_t modifiers) {
    const EventHotKeyID identity{captureHotKeySignature, captureHotKeyID};
    EventHotKeyRef ref = nullptr;
    const OSStatus status = RegisterEventHotKey(keyCode, modifiers, identity, GetApplicationEventTarget(), 0, &ref);
    HotKeyRegistration registration{status, std::nullopt};
    if (status == noErr && ref) registration.ref = reinterpret_cast<HotKeyRef>(ref);
    return registration;
}

void MacHotKeys::unregisterHotKey(HotKeyRef ref) {
    UnregisterEventHotKey(reinterpret_cast<EventHotKeyRef>(ref));
}

}  // namespace brisel::mac

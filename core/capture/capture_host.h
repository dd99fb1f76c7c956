#pragma once

#include <optional>
#include <string>

#include "bridge/native_events.h"

namespace brisel {

// What a capture needs from the object that owns it (the companion). Main thread only.
class CaptureHost {
public:
    virtual ~CaptureHost() = default;

    // The page has loaded and may receive native events.
    virtual bool pageReady() const = 0;
    virtual void dispatch(NativeEvent event) = 0;
    // The status event; `error` is the sentence to show, absent for none.
    virtual void sendStatus(const std::optional<std::string>& error) = 0;

    // Brings the panel forward and activates this application.
    virtual void showPanel() = 0;
    // Takes the panel off screen once Kindle is in front.
    virtual void orderOutPanel() = 0;

    // Gives up a pending sign-in before the user goes back to the book.
    virtual void invalidateSignIn() = 0;

    // For "returnAfterSave", which only a visible, focused panel may ask for.
    virtual bool applicationIsActive() const = 0;
    virtual bool panelIsKeyWindow() const = 0;
};

}  // namespace brisel

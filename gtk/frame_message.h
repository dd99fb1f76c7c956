#pragma once

// What the web process's extension and the panel's web view agree on. The extension gives
// every frame its own message channel and hands each message to the web view as a user message
// named after the channel, with these parameters.
namespace brisel::gtk::frame_message {

// (body as JSON text, whether the sending frame is the main frame, that frame's security origin
// as `self.origin` serialises it: "null" when opaque).
inline constexpr const char* parameterType = "(sbs)";

// The folder under the bundle's resources that the extension is built into.
inline constexpr const char* extensionsFolder = "web-extensions";

}  // namespace brisel::gtk::frame_message

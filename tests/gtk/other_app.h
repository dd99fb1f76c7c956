#pragma once

#include <string>

// What the other application of the shell's tests puts on the clipboard with "own", and every
// byte of the image of "own-large".
namespace brisel::gtk::other_app {

inline const std::string text = "the user's text";
inline const std::string html = "<b>the user's</b> text";
inline const std::string png("\x89PNG\r\n\x1a\n\0\xff", 10);
inline constexpr char largeByte = '\x5a';

}  // namespace brisel::gtk::other_app

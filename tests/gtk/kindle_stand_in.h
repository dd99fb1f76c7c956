#pragma once

#include <string>

// What the Kindle stand-in of the capture tests shows and copies.
namespace brisel::gtk::kindle_stand_in {

inline const std::string passage = "Some passage, selected in the book.";
inline const std::string title = "A Title";
inline const std::string chapter = "p. 12";
// Kindle's citation after a blank line, and one that no Kindle writes.
inline const std::string kindleCitation = "Doe, Jane. A Title (p. 12). Kindle Edition.";
inline const std::string foreignCitation = "Doe, Jane. A Title. From a web page.";
// What another program writes right after Kindle, with "interfere after".
inline const std::string interference = "written by another program";

}  // namespace brisel::gtk::kindle_stand_in

#pragma once

#include <string>

namespace brisel {

// Puts `text` in Unicode normalisation form KC (compatibility decomposition, then canonical
// composition), which turns full-width digits, letters and punctuation into their plain forms.
// False, with `text` left as it was, when the platform's normaliser fails. nfkc_icu.cpp holds
// ICU's normaliser, nfkc_corefoundation.cpp the macOS one (the SDK ships no ICU normaliser
// header).
bool normalizeToNFKC(std::u16string& text);

}  // namespace brisel

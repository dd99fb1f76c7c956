// Built on every platform but macOS, where nfkc_corefoundation.cpp takes its place; the guard
// keeps the Mac type-check of core quiet about a header its SDK lacks.
#if !defined(__APPLE__)

#include "util/nfkc.h"

#include <unicode/unorm2.h>

#include <cstdint>

namespace brisel {

bool normalizeToNFKC(std::u16string& text) {
    if (text.size() > static_cast<size_t>(INT32_MAX)) return false;
    const auto length = static_cast<int32_t>(text.size());
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* nfkc = unorm2_getNFKCInstance(&status);
    if (U_FAILURE(status)) return false;
    // Most text is already normal; the quick check spares a copy then.
    if (unorm2_spanQuickCheckYes(nfkc, text.data(), length, &status) == length && U_SUCCESS(status)) return true;
    if (U_FAILURE(status)) return false;

    std::u16string normalized(text.size(), u'\0');
    int32_t written = unorm2_normalize(nfkc, text.data(), length, normalized.data(),
                                       static_cast<int32_t>(normalized.size()), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        normalized.resize(static_cast<size_t>(written));
        status = U_ZERO_ERROR;
        written = unorm2_normalize(nfkc, text.data(), length, normalized.data(), written, &status);
    }
    if (U_FAILURE(status)) return false;
    normalized.resize(static_cast<size_t>(written));
    text = std::move(normalized);
    return true;
}

}  // namespace brisel

#endif

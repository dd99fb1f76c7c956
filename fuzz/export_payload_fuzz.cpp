// An export request is page-controlled text of up to 44 MB: what passes must be what the rules
// promise. The bytes are read as a JSON body, as the base64 text, as the archive and as the name.
#include <cstring>
#include <regex>
#include <string>

#include <nlohmann/json.hpp>

#include "auth/uuid.h"
#include "export/base64.h"
#include "export/export_payload.h"
#include "fuzz_check.h"

namespace {

using brisel::BriselExportPayload;
using brisel::fuzz::require;
using nlohmann::json;

std::string encode(std::string_view bytes) {
    static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        const size_t count = std::min<size_t>(3, bytes.size() - i);
        uint32_t group = 0;
        for (size_t j = 0; j < 3; ++j) group = group << 8 | (j < count ? static_cast<uint8_t>(bytes[i + j]) : 0);
        for (size_t j = 0; j < 4; ++j) text += j <= count ? alphabet[(group >> (18 - 6 * j)) & 63] : '=';
    }
    return text;
}

bool looksLikeZip(std::string_view bytes) {
    return bytes.size() >= brisel::minimumExportArchiveBytes && bytes.size() <= brisel::maximumExportArchiveBytes &&
           bytes.starts_with(std::string_view("PK\x03\x04", 4)) &&
           bytes.substr(bytes.size() - 22).starts_with(std::string_view("PK\x05\x06", 4));
}

bool matchesNamePattern(const std::string& name) {
    static const std::regex pattern("^Brisel-[0-9]{8}T[0-9]{6}Z\\.zip$");
    return std::regex_search(name, pattern);
}

json bodyWith(std::string base64, std::string filename = "Brisel-20250101T093000Z.zip") {
    return {{"action", "exportMarkdown"}, {"requestId", "5F1B5C2E-6A1D-4C4B-9B7E-2F0C1D2E3F40"},
            {"filename", std::move(filename)}, {"base64", std::move(base64)}};
}

void checkPromises(const json& body) {
    const auto check = BriselExportPayload::check(body);
    require(check.payload.has_value() == (check.refusal == brisel::ExportPayloadRefusal::none), "payload or refusal");
    if (!check.payload) return;
    const auto& data = check.payload->data;
    require(brisel::isUUIDString(check.payload->requestId) && matchesNamePattern(check.payload->filename) &&
                looksLikeZip({reinterpret_cast<const char*>(data.data()), data.size()}) && data.capacity() == data.size() &&
                body.at("base64").get_ref<const std::string&>().size() <= brisel::maximumExportBase64Bytes,
            "a UUID, a time-stamp file name and a ZIP-shaped archive in a buffer of its size");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(brisel::fuzz::text(data, size));

    if (const json parsed = json::parse(bytes, nullptr, false); !parsed.is_discarded()) checkPromises(parsed);

    // As base64: what decodes is the one canonical spelling of its bytes.
    if (const auto decoded = brisel::decodeBase64(bytes)) {
        require(decoded->size() == brisel::base64DecodedSize(bytes), "decoded size");
        require(encode({reinterpret_cast<const char*>(decoded->data()), decoded->size()}) == bytes, "canonical");
    }
    checkPromises(bodyWith(bytes));

    // As the archive, correctly encoded: accepted exactly when it is ZIP-shaped, byte for byte.
    const auto archive = BriselExportPayload::fromBody(bodyWith(encode(bytes)));
    require(archive.has_value() == looksLikeZip(bytes), "ZIP-shaped archives pass");
    if (archive) require(std::memcmp(archive->data.data(), data, size) == 0, "the bytes sent");

    // As the file name, against the regular expression it stands for.
    static const std::string smallestZip = encode(std::string("PK\x03\x04PK\x05\x06", 8) + std::string(18, '\0'));
    if (size <= 64) require(BriselExportPayload::fromBody(bodyWith(smallestZip, bytes)).has_value() == matchesNamePattern(bytes), "the file name rule");
    return 0;
}

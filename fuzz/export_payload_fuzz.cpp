// An export request is page-controlled text of up to 44 MB: what passes must be what the rules
// promise. The bytes are read as a JSON body, as the base64 text, as the archive and as the name.
#include <cstring>
#include <regex>

#include "auth/uuid.h"
#include "core/export_test_support.h"
#include "export/base64.h"
#include "export/export_payload.h"
#include "fuzz_check.h"

namespace {

using brisel::BriselExportPayload;
using brisel::fuzz::require;
using brisel::testing::encodeBase64;
using brisel::testing::exportBody;

bool looksLikeZip(std::string_view bytes) {
    return bytes.size() >= brisel::minimumExportArchiveBytes && bytes.size() <= brisel::maximumExportArchiveBytes &&
           bytes.starts_with(std::string_view("PK\x03\x04", 4)) &&
           bytes.substr(bytes.size() - 22).starts_with(std::string_view("PK\x05\x06", 4));
}

bool matchesNamePattern(const std::string& name) {
    static const std::regex pattern("^Brisel-[0-9]{8}T[0-9]{6}Z\\.zip$");
    return std::regex_search(name, pattern);
}

void checkPromises(const nlohmann::json& body) {
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
    if (const auto parsed = nlohmann::json::parse(bytes, nullptr, false); !parsed.is_discarded()) checkPromises(parsed);

    // As base64: what decodes is the one canonical spelling of its bytes.
    if (const auto decoded = brisel::decodeBase64(bytes)) {
        require(decoded->size() == brisel::base64DecodedSize(bytes), "decoded size");
        require(encodeBase64({decoded->begin(), decoded->end()}) == bytes, "canonical");
    }
    checkPromises(exportBody(bytes));

    // As the archive, correctly encoded: accepted exactly when it is ZIP-shaped, byte for byte.
    const auto archive = BriselExportPayload::fromBody(exportBody(encodeBase64(bytes)));
    require(archive.has_value() == looksLikeZip(bytes), "ZIP-shaped archives pass");
    if (archive) require(std::memcmp(archive->data.data(), data, size) == 0, "the bytes sent");

    // As the file name, against the regular expression it stands for.
    static const std::string smallestZip = encodeBase64(brisel::testing::zipLikeArchive(26));
    if (size <= 64) {
        const auto named = BriselExportPayload::fromBody(exportBody(smallestZip, brisel::testing::exportRequestId, bytes));
        require(named.has_value() == matchesNamePattern(bytes), "the file name rule");
    }
    return 0;
}

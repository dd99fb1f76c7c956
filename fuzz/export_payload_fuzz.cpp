// An export request is page-controlled text of up to 44 MB. Whatever it holds, checking it
// must never throw, and what passes must be what the rules promise: a UUID, a time-stamp file
// name and a ZIP-shaped archive of 22 bytes to 32 MiB. The bytes are read four ways: as a
// JSON body, as the base64 text, as the archive itself and as the file name.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>

#include <nlohmann/json.hpp>

#include "auth/uuid.h"
#include "export/base64.h"
#include "export/export_payload.h"
#include "export/markdown_export.h"

namespace {

using nlohmann::json;
using brisel::BriselExportPayload;
using brisel::ExportPayloadRefusal;

void require(bool condition) {
    if (!condition) std::abort();
}

std::string encode(const uint8_t* bytes, size_t size) {
    static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    size_t i = 0;
    for (; i + 3 <= size; i += 3) {
        const uint32_t n = (bytes[i] << 16) | (bytes[i + 1] << 8) | bytes[i + 2];
        for (int shift : {18, 12, 6, 0}) text += alphabet[(n >> shift) & 63];
    }
    if (size - i == 1) {
        const uint32_t n = bytes[i] << 16;
        text += {alphabet[n >> 18], alphabet[(n >> 12) & 63], '=', '='};
    } else if (size - i == 2) {
        const uint32_t n = (bytes[i] << 16) | (bytes[i + 1] << 8);
        text += {alphabet[n >> 18], alphabet[(n >> 12) & 63], alphabet[(n >> 6) & 63], '='};
    }
    return text;
}

bool looksLikeZip(const uint8_t* bytes, size_t size) {
    return size >= brisel::minimumExportArchiveBytes && size <= brisel::maximumExportArchiveBytes &&
           std::memcmp(bytes, "PK\x03\x04", 4) == 0 && std::memcmp(bytes + size - 22, "PK\x05\x06", 4) == 0;
}

void checkInvariants(const json& body) {
    const auto check = BriselExportPayload::check(body);
    require(check.payload.has_value() == (check.refusal == ExportPayloadRefusal::none));
    if (!check.payload) return;
    const auto& payload = *check.payload;
    static const std::regex namePattern("^Brisel-[0-9]{8}T[0-9]{6}Z\\.zip$");
    require(brisel::isUUIDString(payload.requestId));
    require(brisel::isExportFileName(payload.filename) && std::regex_search(payload.filename, namePattern));
    require(payload.data.size() >= brisel::minimumExportArchiveBytes);
    require(payload.data.size() <= brisel::maximumExportArchiveBytes);
    require(looksLikeZip(payload.data.data(), payload.data.size()));
    require(payload.data.capacity() == payload.data.size());
    require(body.at("base64").get_ref<const std::string&>().size() <= brisel::maximumExportBase64Bytes);
}

json validBody(std::string base64, std::string filename = "Brisel-20250101T093000Z.zip") {
    return {{"action", "exportMarkdown"},
            {"requestId", "5F1B5C2E-6A1D-4C4B-9B7E-2F0C1D2E3F40"},
            {"filename", std::move(filename)},
            {"base64", std::move(base64)}};
}

// The export itself, on a page that is always the local one and a sheet the user always
// dismisses: every message gets at most one answer, and nothing stays open.
class LocalPage final : public brisel::WebViewPort {
public:
    int results = 0;
    void load(const std::string&, brisel::Duration) override {}
    std::optional<std::string> currentURL() const override { return "http://127.0.0.1:47831/"; }
    const void* identity() const override { return this; }
    void evaluate(const std::string&, std::function<void(brisel::ScriptResult)>) override {}
    void callAsyncFunction(const std::string&, const json&) override { ++results; }
};

class DismissedSheet final : public brisel::SavePanelPort {
public:
    bool hasPresenter() const override { return true; }
    void beginSheet(const brisel::SaveSheetOptions&, brisel::SaveSheetCompletion completion) override {
        completion(std::nullopt);
    }
    void cancelSheet() override {}
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);

    // As a whole message body.
    const json parsed = json::parse(bytes, nullptr, false);
    if (!parsed.is_discarded()) {
        checkInvariants(parsed);
        LocalPage page;
        DismissedSheet sheet;
        brisel::BriselMarkdownExport exporter(page, "http://127.0.0.1:47831", sheet);
        exporter.handle({parsed, true, {"http", "127.0.0.1", 47831}, &page});
        require(page.results <= 1);
        require(!exporter.requestId() && !exporter.sheetOpen());
    }

    // As the base64 text: what decodes is the one canonical spelling of its bytes.
    if (const auto decoded = brisel::decodeBase64(bytes)) {
        require(decoded->size() == brisel::base64DecodedSize(bytes));
        require(encode(decoded->data(), decoded->size()) == bytes);
    }
    checkInvariants(validBody(bytes));

    // As the archive, sent correctly encoded: accepted exactly when it is ZIP-shaped.
    const auto archive = BriselExportPayload::fromBody(validBody(encode(data, size)));
    require(archive.has_value() == looksLikeZip(data, size));
    if (archive) require(std::memcmp(archive->data.data(), data, size) == 0);

    // As the file name, against the regular expression it stands for.
    if (size <= 64) {
        static const std::regex namePattern("^Brisel-[0-9]{8}T[0-9]{6}Z\\.zip$");
        require(brisel::isExportFileName(bytes) == std::regex_search(bytes, namePattern));
        static const std::string smallestZip = [] {
            std::string zip = std::string("PK\x03\x04", 4) + std::string("PK\x05\x06", 4) + std::string(18, '\0');
            return encode(reinterpret_cast<const uint8_t*>(zip.data()), zip.size());
        }();
        const auto named = BriselExportPayload::fromBody(validBody(smallestZip, bytes));
        require(named.has_value() == brisel::isExportFileName(bytes));
    }
    return 0;
}

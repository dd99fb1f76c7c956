#include "export/export_payload.h"

#include <algorithm>
#include <array>

#include "auth/uuid.h"

namespace brisel {

namespace {

using nlohmann::json;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The four keys of an export request, no more and no fewer.
bool hasExactlyExportKeys(const json& body) {
    if (!body.is_object() || body.size() != 4) return false;
    for (const char* key : {"action", "requestId", "filename", "base64"}) {
        if (!body.contains(key)) return false;
    }
    return true;
}

const std::string* stringAt(const json& body, const char* key) {
    const auto value = body.find(key);
    if (value == body.end() || !value->is_string()) return nullptr;
    return value->get_ptr<const std::string*>();
}

ExportPayloadCheck refused(ExportPayloadRefusal reason) {
    return {std::nullopt, reason};
}

}  // namespace

bool isExportFileName(std::string_view name) {
    constexpr std::string_view prefix = "Brisel-";
    constexpr std::string_view suffix = "Z.zip";
    if (name.size() != prefix.size() + 8 + 1 + 6 + suffix.size()) return false;
    if (!name.starts_with(prefix) || !name.ends_with(suffix)) return false;
    const std::string_view stamp = name.substr(prefix.size(), 15);
    return std::all_of(stamp.begin(), stamp.begin() + 8, isDigit) && stamp[8] == 'T' &&
           std::all_of(stamp.begin() + 9, stamp.end(), isDigit);
}

std::optional<BriselExportPayload> BriselExportPayload::fromBody(const json& body) {
    return check(body).payload;
}

ExportPayloadCheck BriselExportPayload::check(const json& body) {
    if (!hasExactlyExportKeys(body)) return refused(ExportPayloadRefusal::notExactKeys);

    const std::string* requestId = stringAt(body, "requestId");
    if (!requestId || !isUUIDString(*requestId)) return refused(ExportPayloadRefusal::requestId);

    const std::string* filename = stringAt(body, "filename");
    if (!filename || !isExportFileName(*filename)) return refused(ExportPayloadRefusal::filename);

    // The length is known without looking at the text, so an oversized archive costs nothing.
    const std::string* base64 = stringAt(body, "base64");
    if (!base64 || base64->size() > maximumExportBase64Bytes) return refused(ExportPayloadRefusal::base64TooLong);

    auto data = decodeBase64(*base64);
    if (!data) return refused(ExportPayloadRefusal::base64Invalid);

    if (data->size() < minimumExportArchiveBytes || data->size() > maximumExportArchiveBytes) {
        return refused(ExportPayloadRefusal::archiveSize);
    }

    constexpr std::array<std::uint8_t, 4> localHeader{0x50, 0x4B, 0x03, 0x04};
    if (!std::equal(localHeader.begin(), localHeader.end(), data->begin())) {
        return refused(ExportPayloadRefusal::localHeader);
    }

    // The end record sits exactly 22 bytes before the end: an archive with a comment is
    // refused on purpose rather than searched backwards for its record.
    constexpr std::array<std::uint8_t, 4> endRecord{0x50, 0x4B, 0x05, 0x06};
    if (!std::equal(endRecord.begin(), endRecord.end(), data->end() - 22)) {
        return refused(ExportPayloadRefusal::endRecord);
    }

    return {BriselExportPayload{*requestId, *filename, std::move(*data)}, ExportPayloadRefusal::none};
}

}  // namespace brisel

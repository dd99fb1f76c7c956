#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "export/base64.h"

namespace brisel {

// The largest archive the page may hand over, and the base64 text that carries exactly that
// many bytes: a longer text is refused before a byte of it is decoded.
inline constexpr std::size_t maximumExportArchiveBytes = 33'554'432;  // 32 MiB
inline constexpr std::size_t maximumExportBase64Bytes = 44'739'244;   // 4 * ceil(32 MiB / 3)
// An empty ZIP is just its 22-byte end record; nothing shorter can be an archive.
inline constexpr std::size_t minimumExportArchiveBytes = 22;

// Why a body was refused, the first failing rule in the order they are checked. The page is
// never told which; tests and the fuzz target are.
enum class ExportPayloadRefusal {
    none,
    notExactKeys,       // not an object with exactly "action", "requestId", "filename", "base64"
    requestId,          // not a string that parses as a UUID
    filename,           // not "Brisel-" + 8 digits + "T" + 6 digits + "Z.zip"
    base64TooLong,      // not a string, or longer than the base64 of 32 MiB; never decoded
    base64Invalid,      // not strict standard base64
    archiveSize,        // decoded to fewer than 22 or more than 32 MiB bytes
    localHeader,        // does not start with a ZIP local file header
    endRecord,          // no end-of-central-directory record exactly 22 bytes before the end
};

// True when `name` is the proposed file name the page builds from a compact UTC time stamp,
// such as "Brisel-20250101T093000Z.zip". A trailing line break is not part of a time stamp
// and is refused ("$" anchors at the very end, as in JavaScript).
bool isExportFileName(std::string_view name);

struct ExportPayloadCheck;

// One "exportMarkdown" request, checked: the page's id, the name it proposes and the archive.
struct BriselExportPayload {
    std::string requestId;
    std::string filename;
    ByteBuffer data;  // the decoded ZIP archive, 22 bytes to 32 MiB

    // Absent unless every rule holds. Reads the base64 text in place and decodes it straight
    // into `data`, so the archive exists once beyond the message that carried it.
    static std::optional<BriselExportPayload> fromBody(const nlohmann::json& body);

    // The same, also telling which rule failed first.
    static ExportPayloadCheck check(const nlohmann::json& body);
};

struct ExportPayloadCheck {
    std::optional<BriselExportPayload> payload;
    ExportPayloadRefusal refusal = ExportPayloadRefusal::none;
};

}  // namespace brisel

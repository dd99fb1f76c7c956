#include "export/export_payload.h"

#include <gtest/gtest.h>

#include "core/export_test_support.h"

namespace brisel {
namespace {

using nlohmann::json;
using namespace testing;
using Refusal = ExportPayloadRefusal;

Refusal refusalOf(const json& body) { return BriselExportPayload::check(body).refusal; }

TEST(ExportPayload, RefusesTheFirstBrokenRule) {
    const std::string archive = zipLikeArchive(100), endRecord = std::string("PK\x05\x06", 4) + std::string(18, '\0');
    const struct { std::string key; json value; Refusal expected; const char* why; } rows[] = {
        {"action", "exportMarkdown", Refusal::none, "a well-formed request"},
        {"requestId", "5f1b5c2e-6a1d-4c4b-9b7e-2f0c1d2e3f40", Refusal::none, "a lower-case UUID"},
        {"filename", "Brisel-99999999T999999Z.zip", Refusal::none, "a time stamp's shape, not a calendar"},
        {"base64", encodeBase64(zipLikeArchive(26)), Refusal::none, "the smallest archive with both records"},
        {"extra", true, Refusal::notExactKeys, "a fifth key"},
        {"base64", json(json::value_t::discarded), Refusal::notExactKeys, "a missing key"},
        {"requestId", "5F1B5C2E6A1D4C4B9B7E2F0C1D2E3F40", Refusal::requestId, "a UUID without dashes"},
        {"requestId", exportRequestId + "\n", Refusal::requestId, "a UUID and a line break"},
        {"filename", "Brisel-2025010T093000Z.zip", Refusal::filename, "seven digits before T"},
        {"filename", "Brisel-20250101T0930000Z.zip", Refusal::filename, "seven digits after T"},
        {"filename", "brisel-20250101T093000Z.zip", Refusal::filename, "a lower-case prefix"},
        {"base64", 12, Refusal::base64TooLong, "text that is no string"},
        {"base64", "YQ", Refusal::base64Invalid, "unpadded base64"},
        {"base64", "", Refusal::archiveSize, "no archive"},
        {"base64", encodeBase64(archive.substr(0, 21)), Refusal::archiveSize, "21 bytes"},
        {"base64", encodeBase64(endRecord), Refusal::localHeader, "22 bytes: the end record alone"},
        {"base64", encodeBase64(archive.substr(0, 4) + endRecord.substr(4)), Refusal::endRecord, "22 bytes: the header alone"},
        {"base64", encodeBase64("pk" + archive.substr(2)), Refusal::localHeader, "another first record"},
        {"base64", encodeBase64(archive + "c"), Refusal::endRecord, "a byte of comment after the end record"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        json body = exportBody(encodeBase64(archive));
        row.value.is_discarded() ? void(body.erase(row.key)) : void(body[row.key] = row.value);
        const auto check = BriselExportPayload::check(body);
        EXPECT_EQ(check.refusal, row.expected);
        EXPECT_EQ(check.payload.has_value(), row.expected == Refusal::none);
    }
    EXPECT_EQ(refusalOf(exportBody("!!", "not-a-uuid", "x.zip")), Refusal::requestId) << "the first rule wins";
}

TEST(ExportPayload, Takes32MiBExactlyAndRefusesLongerTextUnread) {
    const std::string largest = encodeBase64(zipLikeArchive(maximumExportArchiveBytes));
    ASSERT_EQ(largest.size(), maximumExportBase64Bytes);
    EXPECT_EQ(BriselExportPayload::fromBody(exportBody(largest))->data.size(), maximumExportArchiveBytes);
    const std::string oneMore = encodeBase64(zipLikeArchive(maximumExportArchiveBytes + 1));
    ASSERT_EQ(oneMore.size(), maximumExportBase64Bytes) << "still the longest text allowed";
    EXPECT_EQ(refusalOf(exportBody(oneMore)), Refusal::archiveSize);
    std::string text(maximumExportBase64Bytes + 1, 'A');
    text[0] = '!';  // decoding would refuse this character; one byte too long, it is never read
    EXPECT_EQ(refusalOf(exportBody(text)), Refusal::base64TooLong);
    text.pop_back();
    EXPECT_EQ(refusalOf(exportBody(text)), Refusal::base64Invalid);
}

TEST(ExportBase64, DecodesWhatTheReferenceEncoderWritesAtEveryLengthAndNothingElse) {
    for (std::string bytes; bytes.size() < 100; bytes += static_cast<char>(bytes.size() * 37 + 11)) {
        const auto decoded = decodeBase64(encodeBase64(bytes));
        ASSERT_TRUE(decoded) << bytes.size();
        EXPECT_EQ(std::string(decoded->begin(), decoded->end()), bytes);
        EXPECT_EQ(decoded->capacity(), decoded->size());
    }
    for (const char* refused : {"YQ", "YQ==YWJj", "YQ=a", "=QQQ", "YR==", "YWJ=", "YW-j", "YW\r\nYWJj", "YW\xC3\xA9"}) {
        EXPECT_FALSE(decodeBase64(refused)) << refused;
    }
    EXPECT_FALSE(decodeBase64(std::string(201, 'Q') + "\n" + std::string(198, 'Q'))) << "a line break deep in a long text";
}

}  // namespace
}  // namespace brisel

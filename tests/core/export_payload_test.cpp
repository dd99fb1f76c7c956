#include <cstring>
#include <regex>

#include <gtest/gtest.h>

#include "core/export_test_support.h"
#include "export/base64.h"
#include "export/export_payload.h"

namespace brisel {
namespace {

using nlohmann::json;
using testing::encodeBase64;
using testing::exportBody;
using testing::exportFileName;
using testing::exportRequestId;
using testing::zipLikeArchive;
using Refusal = ExportPayloadRefusal;

std::string asString(const ByteBuffer& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

Refusal refusalOf(const json& body) {
    return BriselExportPayload::check(body).refusal;
}

Refusal refusalOfArchive(const std::string& archive) {
    return refusalOf(exportBody(encodeBase64(archive)));
}

// MARK: - The request

TEST(ExportPayload, AcceptsAWellFormedRequest) {
    const std::string archive = zipLikeArchive(1000);
    const auto payload = BriselExportPayload::fromBody(exportBody(encodeBase64(archive)));
    ASSERT_TRUE(payload);
    EXPECT_EQ(payload->requestId, exportRequestId);
    EXPECT_EQ(payload->filename, exportFileName);
    EXPECT_EQ(asString(payload->data), archive);
    EXPECT_EQ(payload->data.capacity(), payload->data.size());
}

TEST(ExportPayload, NeedsExactlyTheFourKeys) {
    const json good = exportBody(encodeBase64(zipLikeArchive(64)));
    EXPECT_EQ(refusalOf(good), Refusal::none);
    auto extra = good;
    extra["extra"] = true;
    EXPECT_EQ(refusalOf(extra), Refusal::notExactKeys);
    for (const char* key : {"action", "requestId", "filename", "base64"}) {
        auto missing = good;
        missing.erase(key);
        EXPECT_EQ(refusalOf(missing), Refusal::notExactKeys) << key;
    }
    for (const json& notObject : {json::array({good}), json("exportMarkdown"), json(nullptr), json(1)}) {
        EXPECT_EQ(refusalOf(notObject), Refusal::notExactKeys) << notObject.dump().substr(0, 40);
    }
}

TEST(ExportPayload, RequestIdMustBeAStringThatParsesAsAUUID) {
    const std::string base64 = encodeBase64(zipLikeArchive(64));
    EXPECT_EQ(refusalOf(exportBody(base64, "5f1b5c2e-6a1d-4c4b-9b7e-2f0c1d2e3f40")), Refusal::none);
    for (const std::string& id : {std::string("5F1B5C2E6A1D4C4B9B7E2F0C1D2E3F40"),
                                  std::string("{5F1B5C2E-6A1D-4C4B-9B7E-2F0C1D2E3F40}"),
                                  std::string("5F1B5C2E-6A1D-4C4B-9B7E-2F0C1D2E3F4G"), exportRequestId + " ",
                                  std::string()}) {
        EXPECT_EQ(refusalOf(exportBody(base64, id)), Refusal::requestId) << id;
    }
    for (const json& id : {json(1), json(nullptr), json::array({exportRequestId})}) {
        auto body = exportBody(base64);
        body["requestId"] = id;
        EXPECT_EQ(refusalOf(body), Refusal::requestId) << id.dump();
    }
}

// MARK: - The file name

TEST(ExportPayload, FileNameIsBriselEightDigitsTSixDigitsZZip) {
    EXPECT_TRUE(isExportFileName("Brisel-20250101T093000Z.zip"));
    EXPECT_TRUE(isExportFileName("Brisel-99999999T999999Z.zip"));  // a shape, not a calendar
    for (const char* refused :
         {"Brisel-2025010T093000Z.zip", "brisel-20250101T093000Z.zip", "Brisel-20250101T093000Z.ZIP",
          "Brisel-202501011T093000Z.zip", "Brisel-20250101T09300Z.zip", "Brisel-20250101T0930000Z.zip",
          "Brisel-20250101t093000Z.zip", "Brisel-20250101T093000z.zip", "Brisel-20250101T093000Z.zip.zip",
          "Brisel-20250101T093000Zxzip", "Brisel_20250101T093000Z.zip", "Brisel-2025O101T093000Z.zip",
          " Brisel-20250101T093000Z.zip", "Brisel-20250101T093000Z.zip ", "Brisel-20250101T093000Z.zip\n",
          "Brisel-20250101T093000Z.zip\r\n", "\nBrisel-20250101T093000Z.zip", "Brisel-20250101T093000Z.zip\u2028",
          "Brisel-２０２５0101T093000Z.zip", "Brisel-20250101T093000Z.zip/../x", ""}) {
        EXPECT_FALSE(isExportFileName(refused)) << refused;
    }
    EXPECT_FALSE(isExportFileName(std::string_view("Brisel-20250101T093000Z.zip\0", 28)));
}

TEST(ExportPayload, FileNameTestAgreesWithTheRegularExpression) {
    const std::regex pattern("^Brisel-[0-9]{8}T[0-9]{6}Z\\.zip$");
    std::string name = exportFileName;
    // Every single-byte change of a good name, tested both ways.
    for (size_t i = 0; i <= name.size(); ++i) {
        for (int c : {int('0'), int('9'), int('T'), int('Z'), int('z'), int('.'), int('-'), int('A'), int('\n'), int('/'), 0x80}) {
            std::string changed = name;
            if (i == name.size()) {
                changed += static_cast<char>(c);
            } else {
                changed[i] = static_cast<char>(c);
            }
            EXPECT_EQ(isExportFileName(changed), std::regex_search(changed, pattern)) << changed;
        }
    }
}

TEST(ExportPayload, RefusesABadFileName) {
    auto body = exportBody(encodeBase64(zipLikeArchive(64)), exportRequestId, "Brisel-20250101T093000Z.ZIP");
    EXPECT_EQ(refusalOf(body), Refusal::filename);
    body["filename"] = 20250101;
    EXPECT_EQ(refusalOf(body), Refusal::filename);
}

// MARK: - Archive size

TEST(ExportPayload, ArchiveOf21BytesIsTooShortAnd22ArePastTheSizeRule) {
    EXPECT_EQ(refusalOfArchive(std::string("PK\x03\x04", 4) + std::string(17, 'x')), Refusal::archiveSize);
    // 22 bytes pass the size rule, but no 22-byte archive can begin with both a local header
    // and the end record, so the smallest accepted archive has 26 bytes.
    const std::string emptyZip = std::string("PK\x05\x06", 4) + std::string(18, '\0');
    EXPECT_EQ(refusalOfArchive(emptyZip), Refusal::localHeader);
    EXPECT_EQ(refusalOfArchive(std::string("PK\x03\x04", 4) + std::string(18, '\0')), Refusal::endRecord);
    EXPECT_EQ(refusalOfArchive(std::string("PK\x03\x04", 4) + emptyZip.substr(0, 21)), Refusal::endRecord);
    EXPECT_EQ(refusalOfArchive(zipLikeArchive(26)), Refusal::none);
    EXPECT_EQ(refusalOfArchive(""), Refusal::archiveSize);
}

TEST(ExportPayload, AcceptsExactly32MiBAndRefusesOneByteMore) {
    const std::string archive = zipLikeArchive(maximumExportArchiveBytes);
    const std::string base64 = encodeBase64(archive);
    ASSERT_EQ(base64.size(), maximumExportBase64Bytes);
    const auto check = BriselExportPayload::check(exportBody(base64));
    ASSERT_TRUE(check.payload);
    EXPECT_EQ(check.payload->data.size(), maximumExportArchiveBytes);
    EXPECT_EQ(std::memcmp(archive.data(), check.payload->data.data(), archive.size()), 0);

    // One byte more still fits in the longest text allowed, so it is decoded and then refused.
    const std::string larger = encodeBase64(zipLikeArchive(maximumExportArchiveBytes + 1));
    ASSERT_EQ(larger.size(), maximumExportBase64Bytes);
    EXPECT_EQ(refusalOf(exportBody(larger)), Refusal::archiveSize);
}

TEST(ExportPayload, RefusesAnOverlongTextWithoutDecodingIt) {
    // One byte over the limit, starting with a character that decoding would refuse: the
    // refusal names the length, so the text was never read.
    std::string overlong(maximumExportBase64Bytes + 1, 'A');
    overlong[0] = '!';
    EXPECT_EQ(refusalOf(exportBody(overlong)), Refusal::base64TooLong);

    // Valid base64 of 32 MiB + 4 bytes: decoded, it would fail the size rule instead.
    const std::string valid = encodeBase64(zipLikeArchive(maximumExportArchiveBytes + 4));
    ASSERT_EQ(valid.size(), maximumExportBase64Bytes + 4);
    EXPECT_EQ(refusalOf(exportBody(valid)), Refusal::base64TooLong);

    // At exactly the limit the same bad first character is found by decoding.
    std::string atLimit(maximumExportBase64Bytes, 'A');
    atLimit[0] = '!';
    EXPECT_EQ(refusalOf(exportBody(atLimit)), Refusal::base64Invalid);

    // Twice the limit of good base64: refused for its length, not decoded into 64 MiB.
    json hugeBody = exportBody("");
    hugeBody["base64"] = std::string(maximumExportBase64Bytes * 2, 'A');
    EXPECT_EQ(refusalOf(hugeBody), Refusal::base64TooLong);
}

TEST(ExportPayload, Base64MustBeAString) {
    for (const json& value : {json(nullptr), json(12), json::array(), json::object()}) {
        auto body = exportBody("");
        body["base64"] = value;
        EXPECT_EQ(refusalOf(body), Refusal::base64TooLong) << value.dump();
    }
}

// MARK: - Base64

TEST(ExportBase64, DecodesEveryLengthLikeTheReferenceEncoder) {
    std::string bytes;
    for (int length = 0; length < 200; ++length) {
        const auto decoded = decodeBase64(encodeBase64(bytes));
        ASSERT_TRUE(decoded) << length;
        EXPECT_EQ(asString(*decoded), bytes) << length;
        EXPECT_EQ(decoded->capacity(), decoded->size());
        bytes += static_cast<char>(length * 37 + 11);
    }
    std::string everyByte;
    for (int i = 0; i < 256; ++i) everyByte += static_cast<char>(i);
    EXPECT_EQ(asString(*decodeBase64(encodeBase64(everyByte + everyByte))), everyByte + everyByte);
    EXPECT_EQ(asString(*decodeBase64("+/+/")), "\xFB\xFF\xBF");
}

TEST(ExportBase64, PaddingIsRequiredAndOnlyClosesTheLastGroup) {
    EXPECT_EQ(asString(*decodeBase64("YQ==")), "a");
    EXPECT_EQ(asString(*decodeBase64("YWI=")), "ab");
    EXPECT_EQ(asString(*decodeBase64("YWJj")), "abc");
    EXPECT_EQ(decodeBase64("")->size(), 0u);
    for (const char* refused : {"YQ", "YQ=", "YWI", "Y", "YQ===", "YQ==YWJj", "YQ=a", "=QQQ", "Y===", "====",
                                "YWJj====", "YW=j", "YWJj=", "YQ==\n"}) {
        EXPECT_FALSE(decodeBase64(refused)) << refused;
    }
}

TEST(ExportBase64, BitsLeftOverByPaddingMustBeZero) {
    EXPECT_TRUE(decodeBase64("YQ=="));
    EXPECT_FALSE(decodeBase64("YR=="));
    EXPECT_FALSE(decodeBase64("YX=="));
    EXPECT_TRUE(decodeBase64("YWI="));
    EXPECT_FALSE(decodeBase64("YWJ="));
    EXPECT_FALSE(decodeBase64("YWL="));
}

TEST(ExportBase64, AnyOtherCharacterFailsTheWholeText) {
    const std::string good = encodeBase64(zipLikeArchive(3000));
    for (const std::string& stray : {std::string("\n"), std::string("\r\n"), std::string(" "), std::string("\t"),
                                     std::string(1, '\0'), std::string("-"), std::string("_"), std::string("."),
                                     std::string("\xC3\xA9"), std::string("=")}) {
        // At the start, in the fast middle and in the last group, always keeping the length a
        // multiple of four where it can be.
        for (size_t at : {size_t{0}, good.size() / 2, good.size() - 2}) {
            std::string text = good;
            text.replace(at, stray.size(), stray);
            EXPECT_FALSE(decodeBase64(text)) << "at " << at << ": " << json(stray).dump(-1, ' ', true);
            std::string inserted = good;
            inserted.insert(at, stray);
            EXPECT_FALSE(decodeBase64(inserted)) << "inserted at " << at;
        }
    }
    // Lines wrapped at 76 characters, as a MIME encoder would write them.
    std::string wrapped;
    for (size_t i = 0; i < good.size(); i += 76) wrapped += good.substr(i, 76) + "\r\n";
    EXPECT_FALSE(decodeBase64(wrapped));
    EXPECT_FALSE(BriselExportPayload::fromBody(exportBody(wrapped)));
}

TEST(ExportBase64, EveryByteValueOutsideTheAlphabetIsRefusedInEveryPosition) {
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::string good = encodeBase64(zipLikeArchive(300));
    for (int c = 0; c < 256; ++c) {
        if (alphabet.find(static_cast<char>(c)) != std::string::npos) continue;
        for (size_t at = 0; at < good.size(); at += 7) {
            if (c == '=' && at >= good.size() - 2) continue;  // would be padding
            std::string text = good;
            text[at] = static_cast<char>(c);
            ASSERT_FALSE(decodeBase64(text)) << "byte " << c << " at " << at;
        }
    }
}

// MARK: - ZIP records

TEST(ExportPayload, ArchiveMustStartWithALocalFileHeader) {
    std::string archive = zipLikeArchive(100);
    EXPECT_EQ(refusalOfArchive(archive), Refusal::none);
    for (const std::string& start : {std::string("PK\x03\x03", 4), std::string("PK\x05\x06", 4),
                                     std::string("pk\x03\x04", 4), std::string("\0PK\x03", 4)}) {
        archive.replace(0, 4, start);
        EXPECT_EQ(refusalOfArchive(archive), Refusal::localHeader);
    }
}

TEST(ExportPayload, EndRecordMustSitExactly22BytesBeforeTheEnd) {
    const std::string archive = zipLikeArchive(100);
    // A one-byte archive comment moves the record one byte further from the end.
    std::string commented = archive;
    commented[commented.size() - 2] = 1;  // comment length
    commented += 'c';
    EXPECT_EQ(refusalOfArchive(commented), Refusal::endRecord);
    // A stray byte after the record.
    EXPECT_EQ(refusalOfArchive(archive + "x"), Refusal::endRecord);
    std::string broken = archive;
    broken[broken.size() - 22 + 3] = 0x05;
    EXPECT_EQ(refusalOfArchive(broken), Refusal::endRecord);
}

TEST(ExportPayload, RulesAreCheckedInOrder) {
    // A body that breaks every rule is refused for its first.
    json body = exportBody("!!", "not-a-uuid", "x.zip");
    EXPECT_EQ(refusalOf(body), Refusal::requestId);
    body["requestId"] = exportRequestId;
    EXPECT_EQ(refusalOf(body), Refusal::filename);
    body["filename"] = exportFileName;
    EXPECT_EQ(refusalOf(body), Refusal::base64Invalid);
    body["base64"] = encodeBase64("short");
    EXPECT_EQ(refusalOf(body), Refusal::archiveSize);
}

}  // namespace
}  // namespace brisel

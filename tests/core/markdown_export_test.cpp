#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "app/companion.h"
#include "core/export_test_support.h"
#include "export/atomic_file.h"
#include "export/markdown_export.h"
#include "fakes/fake_ports.h"
#include "fakes/fake_save_panel.h"
#include "fakes/page_script_runner.h"
#include "fakes/temp_dir.h"

namespace brisel {
namespace {

using nlohmann::json;
using testing::encodeBase64;
using testing::exportBody;
using testing::exportFileName;
using testing::exportRequestId;
using testing::FakeSavePanel;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;
using testing::zipLikeArchive;

const std::string secondRequestId = "0E6A4C2B-1D3F-4A5B-8C7D-9E0F1A2B3C4D";

std::vector<std::string> entriesOf(const std::filesystem::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

json result(const std::string& requestId, const std::string& status) {
    return {{"requestId", requestId}, {"status", status}};
}

class MarkdownExportTest : public ::testing::Test {
protected:
    MarkdownExportTest() { webView.url = "http://127.0.0.1:47831/"; }

    ScriptMessage message(json body) const {
        return {std::move(body), true, {"http", "127.0.0.1", 47831}, &webView};
    }
    bool post(json body) { return exporter->handle(message(std::move(body))); }
    bool postExport(const std::string& archive, const std::string& id = exportRequestId) {
        return post(exportBody(encodeBase64(archive), id));
    }
    bool postCancel(std::optional<std::string> id) {
        json body = {{"action", "cancelMarkdownExport"}};
        if (id) body["requestId"] = *id;
        return post(body);
    }

    // The export results the local page received, each call made in a real engine.
    std::vector<json> pageResults(const std::string& pageOrigin = "http://127.0.0.1:47831") const {
        testing::PageSetup setup;
        setup.origin = pageOrigin;
        const auto run = testing::runPageCalls(webView.calls, setup);
        EXPECT_TRUE(run.ran) << run.failure;
        EXPECT_EQ(run.failure, "");
        for (const auto& error : run.scriptErrors) EXPECT_EQ(error, std::nullopt);
        return run.details("brisel:export-result");
    }

    testing::FakeWebView webView;
    FakeSavePanel savePanel;
    TempDir folder;
    std::unique_ptr<BriselMarkdownExport> exporter =
        std::make_unique<BriselMarkdownExport>(webView, productLocalURL, savePanel);
    const std::string archive = zipLikeArchive(4096);
};

// MARK: - Saving

TEST_F(MarkdownExportTest, SavesTheArchiveByteForByteAndLeavesNoTemporaryFile) {
    EXPECT_TRUE(postExport(archive));
    ASSERT_EQ(savePanel.sheets.size(), 1u);
    const SaveSheetOptions& sheet = savePanel.sheets[0];
    EXPECT_EQ(sheet.allowedContentTypes, std::vector<SaveContentType>{SaveContentType::zipArchive});
    EXPECT_EQ(sheet.suggestedFileName, exportFileName);
    EXPECT_TRUE(sheet.canCreateDirectories);
    EXPECT_EQ(sheet.title, "Markdownを書き出す");
    EXPECT_EQ(sheet.prompt, "書き出す");
    EXPECT_EQ(exporter->requestId(), exportRequestId);
    EXPECT_TRUE(exporter->sheetOpen());
    EXPECT_TRUE(webView.calls.empty());

    savePanel.choose(folder / "notes.zip");
    EXPECT_EQ(readFile(folder / "notes.zip"), archive);
    EXPECT_EQ(entriesOf(folder.path()), std::vector<std::string>{"notes.zip"});
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "saved")});
    EXPECT_EQ(exporter->requestId(), std::nullopt);
    EXPECT_FALSE(exporter->sheetOpen());
}

TEST_F(MarkdownExportTest, ReplacesAFileAlreadyThere) {
    writeFile(folder / "notes.zip", "an older export that was much longer than this one will be");
    postExport(archive);
    savePanel.choose(folder / "notes.zip");
    EXPECT_EQ(readFile(folder / "notes.zip"), archive);
    EXPECT_EQ(entriesOf(folder.path()), std::vector<std::string>{"notes.zip"});
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "saved")});
}

TEST_F(MarkdownExportTest, DismissingTheSheetGivesCanceled) {
    postExport(archive);
    savePanel.dismiss();
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "canceled")});
    EXPECT_TRUE(entriesOf(folder.path()).empty());
    EXPECT_EQ(exporter->requestId(), std::nullopt);
}

TEST_F(MarkdownExportTest, AWriteThatFailsGivesFailedAndLeavesThePlaceUntouched) {
    postExport(archive);
    savePanel.choose(folder / "missing-folder" / "notes.zip");
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "failed")});

    // A folder where the file should go: the rename fails and the folder keeps its contents.
    writeFile(folder / "notes.zip" / "keep.txt", "kept");
    webView.calls.clear();
    postExport(archive);
    savePanel.choose(folder / "notes.zip");
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "failed")});
    EXPECT_EQ(readFile(folder / "notes.zip" / "keep.txt"), "kept");
    EXPECT_EQ(entriesOf(folder.path()), std::vector<std::string>{"notes.zip"});
    EXPECT_EQ(exporter->requestId(), std::nullopt);
}

TEST_F(MarkdownExportTest, AReadOnlyFolderGivesFailed) {
    if (::geteuid() == 0) GTEST_SKIP() << "root writes into read-only folders";
    const auto locked = folder / "locked";
    std::filesystem::create_directories(locked);
    ::chmod(locked.c_str(), 0555);
    postExport(archive);
    savePanel.choose(locked / "notes.zip");
    ::chmod(locked.c_str(), 0755);
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "failed")});
    EXPECT_TRUE(entriesOf(locked).empty());
}

// MARK: - One export at a time

TEST_F(MarkdownExportTest, ASecondExportFailsAtOnceAndTheFirstCarriesOn) {
    postExport(archive);
    EXPECT_TRUE(postExport(zipLikeArchive(100), secondRequestId));
    EXPECT_EQ(savePanel.sheets.size(), 1u);
    EXPECT_EQ(savePanel.cancels, 0);
    EXPECT_EQ(exporter->requestId(), exportRequestId);
    EXPECT_EQ(pageResults(), std::vector<json>{result(secondRequestId, "failed")});

    savePanel.choose(folder / "notes.zip");
    EXPECT_EQ(readFile(folder / "notes.zip"), archive);
    EXPECT_EQ(pageResults(), (std::vector<json>{result(secondRequestId, "failed"), result(exportRequestId, "saved")}));
}

TEST_F(MarkdownExportTest, ASecondExportWithTheSameIdAlsoFails) {
    postExport(archive);
    postExport(archive);
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "failed")});
    savePanel.dismiss();
    EXPECT_EQ(pageResults(), (std::vector<json>{result(exportRequestId, "failed"), result(exportRequestId, "canceled")}));
}

// MARK: - Cancelling and invalidating

TEST_F(MarkdownExportTest, InvalidateGivesExactlyOneCanceled) {
    postExport(archive);
    exporter->invalidate();
    EXPECT_EQ(savePanel.cancels, 1);
    EXPECT_EQ(exporter->requestId(), std::nullopt);
    EXPECT_FALSE(exporter->sheetOpen());
    exporter->invalidate();  // nothing left to cancel
    EXPECT_EQ(savePanel.cancels, 1);
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "canceled")});
}

TEST_F(MarkdownExportTest, ALateCompletionAfterInvalidateIsIgnored) {
    savePanel.completesWhenCancelled = false;
    postExport(archive);
    exporter->invalidate();
    savePanel.choose(folder / "notes.zip");  // the sheet's answer arrives after all
    EXPECT_TRUE(entriesOf(folder.path()).empty());
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "canceled")});
}

TEST_F(MarkdownExportTest, ALateCompletionOfAnOlderSheetIsIgnoredEvenUnderTheSameId) {
    savePanel.completesWhenCancelled = false;
    postExport(archive);
    exporter->invalidate();
    const std::string newer = zipLikeArchive(300);
    postExport(newer);  // the page retries with the same id
    ASSERT_EQ(savePanel.sheets.size(), 2u);
    savePanel.choose(folder / "old.zip", 0);
    EXPECT_TRUE(entriesOf(folder.path()).empty());
    EXPECT_EQ(exporter->requestId(), exportRequestId);
    savePanel.choose(folder / "new.zip", 1);
    EXPECT_EQ(readFile(folder / "new.zip"), newer);
    EXPECT_EQ(pageResults(),
              (std::vector<json>{result(exportRequestId, "canceled"), result(exportRequestId, "saved")}));
}

TEST_F(MarkdownExportTest, CancelWithTheRunningIdGivesOneCanceled) {
    postExport(archive);
    EXPECT_TRUE(postCancel(exportRequestId));
    EXPECT_EQ(savePanel.cancels, 1);
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "canceled")});
}

TEST_F(MarkdownExportTest, CancelWithoutIdOrWithAnotherIdLeavesARunningExportAlone) {
    postExport(archive);
    EXPECT_TRUE(postCancel(std::nullopt));
    EXPECT_TRUE(postCancel(secondRequestId));
    EXPECT_TRUE(post({{"action", "cancelMarkdownExport"}, {"requestId", 7}}));
    EXPECT_EQ(savePanel.cancels, 0);
    EXPECT_EQ(exporter->requestId(), exportRequestId);
    EXPECT_TRUE(webView.calls.empty());
    savePanel.choose(folder / "notes.zip");
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "saved")});
}

TEST_F(MarkdownExportTest, CancelWhileIdleIsHarmless) {
    EXPECT_TRUE(postCancel(std::nullopt));
    EXPECT_TRUE(postCancel(exportRequestId));
    EXPECT_EQ(savePanel.cancels, 0);
    EXPECT_TRUE(webView.calls.empty());
}

TEST_F(MarkdownExportTest, ASheetThatOutlivesTheExportDoesNothing) {
    postExport(archive);
    exporter.reset();
    savePanel.choose(folder / "notes.zip");
    EXPECT_TRUE(entriesOf(folder.path()).empty());
    EXPECT_TRUE(webView.calls.empty());
}

// MARK: - Refused requests

TEST_F(MarkdownExportTest, ABadArchiveWithAUUIDIsAnsweredFailed) {
    EXPECT_TRUE(postExport(zipLikeArchive(26).substr(0, 21)));
    std::string commented = zipLikeArchive(100) + "c";
    EXPECT_TRUE(postExport(commented, secondRequestId));
    std::string wrongStart = zipLikeArchive(100);
    wrongStart[2] = 0x01;
    EXPECT_TRUE(postExport(wrongStart));
    EXPECT_TRUE(savePanel.sheets.empty());
    EXPECT_EQ(pageResults(), (std::vector<json>{result(exportRequestId, "failed"), result(secondRequestId, "failed"),
                                                result(exportRequestId, "failed")}));
    EXPECT_EQ(exporter->requestId(), std::nullopt);
}

TEST_F(MarkdownExportTest, ABadRequestWithoutAUsableIdGetsNoAnswer) {
    auto noId = exportBody(encodeBase64(archive));
    noId.erase("requestId");
    auto numericId = exportBody(encodeBase64(archive));
    numericId["requestId"] = 42;
    for (const json& body : {noId, numericId, exportBody(encodeBase64(archive), "request-1"),
                             exportBody(encodeBase64(archive), exportRequestId + "\n")}) {
        EXPECT_TRUE(post(body));
    }
    EXPECT_TRUE(savePanel.sheets.empty());
    EXPECT_TRUE(webView.calls.empty());
}

TEST_F(MarkdownExportTest, WithoutAWindowForTheSheetTheExportFails) {
    savePanel.presenter = false;
    EXPECT_TRUE(postExport(archive));
    EXPECT_TRUE(savePanel.sheets.empty());
    EXPECT_EQ(exporter->requestId(), std::nullopt);
    EXPECT_EQ(pageResults(), std::vector<json>{result(exportRequestId, "failed")});
}

TEST_F(MarkdownExportTest, OnlyTheTrustedPagesMainFrameIsHeard) {
    const json body = exportBody(encodeBase64(archive));
    auto subFrame = message(body);
    subFrame.isMainFrame = false;
    EXPECT_FALSE(exporter->handle(subFrame));
    for (const SecurityOrigin& origin : std::vector<SecurityOrigin>{{"http", "localhost", 47831},
                                                                    {"https", "127.0.0.1", 47831},
                                                                    {"HTTP", "127.0.0.1", 47831},
                                                                    {"http", "127.0.0.1", 0},
                                                                    {"http", "127.0.0.1", 8080}}) {
        auto other = message(body);
        other.origin = origin;
        EXPECT_FALSE(exporter->handle(other)) << origin.protocol << "://" << origin.host << ":" << origin.port;
    }
    // The web view object is not compared: another one showing the local page is heard.
    auto otherView = message(body);
    otherView.webView = nullptr;
    EXPECT_TRUE(exporter->accepts(otherView));
    EXPECT_TRUE(savePanel.sheets.empty());
    EXPECT_TRUE(webView.calls.empty());
}

TEST_F(MarkdownExportTest, NothingIsHeardWhileTheWebViewShowsAnotherPage) {
    const json body = exportBody(encodeBase64(archive));
    for (const std::optional<std::string>& url : {std::optional<std::string>("https://example.com/"),
                                                  std::optional<std::string>("http://localhost:47831/"),
                                                  std::optional<std::string>()}) {
        webView.url = url;
        EXPECT_FALSE(post(body));
    }
    EXPECT_TRUE(savePanel.sheets.empty());
}

TEST_F(MarkdownExportTest, OtherActionsAndMalformedBodiesAreLeftToTheNextBridge) {
    EXPECT_FALSE(post({{"action", "capture"}}));
    EXPECT_FALSE(post({{"action", "ExportMarkdown"}}));
    EXPECT_FALSE(post({{"action", 1}}));
    EXPECT_FALSE(post({{"requestId", exportRequestId}}));
    EXPECT_FALSE(post(json::array({"exportMarkdown"})));
    EXPECT_FALSE(post("exportMarkdown"));
    EXPECT_TRUE(webView.calls.empty());
}

// MARK: - Delivering the result

TEST_F(MarkdownExportTest, NoResultReachesAPageThatLeftTheLocalOrigin) {
    postExport(archive);
    webView.url = "https://example.com/elsewhere";
    savePanel.choose(folder / "notes.zip");
    EXPECT_EQ(readFile(folder / "notes.zip"), archive);  // the user's choice is still honoured
    EXPECT_TRUE(webView.calls.empty());
    EXPECT_EQ(exporter->requestId(), std::nullopt);
}

TEST_F(MarkdownExportTest, APageOnAnotherOriginIgnoresAResultThatReachesIt) {
    // The web view still reports the local URL, but the page that runs the script is elsewhere
    // (a navigation landed in between): the script checks the origin itself.
    postExport(archive);
    savePanel.dismiss();
    ASSERT_EQ(webView.calls.size(), 1u);
    EXPECT_TRUE(pageResults("http://localhost:47831").empty());
    EXPECT_TRUE(pageResults("https://127.0.0.1").empty());
    EXPECT_EQ(pageResults().size(), 1u);
}

TEST_F(MarkdownExportTest, TheResultTravelsAsArgumentsOfTheResultScript) {
    postExport(archive);
    savePanel.dismiss();
    ASSERT_EQ(webView.calls.size(), 1u);
    EXPECT_EQ(webView.calls[0].functionBody,
              "if (location.origin === expectedOrigin) window.dispatchEvent(new CustomEvent('brisel:export-result', "
              "{detail: result}));");
    EXPECT_EQ(webView.calls[0].arguments,
              (json{{"expectedOrigin", "http://127.0.0.1:47831"}, {"result", result(exportRequestId, "canceled")}}));
}

// MARK: - Atomic writes

TEST(ExportAtomicWrite, WritesReplacesAndCleansUp) {
    TempDir folder;
    const std::string bytes = zipLikeArchive(100000);
    const auto span = std::span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    EXPECT_FALSE(writeFileAtomically(folder / "a.zip", span));
    EXPECT_EQ(readFile(folder / "a.zip"), bytes);
    EXPECT_FALSE(writeFileAtomically(folder / "a.zip", span.first(10)));
    EXPECT_EQ(readFile(folder / "a.zip"), bytes.substr(0, 10));
    EXPECT_FALSE(writeFileAtomically(folder / "empty.zip", {}));
    EXPECT_EQ(std::filesystem::file_size(folder / "empty.zip"), 0u);
    EXPECT_EQ(entriesOf(folder.path()), (std::vector<std::string>{"a.zip", "empty.zip"}));
}

TEST(ExportAtomicWrite, GivesTheFileTheUsualPermissions) {
    TempDir folder;
    const mode_t mask = ::umask(022);
    const uint8_t byte = 1;
    EXPECT_FALSE(writeFileAtomically(folder / "a.zip", std::span(&byte, 1)));
    ::umask(mask);
    struct stat info{};
    ASSERT_EQ(::stat((folder / "a.zip").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644u);
}

TEST(ExportAtomicWrite, AFailureLeavesTheOldFileAndNoTemporaryFile) {
    TempDir folder;
    std::filesystem::create_directories(folder / "taken");
    writeFile(folder / "taken" / "inside", "x");
    const uint8_t byte = 1;
    EXPECT_TRUE(writeFileAtomically(folder / "taken", std::span(&byte, 1)));
    EXPECT_TRUE(writeFileAtomically(folder / "no" / "such" / "a.zip", std::span(&byte, 1)));
    EXPECT_TRUE(writeFileAtomically(folder.path() / "", std::span(&byte, 1)));
    EXPECT_EQ(entriesOf(folder.path()), std::vector<std::string>{"taken"});
    EXPECT_EQ(entriesOf(folder / "taken"), std::vector<std::string>{"inside"});
}

}  // namespace
}  // namespace brisel

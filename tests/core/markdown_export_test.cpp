#include "export/markdown_export.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "app/product.h"
#include "core/export_test_support.h"
#include "fakes/fake_ports.h"
#include "fakes/fake_save_panel.h"
#include "fakes/page_script_runner.h"
#include "fakes/temp_dir.h"

namespace brisel {
namespace {

using nlohmann::json;
using namespace testing;
using Results = std::vector<json>;

const std::string otherId = "0E6A4C2B-1D3F-4A5B-8C7D-9E0F1A2B3C4D";

json result(const std::string& requestId, const char* status) { return {{"requestId", requestId}, {"status", status}}; }

// The export bridge over a fake web view on the local page, a fake save sheet and a real folder.
struct ExportHarness {
    FakeWebView webView;
    FakeSavePanel savePanel;
    TempDir folder;
    std::unique_ptr<BriselMarkdownExport> exporter;
    const std::string archive = zipLikeArchive(4096);

    ExportHarness() {
        webView.url = "http://127.0.0.1:47831/";
        exporter = std::make_unique<BriselMarkdownExport>(webView, productLocalURL, savePanel);
    }
    ScriptMessage message(json body) const { return {std::move(body), true, {"http", "127.0.0.1", 47831}, &webView}; }
    bool post(json body) { return exporter->handle(message(std::move(body))); }
    bool postExport(const std::string& id = exportRequestId) { return post(exportBody(encodeBase64(archive), id)); }
    bool postCancel(const json& id) { return post({{"action", "cancelMarkdownExport"}, {"requestId", id}}); }
    Results results() const {
        Results sent;
        for (const auto& call : webView.calls) sent.push_back(call.arguments.at("result"));
        return sent;
    }
};

struct MarkdownExportTest : ::testing::Test { ExportHarness h; };

TEST_F(MarkdownExportTest, SavesTheArchiveOverWhatWasThereAndTellsOnlyTheLocalPage) {
    writeFile(h.folder / "notes.zip", "an older export, longer than a few bytes of this one");
    EXPECT_TRUE(h.postExport());
    EXPECT_EQ(h.savePanel.sheets.at(0).suggestedFileName, exportFileName);
    const mode_t mask = ::umask(022);
    h.savePanel.choose(h.folder / "notes.zip");
    ::umask(mask);
    EXPECT_EQ(readFile(h.folder / "notes.zip"), h.archive);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(h.folder.path()), {}), 1) << "no temporary file";
    EXPECT_EQ(std::filesystem::status(h.folder / "notes.zip").permissions(), std::filesystem::perms(0644));
    EXPECT_EQ(runPageCalls(h.webView.calls).details("brisel:export-result"), Results{result(exportRequestId, "saved")});
    PageSetup elsewhere;
    elsewhere.origin = "http://localhost:47831";  // moved after the native check: the page checks again
    EXPECT_TRUE(runPageCalls(h.webView.calls, elsewhere).details("brisel:export-result").empty());

    h.postExport();
    h.webView.url = "https://example.com/";
    h.savePanel.choose(h.folder / "again.zip");
    EXPECT_EQ(readFile(h.folder / "again.zip"), h.archive) << "the user's choice is honoured";
    EXPECT_EQ(h.webView.calls.size(), 1u) << "but a page that left hears nothing";
}

TEST(MarkdownExport, EveryWayAnExportEndsGivesExactlyOneResult) {
    const struct { std::function<void(ExportHarness&)> end; const char* status; int sheetCancels; const char* why; } rows[] = {
        {[](ExportHarness& h) { h.savePanel.choose(std::nullopt); }, "canceled", 0, "the user dismissed the sheet"},
        {[](ExportHarness& h) { h.savePanel.choose(h.folder / "missing" / "notes.zip"); }, "failed", 0, "no such folder"},
        {[](ExportHarness& h) { h.savePanel.choose(h.folder / "notes.zip"); }, "failed", 0, "a folder in the way"},
        {[](ExportHarness& h) { h.exporter->invalidate(), h.exporter->invalidate(); }, "canceled", 1, "invalidated twice"},
        {[](ExportHarness& h) { h.postCancel(exportRequestId); }, "canceled", 1, "cancelled by the page"},
        {[](ExportHarness& h) { h.savePanel.completesWhenCancelled = false, h.exporter->invalidate(), h.savePanel.choose(h.folder / "late.zip"); },
         "canceled", 1, "the sheet answers after the invalidation"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        ExportHarness h;
        writeFile(h.folder / "notes.zip" / "keep.txt", "kept");
        h.postExport();
        row.end(h);
        EXPECT_EQ(h.results(), Results{result(exportRequestId, row.status)});
        EXPECT_EQ(h.savePanel.cancels, row.sheetCancels);
        EXPECT_FALSE(h.exporter->sheetOpen() || std::filesystem::exists(h.folder / "late.zip"));
        EXPECT_EQ(readFile(h.folder / "notes.zip" / "keep.txt"), "kept");
    }
}

TEST_F(MarkdownExportTest, OneExportAtATimeAndOnlyTheNewestSheetSpeaks) {
    h.savePanel.completesWhenCancelled = false;
    h.postExport();
    EXPECT_TRUE(h.postExport(otherId) && h.postCancel(nullptr) && h.postCancel(otherId));
    EXPECT_EQ(h.results(), Results{result(otherId, "failed")}) << "the running export is not disturbed";
    h.exporter->invalidate();
    h.postExport();  // the page retries under the same id
    h.savePanel.choose(h.folder / "old.zip", 0);
    h.savePanel.choose(h.folder / "new.zip", 1);
    EXPECT_FALSE(std::filesystem::exists(h.folder / "old.zip"));
    EXPECT_EQ(h.results(), (Results{result(otherId, "failed"), result(exportRequestId, "canceled"),
                                    result(exportRequestId, "saved")}));
}

TEST_F(MarkdownExportTest, RefusedRequestsAreAnsweredFailedOnlyWhenTheirIdIsAUUID) {
    h.post(exportBody(encodeBase64(h.archive + "c")));
    h.post(exportBody(encodeBase64(h.archive), "request-1"));
    h.post({{"action", "exportMarkdown"}});  // no id to answer
    h.savePanel.presenter = false;
    h.postExport(otherId);
    EXPECT_TRUE(h.savePanel.sheets.empty());
    EXPECT_FALSE(h.post({{"action", "capture"}})) << "left to the next bridge";
    EXPECT_EQ(h.results(), (Results{result(exportRequestId, "failed"), result(otherId, "failed")}));
}

TEST(MarkdownExport, HearsOnlyTheMainFrameOfThePageItServes) {
    const struct { bool mainFrame; const char *host, *page, *why; } rows[] = {
        {false, "127.0.0.1", "http://127.0.0.1:47831/", "a sub-frame"},
        {true, "localhost", "http://127.0.0.1:47831/", "another origin"},
        {true, "127.0.0.1", "http://localhost:47831/", "the web view has moved on"},
    };
    for (const auto& row : rows) {
        ExportHarness h;
        h.webView.url = row.page;
        auto message = h.message(exportBody(encodeBase64(h.archive)));
        message.isMainFrame = row.mainFrame;
        message.origin.host = row.host;
        EXPECT_TRUE(!h.exporter->handle(message) && h.savePanel.sheets.empty()) << row.why;
    }
}

}  // namespace
}  // namespace brisel

#include "export/markdown_export.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "auth/uuid.h"
#include "export/atomic_file.h"

namespace brisel {

namespace {

using nlohmann::json;

std::optional<std::string> stringField(const json& body, const char* key) {
    const auto value = body.find(key);
    if (value == body.end() || !value->is_string()) return std::nullopt;
    return value->get<std::string>();
}

BriselAuthOrigin requiredOrigin(std::string_view allowedURL, int64_t localPort) {
    auto origin = BriselAuthOrigin::fromURL(allowedURL, localPort);
    if (!origin) {
        std::fprintf(stderr, "Brisel: the export's allowed URL %.*s is not a trusted origin.\n",
                     static_cast<int>(allowedURL.size()), allowedURL.data());
        std::abort();
    }
    return *origin;
}

}  // namespace

BriselMarkdownExport::BriselMarkdownExport(WebViewPort& webView, std::string_view allowedURL,
                                           SavePanelPort& savePanel, int64_t localPort)
    : webView_(webView), savePanel_(savePanel), localPort_(localPort), origin_(requiredOrigin(allowedURL, localPort)) {}

BriselMarkdownExport::~BriselMarkdownExport() = default;

bool BriselMarkdownExport::showsTrustedPage() const {
    const auto url = webView_.currentURL();
    if (!url) return false;
    const auto current = BriselAuthOrigin::fromURL(*url, localPort_);
    return current && *current == origin_;
}

bool BriselMarkdownExport::accepts(const ScriptMessage& message) const {
    return message.isMainFrame && showsTrustedPage() && origin_.matches(message.origin);
}

bool BriselMarkdownExport::handle(const ScriptMessage& message) {
    if (!accepts(message)) return false;
    const json& body = message.body;
    if (!body.is_object()) return false;
    const auto action = stringField(body, "action");
    if (!action) return false;

    if (*action == "cancelMarkdownExport") {
        // No id matches only no export, so a stray cancel never ends a running one.
        if (stringField(body, "requestId") == requestId_) invalidate();
        return true;
    }
    if (*action != "exportMarkdown") return false;

    // While an export runs, the answer is "failed" whatever the archive, so it is not decoded.
    if (!requestId_) {
        if (auto payload = BriselExportPayload::fromBody(body)) {
            begin(std::move(*payload));
            return true;
        }
    }
    const auto id = stringField(body, "requestId");
    if (id && isUUIDString(*id)) emit(*id, export_status::failed);
    return true;
}

void BriselMarkdownExport::begin(BriselExportPayload payload) {
    requestId_ = payload.requestId;
    if (!savePanel_.hasPresenter()) {
        finish(export_status::failed);
        return;
    }
    SaveSheetOptions options;
    options.allowedContentTypes = {SaveContentType::zipArchive};
    options.suggestedFileName = payload.filename;
    options.canCreateDirectories = true;
    options.title = export_texts::sheetTitle;
    options.prompt = export_texts::sheetPrompt;

    sheetOpen_ = true;
    const uint64_t sheet = ++sheet_;
    // Shared, so the shell may copy the completion freely without copying the archive.
    auto kept = std::make_shared<const BriselExportPayload>(std::move(payload));
    savePanel_.beginSheet(options, [this, alive = std::weak_ptr<bool>(alive_), sheet,
                                    kept](const std::optional<std::filesystem::path>& chosen) {
        if (alive.lock()) sheetDidEnd(sheet, *kept, chosen);
    });
}

void BriselMarkdownExport::sheetDidEnd(uint64_t sheet, const BriselExportPayload& payload,
                                       const std::optional<std::filesystem::path>& chosen) {
    // Cancelled, invalidated or replaced meanwhile: this sheet no longer speaks for the page.
    if (!requestId_ || *requestId_ != payload.requestId || sheet != sheet_) return;
    if (!chosen) {
        finish(export_status::canceled);
        return;
    }
    const bool written = !writeFileAtomically(*chosen, payload.data);
    finish(written ? export_status::saved : export_status::failed);
}

void BriselMarkdownExport::finish(const char* status) {
    const std::string id = *std::exchange(requestId_, std::nullopt);
    sheetOpen_ = false;
    emit(id, status);
}

void BriselMarkdownExport::invalidate() {
    // The id goes first, so the sheet's own completion that the cancel sets off finds nothing
    // to answer and the page hears exactly one "canceled".
    const auto id = std::exchange(requestId_, std::nullopt);
    if (sheetOpen_) {
        sheetOpen_ = false;
        savePanel_.cancelSheet();
    }
    if (id) emit(*id, export_status::canceled);
}

void BriselMarkdownExport::emit(const std::string& requestId, const char* status) {
    if (!showsTrustedPage()) return;
    webView_.callAsyncFunction(exportResultScript, {{"expectedOrigin", origin_.string()},
                                                    {"result", {{"requestId", requestId}, {"status", status}}}});
}

}  // namespace brisel

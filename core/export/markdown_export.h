#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "auth/auth_origin.h"
#include "bridge/script_message.h"
#include "export/export_payload.h"
#include "export/save_panel_port.h"
#include "platform/web_view_port.h"

namespace brisel {

namespace export_texts {
inline constexpr const char* sheetTitle = "Markdownを書き出す";
inline constexpr const char* sheetPrompt = "書き出す";
}  // namespace export_texts

// What the page hears back in "brisel:export-result". "canceled" has one "l" here; the
// sign-in result spells it with two. Both are what the page expects.
namespace export_status {
inline constexpr const char* saved = "saved";
inline constexpr const char* canceled = "canceled";
inline constexpr const char* failed = "failed";
}  // namespace export_status

// Hands a result to the page as "brisel:export-result", called with the arguments "result"
// ({"requestId", "status"}) and "expectedOrigin". A navigation may land before the call runs, so
// the page tests its own origin again.
inline constexpr const char* exportResultScript =
    "if (location.origin === expectedOrigin) window.dispatchEvent(new CustomEvent('brisel:export-result', {detail: result}));";

// Saves the page's Markdown export archive where the user chooses, one export at a time.
// Main thread only. The save sheet's completion holds this object weakly.
class BriselMarkdownExport {
public:
    // `allowedURL` must give a `BriselAuthOrigin` (the local page's address); anything else is
    // a programming error and stops the process. `localPort` is the port the local origin may
    // use (the product's own; tests serve on a free one).
    BriselMarkdownExport(WebViewPort& webView, std::string_view allowedURL, SavePanelPort& savePanel,
                         int64_t localPort = defaultLocalPort);
    ~BriselMarkdownExport();
    BriselMarkdownExport(const BriselMarkdownExport&) = delete;
    BriselMarkdownExport& operator=(const BriselMarkdownExport&) = delete;

    // Offered every page message first. True when the message was an export request or a
    // cancellation from the trusted page and is consumed (whatever came of it); false leaves
    // it to the next bridge.
    bool handle(const ScriptMessage& message);

    // Main frame, the web view still showing the trusted origin, and the frame's security
    // origin matching it. The web view object itself is not compared.
    bool accepts(const ScriptMessage& message) const;

    // Ends the export in flight, if any, with exactly one "canceled". Called when the
    // application terminates, when the web content process terminates and when a new
    // provisional navigation starts.
    void invalidate();

    const BriselAuthOrigin& origin() const { return origin_; }
    const std::optional<std::string>& requestId() const { return requestId_; }
    bool sheetOpen() const { return sheetOpen_; }

private:
    void begin(BriselExportPayload payload);
    void sheetDidEnd(uint64_t sheet, const BriselExportPayload& payload,
                     const std::optional<std::filesystem::path>& chosen);
    void finish(const char* status);
    bool showsTrustedPage() const;
    void emit(const std::string& requestId, const char* status);

    WebViewPort& webView_;
    SavePanelPort& savePanel_;
    int64_t localPort_;
    BriselAuthOrigin origin_;
    std::optional<std::string> requestId_;
    bool sheetOpen_ = false;
    uint64_t sheet_ = 0;  // numbers each sheet, so a late completion of an older one is ignored
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace brisel

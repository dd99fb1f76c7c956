#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brisel {

// The kinds of file a save sheet can be limited to. Each shell names them its own way: the
// system's UTType on macOS, a file-name filter on GTK.
enum class SaveContentType { zipArchive };

// How the save sheet is set up: NSSavePanel's allowedContentTypes, nameFieldStringValue,
// canCreateDirectories, title and prompt.
struct SaveSheetOptions {
    std::vector<SaveContentType> allowedContentTypes;
    std::string suggestedFileName;
    bool canCreateDirectories = true;
    std::string title;
    std::string prompt;  // the default button
};

// The chosen file, or absent when the user cancelled (or the panel answered "OK" without a
// URL, which is treated the same).
using SaveSheetCompletion = std::function<void(std::optional<std::filesystem::path>)>;

// The save panel, shown as a sheet on the window that carries it (the reader panel).
class SavePanelPort {
public:
    virtual ~SavePanelPort() = default;

    // False once that window is gone; an export then fails without a sheet.
    virtual bool hasPresenter() const = 0;

    // Shows a new sheet. `completion` runs on the main thread when it ends, possibly after
    // `cancelSheet` and possibly from inside it; core recognises such late calls itself.
    virtual void beginSheet(const SaveSheetOptions& options, SaveSheetCompletion completion) = 0;

    // Ends the sheet on screen as if the user had cancelled it.
    virtual void cancelSheet() = 0;
};

}  // namespace brisel

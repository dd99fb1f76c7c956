#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "export/save_panel_port.h"

namespace brisel::testing {

// The save panel as a sheet: records what it was asked to show and lets the test end it.
// Like AppKit, cancelling a sheet runs its completion with no URL, from inside `cancelSheet`.
struct FakeSavePanel final : SavePanelPort {
    bool presenter = true;
    bool completesWhenCancelled = true;
    std::vector<SaveSheetOptions> sheets;
    std::vector<SaveSheetCompletion> completions;
    int cancels = 0;

    bool hasPresenter() const override { return presenter; }
    void beginSheet(const SaveSheetOptions& options, SaveSheetCompletion completion) override {
        sheets.push_back(options);
        completions.push_back(std::move(completion));
    }
    void cancelSheet() override {
        ++cancels;
        if (completesWhenCancelled && !completions.empty()) completions.back()(std::nullopt);
    }

    // Ends the newest sheet, or the one begun at `sheet`, with the user's choice (none: dismissed).
    void choose(std::optional<std::filesystem::path> path, size_t sheet = SIZE_MAX) {
        completions.at(sheet == SIZE_MAX ? completions.size() - 1 : sheet)(std::move(path));
    }
};

}  // namespace brisel::testing

#pragma once

#import <AppKit/AppKit.h>

#include "export/save_panel_port.h"

namespace brisel::mac {

class MacPanel;

// NSSavePanel as a sheet on the reader panel.
class MacSavePanel final : public SavePanelPort {
public:
    explicit MacSavePanel(const MacPanel& presenter) : presenter_(presenter) {}

    bool hasPresenter() const override;
    void beginSheet(const SaveSheetOptions& options, SaveSheetCompletion completion) override;
    void cancelSheet() override;

private:
    const MacPanel& presenter_;
    NSSavePanel* sheet_ = nil;
};

}  // namespace brisel::mac

#include "MacSavePanel.h"

#import <UniformTypeIdentifiers/UniformTypeIdentifiers.h>

#include "Conversions.h"
#include "MacPanel.h"

namespace brisel::mac {

bool MacSavePanel::hasPresenter() const {
    return presenter_.window() != nil;
}

void MacSavePanel::beginSheet(const SaveSheetOptions& options, SaveSheetCompletion completion) {
    NSSavePanel* sheet = [NSSavePanel savePanel];
    NSMutableArray<UTType*>* types = [NSMutableArray array];
    for (const std::string& identifier : options.allowedContentTypes) {
        if (UTType* type = [UTType typeWithIdentifier:nsString(identifier)]) [types addObject:type];
    }
    sheet.allowedContentTypes = types;
    sheet.nameFieldStringValue = nsString(options.suggestedFileName);
    sheet.canCreateDirectories = options.canCreateDirectories;
    sheet.title = nsString(options.title);
    sheet.prompt = nsString(options.prompt);
    sheet_ = sheet;
    [sheet beginSheetModalForWindow:presenter_.window()
                  completionHandler:^(NSModalResponse response) {
                    if (sheet_ == sheet) sheet_ = nil;
                    std::optional<std::filesystem::path> chosen;
                    if (response == NSModalResponseOK && sheet.URL) chosen = sheet.URL.fileSystemRepresentation;
                    completion(std::move(chosen));
                  }];
}

void MacSavePanel::cancelSheet() {
    // The sheet's completion runs from inside endSheet, with the cancel response.
    if (NSSavePanel* sheet = sheet_) [sheet.sheetParent endSheet:sheet returnCode:NSModalResponseCancel];
}

}  // namespace brisel::mac

#include "MacSavePanel.h"

#import <UniformTypeIdentifiers/UniformTypeIdentifiers.h>

#include <cstdlib>

#include "Conversions.h"
#include "MacPanel.h"

namespace brisel::mac {

namespace {

UTType* systemType(SaveContentType type) {
    switch (type) {
    case SaveContentType::zipArchive:
        return UTTypeZIP;
    }
    std::abort();  // not a SaveContentType
}

}  // namespace

bool MacSavePanel::hasPresenter() const {
    return presenter_.window() != nil;
}

void MacSavePanel::beginSheet(const SaveSheetOptions& options, SaveSheetCompletion completion) {
    NSSavePanel* sheet = [NSSavePanel savePanel];
    NSMutableArray<UTType*>* types = [NSMutableArray array];
    for (const SaveContentType contentType : options.allowedContentTypes) {
        // A sheet limited to fewer types than core asked for would be a quiet bug: stop instead.
        UTType* type = systemType(contentType);
        if (!type) std::abort();
        [types addObject:type];
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
    // As its Cancel button does: the panel ends itself, whether or not a window still carries it,
    // and its completion runs with the cancel response.
    if (NSSavePanel* sheet = sheet_) [sheet cancel:nil];
}

}  // namespace brisel::mac

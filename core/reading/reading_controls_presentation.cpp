#include "reading/reading_controls_presentation.h"

#include "app/texts.h"

namespace brisel {

ReadingControlsPresentation presentReadingControls(const BriselReadingControlsModel& model, bool isIOS) {
    ReadingControlsPresentation shown;
    shown.visible = model.visible;
    if (!model.visible) return shown;
    shown.showsSave = model.showsSaveAction();
    shown.saveEnabled = model.canSave();
    shown.saveBusy = model.isSaving();
    shown.saveTitle = model.isSaving() ? texts::savingToKnowledge
                      : isIOS          ? texts::saveToKnowledgeShort
                                       : texts::saveToKnowledgeAndReturn;
    if (model.closesWithoutSaving()) {
        shown.closeTitle = isIOS ? texts::closeWithoutSaving : texts::returnWithoutSaving;
    } else {
        shown.closeTitle = isIOS ? texts::close : texts::returnToReading;
    }
    shown.status = model.saving || model.saveRequested ? texts::saveContinuesWhenClosed
                   : model.pending                     ? texts::noteBeingWritten
                                                       : texts::savedNotesInDictionary;
    return shown;
}

bool readingControlsUseGlass(int macOSMajorVersion, bool reduceTransparency, bool forceOpaque) {
    return macOSMajorVersion >= 26 && !reduceTransparency && !forceOpaque;
}

}  // namespace brisel

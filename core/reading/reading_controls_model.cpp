#include "reading/reading_controls_model.h"

#include <cmath>
#include <initializer_list>

#include "util/text.h"

namespace brisel {

namespace {

using nlohmann::json;

std::optional<bool> trueBoolean(const json& message, const char* key) {
    const json& value = message.at(key);
    if (!value.is_boolean()) return std::nullopt;  // a number 0 or 1 is not a boolean
    return value.get<bool>();
}

// A whole, non-negative number the page can count exactly; 3.0 from JavaScript is whole.
std::optional<int64_t> wholeAttempt(const json& value) {
    if (value.is_number_unsigned()) {
        const auto number = value.get<uint64_t>();
        if (number > static_cast<uint64_t>(BriselReadingControlsModel::maximumSaveAttempt)) return std::nullopt;
        return static_cast<int64_t>(number);
    }
    if (value.is_number_integer()) {
        const auto number = value.get<int64_t>();
        if (number < 0 || number > BriselReadingControlsModel::maximumSaveAttempt) return std::nullopt;
        return number;
    }
    if (value.is_number_float()) {
        const double number = value.get<double>();
        if (!std::isfinite(number) || number < 0 || std::floor(number) != number ||
            number > static_cast<double>(BriselReadingControlsModel::maximumSaveAttempt)) {
            return std::nullopt;
        }
        return static_cast<int64_t>(number);
    }
    return std::nullopt;
}

bool isValidControlId(const std::string& id, bool visible) {
    if (!isValidUTF8(id) || utf16Length(id) > BriselReadingControlsModel::maximumControlIdUTF16Units ||
        containsControlCharacter(id)) {
        return false;
    }
    return !visible || !trimWhitespaceAndNewlines(id).empty();
}

}  // namespace

bool BriselReadingControlsModel::update(const json& message) {
    static const std::initializer_list<const char*> keys = {
        "action", "visible", "controlId", "draft", "pending", "saving", "returningAfterSave", "saveAttempt"};
    if (!message.is_object() || message.size() != keys.size()) return false;
    for (const char* key : keys) {
        if (!message.contains(key)) return false;
    }
    if (message["action"] != "readingControls" || !message["controlId"].is_string()) return false;

    const auto isVisible = trueBoolean(message, "visible");
    const auto isDraft = trueBoolean(message, "draft");
    const auto isPending = trueBoolean(message, "pending");
    const auto isSaving = trueBoolean(message, "saving");
    const auto isReturning = trueBoolean(message, "returningAfterSave");
    const auto attempt = wholeAttempt(message["saveAttempt"]);
    const std::string id = message["controlId"].get<std::string>();
    if (!isVisible || !isDraft || !isPending || !isSaving || !isReturning || !attempt ||
        !isValidControlId(id, *isVisible)) {
        return false;
    }

    if (!*isVisible) {
        reset();
        return true;
    }
    const bool sameSession = lastState_ && lastState_->controlId == id;
    if (sameSession && *attempt < lastState_->saveAttempt) return false;  // stale
    // A new session, or the page has taken up the save request with a new attempt.
    if (!sameSession || *attempt > lastState_->saveAttempt) saveRequested = false;
    lastState_ = LastState{id, *isDraft, *isPending, *isSaving, *isReturning, *attempt};

    controlId = id;
    draft = *isDraft;
    pending = *isPending;
    saving = *isSaving;
    returningAfterSave = *isReturning;
    saveAttempt = *attempt;
    visible = true;
    changed();
    return true;
}

bool BriselReadingControlsModel::perform(const std::string& action, const std::string& id) {
    if (!visible || id.empty() || id != controlId || !onAction) return false;
    if (action == saveAndReturnRequested) {
        if (!canSave()) return false;
        saveRequested = true;  // the button looks busy at once, before the page answers
        changed();
        onAction(action, controlId);
        return true;
    }
    if (action == returnRequested) {
        onAction(action, controlId);
        return true;
    }
    return false;
}

void BriselReadingControlsModel::reset() {
    visible = false;
    controlId.clear();
    draft = pending = saving = returningAfterSave = saveRequested = false;
    saveAttempt = 0;
    lastState_.reset();
    changed();
}

void BriselReadingControlsModel::setShortcutHints(ShortcutHint save, ShortcutHint giveBack) {
    if (save == saveShortcut && giveBack == returnShortcut) return;
    saveShortcut = std::move(save);
    returnShortcut = std::move(giveBack);
    changed();
}

void BriselReadingControlsModel::changed() {
    if (onChange) onChange();
}

}  // namespace brisel

#include "shortcuts/shortcut_settings.h"

#include <utility>

#include "shortcuts/physical_keys.h"
#include "shortcuts/shortcut_texts.h"

namespace brisel {

namespace {

BriselShortcutBindings loadBindings(const KeyValueStorePort& store) {
    const auto stored = store.get(BriselShortcutSettings::storageKey);
    if (!stored) return {};
    const auto decoded = decodeShortcutBindings(*stored);
    // A partly usable value is not patched up: any fault brings back the whole default set.
    if (!decoded || decoded->error()) return {};
    return *decoded;
}

}  // namespace

BriselShortcutSettings::BriselShortcutSettings(KeyValueStorePort& store)
    : store_(store), bindings_(loadBindings(store)) {}

void BriselShortcutSettings::setMessage(std::string message) {
    message_ = std::move(message);
    published();
}

void BriselShortcutSettings::begin(BriselShortcutAction action) {
    message_.clear();
    recording_ = action;
    published();
    if (onRecordingChange) onRecordingChange(true);
}

void BriselShortcutSettings::cancel() {
    if (recording_) endRecording();
}

void BriselShortcutSettings::accept(const BriselKeyEvent& event) {
    if (!recording_ || event.isRepeat) return;
    if (event.keyCode == key_code::escape || event.keyCode == key_code::tab) {
        cancel();
        return;
    }
    BriselShortcutBindings candidate = bindings_;
    candidate[*recording_] = BriselKeyBinding::fromEvent(event);
    // A refused key keeps the recorder open so the user can try another combination.
    if (apply(candidate) && recording_) endRecording();
}

bool BriselShortcutSettings::apply(const BriselShortcutBindings& candidate) {
    auto refusal = candidate.error();
    if (!refusal && onApply) refusal = onApply(candidate);
    if (!refusal && !store_.set(storageKey, encodeShortcutBindings(candidate))) refusal = shortcut_texts::saveFailed;
    if (refusal) {
        setMessage(std::move(*refusal));
        return false;
    }
    bindings_ = candidate;
    message_ = shortcut_texts::saved;
    published();
    if (onChange) onChange();
    return true;
}

void BriselShortcutSettings::restore() {
    if (apply(BriselShortcutBindings{}) && recording_) endRecording();
}

BriselShortcutSettings::ObserverID BriselShortcutSettings::addObserver(std::function<void()> observer) {
    observers_.emplace_back(nextObserver_, std::move(observer));
    return nextObserver_++;
}

void BriselShortcutSettings::removeObserver(ObserverID observer) {
    std::erase_if(observers_, [&](const auto& entry) { return entry.first == observer; });
}

void BriselShortcutSettings::endRecording() {
    recording_.reset();
    published();
    if (onRecordingChange) onRecordingChange(false);
}

void BriselShortcutSettings::published() {
    // A copy, so an observer may add or remove observers while it is told.
    const auto observers = observers_;
    for (const auto& entry : observers) entry.second();
}

}  // namespace brisel

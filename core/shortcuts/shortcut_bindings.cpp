#include "shortcuts/shortcut_bindings.h"

#include <cstdint>
#include <limits>
#include <utility>

namespace brisel {

namespace {

std::optional<uint32_t> decodeField(const nlohmann::json& object, const char* name) {
    const auto field = object.find(name);
    // Booleans and fractions are not integers here. A signed integer is one written with a
    // minus sign, of which only -0 is in range.
    if (field == object.end() || !field->is_number_integer()) return std::nullopt;
    const bool inRange = field->is_number_unsigned() ? field->get<uint64_t>() <= std::numeric_limits<uint32_t>::max()
                                                     : field->get<int64_t>() == 0;
    if (!inRange) return std::nullopt;
    return static_cast<uint32_t>(field->get<uint64_t>());
}

std::optional<BriselKeyBinding> decodeBinding(const nlohmann::json& root, BriselShortcutAction action) {
    const auto entry = root.find(std::string(actionName(action)));
    if (entry == root.end() || !entry->is_object()) return std::nullopt;
    const auto keyCode = decodeField(*entry, "keyCode");
    const auto modifiers = decodeField(*entry, "modifiers");
    if (!keyCode || !modifiers) return std::nullopt;
    return BriselKeyBinding{*keyCode, *modifiers};
}

}  // namespace

const BriselKeyBinding& BriselShortcutBindings::operator[](BriselShortcutAction action) const {
    switch (action) {
    case BriselShortcutAction::capture: return capture;
    case BriselShortcutAction::saveAndReturn: return saveAndReturn;
    case BriselShortcutAction::returnToReading: break;
    }
    return returnToReading;
}

BriselKeyBinding& BriselShortcutBindings::operator[](BriselShortcutAction action) {
    return const_cast<BriselKeyBinding&>(std::as_const(*this)[action]);
}

nlohmann::json BriselShortcutBindings::webValue(const KeyboardLayoutPort& layout) const {
    nlohmann::json value = nlohmann::json::object();
    for (const auto action : allShortcutActions) value[std::string(actionName(action))] = (*this)[action].webValue(layout);
    return value;
}

std::string encodeShortcutBindings(const BriselShortcutBindings& bindings) {
    nlohmann::json value = nlohmann::json::object();
    for (const auto action : allShortcutActions) {
        value[std::string(actionName(action))] = {{"keyCode", bindings[action].keyCode}, {"modifiers", bindings[action].modifiers}};
    }
    return value.dump();
}

std::optional<BriselShortcutBindings> decodeShortcutBindings(std::string_view bytes) noexcept {
    const auto root = nlohmann::json::parse(bytes, nullptr, false);
    if (!root.is_object()) return std::nullopt;
    BriselShortcutBindings bindings;
    for (const auto action : allShortcutActions) {
        const auto binding = decodeBinding(root, action);
        if (!binding) return std::nullopt;
        bindings[action] = *binding;
    }
    return bindings;
}

}  // namespace brisel

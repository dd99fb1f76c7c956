#include "MacAccessibility.h"

#include <ApplicationServices/ApplicationServices.h>

namespace brisel::mac {

namespace {

// Core Foundation only, no Objective-C objects: the search runs on a queue without a run loop.
struct Released {
    void operator()(CFTypeRef value) const {
        if (value) CFRelease(value);
    }
};
using Owned = std::unique_ptr<const void, Released>;

Owned cfString(const std::string& text) {
    return Owned(CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(text.data()),
                                         static_cast<CFIndex>(text.size()), kCFStringEncodingUTF8, false));
}

AXUIElementRef axElement(const AccessibilityElement& element) {
    return static_cast<AXUIElementRef>(const_cast<void*>(element.get()));
}

// Takes over one reference to `element`.
AccessibilityElement adopted(CFTypeRef element) {
    return AccessibilityElement(std::shared_ptr<const void>(element, CFRelease));
}

bool isElement(CFTypeRef value) {
    return value && CFGetTypeID(value) == AXUIElementGetTypeID();
}

// The attribute's value, or nothing when the element is empty or the call fails.
Owned copyAttribute(const AccessibilityElement& element, const std::string& name) {
    if (!element) return nullptr;
    const Owned attribute = cfString(name);
    if (!attribute) return nullptr;
    CFTypeRef value = nullptr;
    const AXError error =
        AXUIElementCopyAttributeValue(axElement(element), static_cast<CFStringRef>(attribute.get()), &value);
    Owned owned(value);
    if (error != kAXErrorSuccess) return nullptr;
    return owned;
}

std::string utf8(CFStringRef string) {
    const CFIndex length = CFStringGetLength(string);
    CFIndex size = 0;
    CFStringGetBytes(string, CFRangeMake(0, length), kCFStringEncodingUTF8, 0, false, nullptr, 0, &size);
    std::string text(static_cast<size_t>(size), '\0');
    CFStringGetBytes(string, CFRangeMake(0, length), kCFStringEncodingUTF8, 0, false,
                     reinterpret_cast<UInt8*>(text.data()), size, nullptr);
    return text;
}

}  // namespace

bool MacAccessibility::isProcessTrusted(bool prompt) {
    if (!prompt) return AXIsProcessTrusted();
    const void* keys[] = {kAXTrustedCheckOptionPrompt};
    const void* values[] = {kCFBooleanTrue};
    const Owned options(CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                                           &kCFTypeDictionaryValueCallBacks));
    return AXIsProcessTrustedWithOptions(static_cast<CFDictionaryRef>(options.get()));
}

AccessibilityElement MacAccessibility::applicationElement(int32_t processID) {
    AXUIElementRef element = AXUIElementCreateApplication(processID);
    if (!element) return {};
    return adopted(element);
}

void MacAccessibility::setMessagingTimeout(const AccessibilityElement& element, Duration timeout) {
    if (!element) return;
    AXUIElementSetMessagingTimeout(axElement(element), std::chrono::duration<float>(timeout).count());
}

std::optional<std::string> MacAccessibility::stringAttribute(const AccessibilityElement& element,
                                                             const std::string& name) {
    const Owned value = copyAttribute(element, name);
    if (!value || CFGetTypeID(value.get()) != CFStringGetTypeID()) return std::nullopt;
    return utf8(static_cast<CFStringRef>(value.get()));
}

std::optional<AccessibilityElement> MacAccessibility::elementAttribute(const AccessibilityElement& element,
                                                                       const std::string& name) {
    Owned value = copyAttribute(element, name);
    if (!isElement(value.get())) return std::nullopt;
    return adopted(value.release());
}

std::optional<std::vector<AccessibilityElement>> MacAccessibility::elementsAttribute(
    const AccessibilityElement& element, const std::string& name) {
    const Owned value = copyAttribute(element, name);
    if (!value || CFGetTypeID(value.get()) != CFArrayGetTypeID()) return std::nullopt;
    const auto array = static_cast<CFArrayRef>(value.get());
    const CFIndex count = CFArrayGetCount(array);
    std::vector<AccessibilityElement> elements;
    elements.reserve(static_cast<size_t>(count));
    for (CFIndex index = 0; index < count; ++index) {
        CFTypeRef child = CFArrayGetValueAtIndex(array, index);
        if (!isElement(child)) return std::nullopt;
        elements.push_back(adopted(CFRetain(child)));
    }
    return elements;
}

std::optional<double> MacAccessibility::numberAttribute(const AccessibilityElement& element,
                                                        const std::string& name) {
    const Owned value = copyAttribute(element, name);
    if (!value) return std::nullopt;
    const CFTypeID type = CFGetTypeID(value.get());
    if (type == CFBooleanGetTypeID()) return CFBooleanGetValue(static_cast<CFBooleanRef>(value.get())) ? 1 : 0;
    if (type != CFNumberGetTypeID()) return std::nullopt;
    // A lossy conversion (a huge integer) still gives the nearest double, which is what core reads.
    double number = 0;
    CFNumberGetValue(static_cast<CFNumberRef>(value.get()), kCFNumberDoubleType, &number);
    return number;
}

int32_t MacAccessibility::performAction(const AccessibilityElement& element, const std::string& action) {
    if (!element) return kAXErrorInvalidUIElement;
    const Owned name = cfString(action);
    if (!name) return kAXErrorIllegalArgument;
    return AXUIElementPerformAction(axElement(element), static_cast<CFStringRef>(name.get()));
}

}  // namespace brisel::mac

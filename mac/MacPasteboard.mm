#include "MacPasteboard.h"

#import <AppKit/AppKit.h>

#include "Conversions.h"

namespace brisel::mac {

namespace {

PasteboardData borrowed(NSData* data) {
    // `bytes` flattens a discontiguous NSData once and stays valid for the object's life.
    const char* bytes = static_cast<const char*>(data.bytes);
    return PasteboardData(std::shared_ptr<const void>(CFBridgingRetain(data), CFRelease), bytes, data.length);
}

// The bytes handed back without a copy: the NSData keeps the entry's owner until it goes.
NSData* lent(const PasteboardData& data) {
    if (data.size() == 0) return [NSData data];
    const PasteboardData kept = data;
    return [[NSData alloc] initWithBytesNoCopy:const_cast<char*>(kept.bytes().data())
                                        length:kept.size()
                                   deallocator:^(void*, NSUInteger) {
                                     (void)kept;
                                   }];
}

}  // namespace

int64_t MacPasteboard::changeCount() const {
    return NSPasteboard.generalPasteboard.changeCount;
}

void MacPasteboard::readItems(Clock::time_point, std::function<void(ItemsRead)> completion) {
    std::vector<PasteboardReadItem> items;
    for (NSPasteboardItem* item in NSPasteboard.generalPasteboard.pasteboardItems) {
        PasteboardReadItem entries;
        for (NSPasteboardType type in item.types) {
            PasteboardReadEntry entry{stdString(type), std::nullopt};
            // Nil when the owner cannot produce a promised type.
            if (NSData* data = [item dataForType:type]) entry.data = borrowed(data);
            entries.push_back(std::move(entry));
        }
        items.push_back(std::move(entries));
    }
    completion(std::move(items));
}

void MacPasteboard::readPlainText(Clock::time_point, std::function<void(TextRead)> completion) {
    completion(optionalString([NSPasteboard.generalPasteboard stringForType:NSPasteboardTypeString]));
}

void MacPasteboard::clear() {
    [NSPasteboard.generalPasteboard clearContents];
}

bool MacPasteboard::write(const std::vector<PasteboardItem>& items) {
    NSMutableArray<NSPasteboardItem*>* written = [NSMutableArray arrayWithCapacity:items.size()];
    for (const PasteboardItem& item : items) {
        NSPasteboardItem* pasteboardItem = [[NSPasteboardItem alloc] init];
        for (const PasteboardEntry& entry : item) [pasteboardItem setData:lent(entry.data) forType:nsString(entry.type)];
        [written addObject:pasteboardItem];
    }
    return [NSPasteboard.generalPasteboard writeObjects:written];
}

}  // namespace brisel::mac

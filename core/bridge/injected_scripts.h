#pragma once

#include <string>
#include <string_view>

namespace brisel::scripts {

#if defined(__APPLE__)
inline constexpr std::string_view nativePlatform = "macos";
#else
inline constexpr std::string_view nativePlatform = "linux";
#endif

// Injected at document start in the main frame, before any page script: what the native host
// offers. `platform` is a fixed identifier, never user text.
inline std::string capabilityFlags(std::string_view platform = nativePlatform) {
    return "window.omvaneNative = true; window.briselNativeAuth = true; "
           "window.briselNativePlatform = '" + std::string(platform) +
           "'; window.briselNativeReadingControls = true; window.briselNativeExport = true; "
           "window.briselNativeShortcuts = true;";
}

// Injected after the flags: reports script errors and unhandled rejections by their error name
// only. A message, stack or URL never leaves the page.
inline constexpr const char* errorReporter = R"JS((() => {
  const knownTypes = new Set(['Error', 'TypeError', 'ReferenceError', 'SyntaxError', 'RangeError',
    'EvalError', 'URIError', 'ResourceError']);
  const report = (event, errorType) => {
    try {
      window.webkit.messageHandlers.omvane.postMessage({
        action: 'diagnostic',
        event,
        errorType: knownTypes.has(errorType) ? errorType : 'UnknownError',
      });
    } catch (_) {}
  };
  window.addEventListener('error', (event) => {
    report('script-error', event.error ? event.error.name : 'ResourceError');
  }, true);
  window.addEventListener('unhandledrejection', (event) => {
    report('unhandled-rejection', event.reason instanceof Error ? event.reason.name : 'UnknownError');
  });
})();)JS";

// Measures the page for the start-up log: readiness, whether the root rendered, the viewport.
inline constexpr const char* pageMetrics =
    "JSON.stringify({readyState:document.readyState,bodyTextLength:document.body?.innerText.length ?? -1,\n"
    "  rootChildren:document.getElementById('root')?.childElementCount ?? -1,nativeType:typeof window.omvaneNative,\n"
    "  scriptCount:document.scripts.length,viewportWidth:window.innerWidth,viewportHeight:window.innerHeight,\n"
    "  rootWidth:document.getElementById('root')?.getBoundingClientRect().width ?? -1,\n"
    "  rootHeight:document.getElementById('root')?.getBoundingClientRect().height ?? -1})";

}  // namespace brisel::scripts

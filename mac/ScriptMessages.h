#pragma once

#import <WebKit/WebKit.h>

#include "bridge/script_message.h"

namespace brisel::mac {

// A message from the page as core reads it. The body keeps JavaScript's types apart: true is a
// boolean and never the number 1, and whole numbers arrive as integers, as JSON text has them.
ScriptMessage scriptMessageOf(WKScriptMessage* message);

}  // namespace brisel::mac

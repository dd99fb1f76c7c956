#pragma once

#include <nlohmann/json.hpp>

#include "auth/auth_origin.h"

namespace brisel {

// One message the page posted on the "omvane" channel, as the shell's web view delivered it.
// The body keeps the page's types apart: a JavaScript `1` is not `true`, and 1.5 is not 1.
struct ScriptMessage {
    nlohmann::json body;
    bool isMainFrame = false;
    SecurityOrigin origin;           // the sending frame's security origin
    const void* webView = nullptr;   // which web view sent it, compared by identity only
};

}  // namespace brisel

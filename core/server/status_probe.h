#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/http_client.h"

namespace brisel {

enum class Probe {
    ready,        // our server, compatible with this build's backend mode
    unavailable,  // nothing answered at the transport level
    mismatch,     // something answered, but not a compatible server of ours
};

// Where the page server must answer from: the host and port of the local URL.
struct ServerEndpoint {
    std::string host;
    int64_t port = 0;
};

inline constexpr Duration probeTimeout{750};

// Classifies one answer of "api/status". A server of the other backend mode, a float version,
// a missing capability, an HTTP error or an answer from another host or port is a mismatch.
Probe classifyStatusResponse(const std::optional<HttpResponse>& response, bool cloudBackend,
                             const ServerEndpoint& endpoint);

}  // namespace brisel

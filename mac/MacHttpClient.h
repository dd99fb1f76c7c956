#pragma once

#include "platform/http_client.h"

namespace brisel::mac {

// GET through the shared URL session. The completion runs on the session's delegate queue;
// core classifies the answer there and hops to the main queue itself.
class MacHttpClient final : public HttpClient {
public:
    void get(const std::string& url, Duration timeout,
             std::function<void(std::optional<HttpResponse>)> completion) override;
};

}  // namespace brisel::mac

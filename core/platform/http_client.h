#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/main_queue.h"

namespace brisel {

struct HttpResponse {
    bool isHTTP = true;  // false when the transport answered with something that is not HTTP
    long status = 0;
    std::string url;     // the URL that finally answered (after redirects)
    std::string body;
};

class HttpClient {
public:
    virtual ~HttpClient() = default;
    // One GET without any cache. The completion runs on any thread, exactly once; an absent
    // response means a transport error (nothing listening, time-out, reset).
    virtual void get(const std::string& url, Duration timeout,
                     std::function<void(std::optional<HttpResponse>)> completion) = 0;
};

}  // namespace brisel

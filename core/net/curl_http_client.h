#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "platform/http_client.h"

namespace brisel {

// GET over libcurl on one worker thread; requests run one after another, each bounded by its
// time-out, and completions run on that thread. The destructor finishes the request in flight,
// answers the queued ones as transport errors and joins the thread.
class CurlHttpClient final : public HttpClient {
public:
    CurlHttpClient();
    ~CurlHttpClient() override;

    void get(const std::string& url, Duration timeout,
             std::function<void(std::optional<HttpResponse>)> completion) override;

private:
    struct Request {
        std::string url;
        Duration timeout;
        std::function<void(std::optional<HttpResponse>)> completion;
    };

    void run();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Request> requests_;
    bool stopping_ = false;
    std::thread worker_;
};

}  // namespace brisel

#include "net/curl_http_client.h"

#include <curl/curl.h>

namespace brisel {

namespace {

size_t appendBody(char* data, size_t size, size_t count, void* body) {
    static_cast<std::string*>(body)->append(data, size * count);
    return size * count;
}

std::optional<HttpResponse> perform(const std::string& url, Duration timeout) {
    CURL* curl = curl_easy_init();
    if (!curl) return std::nullopt;
    HttpResponse response;
    curl_slist* headers = curl_slist_append(nullptr, "Cache-Control: no-cache");
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(timeout.count()));
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    // Follow redirects as the platform URL loaders do; the caller checks where the answer came from.
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &response.body);
    const CURLcode result = curl_easy_perform(curl);
    std::optional<HttpResponse> answer;
    if (result == CURLE_OK) {
        char* effective = nullptr;
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &response.status);
        curl_easy_getinfo(curl, CURLINFO_EFFECTIVE_URL, &effective);
        response.url = effective ? effective : url;
        answer = std::move(response);
    } else if (result == CURLE_WEIRD_SERVER_REPLY || result == CURLE_UNSUPPORTED_PROTOCOL) {
        // Something answered, but not in HTTP.
        response.isHTTP = false;
        answer = std::move(response);
    }
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    return answer;
}

}  // namespace

CurlHttpClient::CurlHttpClient() {
    curl_global_init(CURL_GLOBAL_DEFAULT);
    worker_ = std::thread([this] { run(); });
}

CurlHttpClient::~CurlHttpClient() {
    {
        std::lock_guard guard(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    worker_.join();
}

void CurlHttpClient::get(const std::string& url, Duration timeout,
                         std::function<void(std::optional<HttpResponse>)> completion) {
    {
        std::lock_guard guard(mutex_);
        requests_.push_back({url, timeout, std::move(completion)});
    }
    wake_.notify_one();
}

void CurlHttpClient::run() {
    for (;;) {
        Request request;
        {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !requests_.empty(); });
            if (requests_.empty()) return;
            request = std::move(requests_.front());
            requests_.pop_front();
            if (stopping_) {
                lock.unlock();
                request.completion(std::nullopt);
                continue;
            }
        }
        request.completion(perform(request.url, request.timeout));
    }
}

}  // namespace brisel

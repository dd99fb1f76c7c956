#include "server/status_probe.h"

#include <algorithm>
#include <initializer_list>

#include <nlohmann/json.hpp>

#include "net/url.h"

namespace brisel {

namespace {

using nlohmann::json;

bool isString(const json& object, const char* key, const char* expected) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() && found->get<std::string>() == expected;
}

// A whole number written without a fraction: 2 is a version, 2.0 is not.
bool isInteger(const json& object, const char* key, int64_t expected) {
    const auto found = object.find(key);
    return found != object.end() && found->is_number_integer() && found->get<int64_t>() == expected;
}

bool hasCapabilities(const json& object, std::initializer_list<const char*> required) {
    const auto found = object.find("capabilities");
    if (found == object.end() || !found->is_array()) return false;
    if (!std::all_of(found->begin(), found->end(), [](const json& c) { return c.is_string(); })) {
        return false;
    }
    return std::all_of(required.begin(), required.end(), [&](const char* capability) {
        return std::find(found->begin(), found->end(), capability) != found->end();
    });
}

bool isCompatible(const json& status, bool cloudBackend) {
    if (cloudBackend) {
        return isString(status, "provider", "openai") && isInteger(status, "version", 3) &&
               isString(status, "storage", "cloud") &&
               hasCapabilities(status, {"desktop-cloud-runtime"});
    }
    return isString(status, "provider", "codex") && isInteger(status, "version", 2) &&
           hasCapabilities(status, {"explicit-save", "knowledge-notes", "note-suggestions",
                                    "note-context", "semantic-relations", "privacy-minimal-v1"});
}

bool answeredFrom(const std::string& url, const ServerEndpoint& endpoint) {
    const auto parts = parseURL(url);
    return parts && parts->host == endpoint.host && parts->port == endpoint.port;
}

}  // namespace

Probe classifyStatusResponse(const std::optional<HttpResponse>& response, bool cloudBackend,
                             const ServerEndpoint& endpoint) {
    if (!response) return Probe::unavailable;
    if (!response->isHTTP || response->status != 200 || !answeredFrom(response->url, endpoint)) {
        return Probe::mismatch;
    }
    const json status = json::parse(response->body, nullptr, false);
    if (!status.is_object() || !isCompatible(status, cloudBackend)) return Probe::mismatch;
    return Probe::ready;
}

}  // namespace brisel

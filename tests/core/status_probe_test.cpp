#include "server/status_probe.h"

#include <gtest/gtest.h>

namespace brisel {
namespace {

std::string with(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

TEST(StatusProbe, OnlyACompatibleServerOfThisBackendModeIsReady) {
    const std::string local = R"({"provider":"codex","version":2,"capabilities":["explicit-save","knowledge-notes",
        "note-suggestions","note-context","semantic-relations","privacy-minimal-v1","later"],"extra":1})";
    const std::string cloud = R"({"provider":"openai","version":3,"storage":"cloud","capabilities":["desktop-cloud-runtime"]})";
    const std::string url = "http://127.0.0.1:47831/api/status";
    const auto answer = [&](const std::string& body, long status = 200) { return HttpResponse{true, status, url, body}; };
    const struct {
        const char* why;
        bool cloud;
        std::optional<HttpResponse> response;
        Probe expected;
    } rows[] = {
        {"our local server; extra keys and capabilities are allowed", false, answer(local), Probe::ready},
        {"our cloud server", true, answer(cloud), Probe::ready},
        {"nothing answered", false, std::nullopt, Probe::unavailable},
        {"a local server in cloud mode", true, answer(local), Probe::mismatch},
        {"a cloud server in local mode", false, answer(cloud), Probe::mismatch},
        {"an HTTP error", false, answer(local, 500), Probe::mismatch},
        {"an answer that is not HTTP", false, HttpResponse{false, 0, url, local}, Probe::mismatch},
        {"a body that is not an object", false, answer("[1]"), Probe::mismatch},
        {"the version as a float", false, answer(with(local, "2", "2.0")), Probe::mismatch},
        {"another local version", false, answer(with(local, "2", "3")), Probe::mismatch},
        {"a capability missing", false, answer(with(local, R"("privacy-minimal-v1",)", "")), Probe::mismatch},
        {"a capability that is not a string", false, answer(with(local, R"("later")", "7")), Probe::mismatch},
        {"cloud storage missing", true, answer(with(cloud, R"("storage":"cloud",)", "")), Probe::mismatch},
        {"answered by localhost", false, HttpResponse{true, 200, "http://localhost:47831/api/status", local}, Probe::mismatch},
        {"answered by another port", false, HttpResponse{true, 200, "http://127.0.0.1:8080/api/status", local}, Probe::mismatch},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(classifyStatusResponse(row.response, row.cloud, {"127.0.0.1", 47831}), row.expected) << row.why;
    }
}

}  // namespace
}  // namespace brisel

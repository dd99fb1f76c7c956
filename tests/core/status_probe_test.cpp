#include "server/status_probe.h"

#include <gtest/gtest.h>

namespace brisel {
namespace {

const ServerEndpoint endpoint{"127.0.0.1", 47831};
const char* statusURL = "http://127.0.0.1:47831/api/status";
const char* localStatus = R"({"provider":"codex","version":2,"capabilities":["explicit-save","knowledge-notes",
  "note-suggestions","note-context","semantic-relations","privacy-minimal-v1","later-feature"],"extra":1})";
const char* cloudStatus = R"({"provider":"openai","version":3,"storage":"cloud","capabilities":["desktop-cloud-runtime"]})";

HttpResponse answer(std::string body, long status = 200, std::string url = statusURL) {
    return HttpResponse{true, status, std::move(url), std::move(body)};
}

Probe local(const std::optional<HttpResponse>& response) { return classifyStatusResponse(response, false, endpoint); }
Probe cloud(const std::optional<HttpResponse>& response) { return classifyStatusResponse(response, true, endpoint); }

TEST(StatusProbe, AcceptsOnlyTheServerOfItsOwnBackendMode) {
    EXPECT_EQ(local(answer(localStatus)), Probe::ready);
    EXPECT_EQ(cloud(answer(cloudStatus)), Probe::ready);
    EXPECT_EQ(cloud(answer(localStatus)), Probe::mismatch);
    EXPECT_EQ(local(answer(cloudStatus)), Probe::mismatch);
}

TEST(StatusProbe, NothingListeningIsUnavailableButAnyAnswerIsAMismatch) {
    EXPECT_EQ(local(std::nullopt), Probe::unavailable);
    EXPECT_EQ(local(answer(localStatus, 500)), Probe::mismatch);
    EXPECT_EQ(local(answer(localStatus, 204)), Probe::mismatch);
    EXPECT_EQ(local(HttpResponse{false, 0, statusURL, ""}), Probe::mismatch);
    EXPECT_EQ(local(answer("<html>another service</html>")), Probe::mismatch);
    EXPECT_EQ(local(answer("[1,2]")), Probe::mismatch);
}

TEST(StatusProbe, TheVersionMustBeAWholeNumber) {
    EXPECT_EQ(local(answer(R"({"provider":"codex","version":2.0,"capabilities":["explicit-save","knowledge-notes",
      "note-suggestions","note-context","semantic-relations","privacy-minimal-v1"]})")), Probe::mismatch);
    EXPECT_EQ(local(answer(R"({"provider":"codex","version":"2","capabilities":["explicit-save","knowledge-notes",
      "note-suggestions","note-context","semantic-relations","privacy-minimal-v1"]})")), Probe::mismatch);
    EXPECT_EQ(cloud(answer(R"({"provider":"openai","version":3.0,"storage":"cloud","capabilities":["desktop-cloud-runtime"]})")),
              Probe::mismatch);
}

TEST(StatusProbe, EveryCapabilityAndKeyOfTheModeIsRequired) {
    EXPECT_EQ(local(answer(R"({"provider":"codex","version":2,"capabilities":["explicit-save","knowledge-notes",
      "note-suggestions","note-context","semantic-relations"]})")), Probe::mismatch);
    EXPECT_EQ(local(answer(R"({"provider":"codex","version":2})")), Probe::mismatch);
    EXPECT_EQ(local(answer(R"({"provider":"codex","version":2,"capabilities":["explicit-save","knowledge-notes",
      "note-suggestions","note-context","semantic-relations","privacy-minimal-v1",7]})")), Probe::mismatch)
        << "capabilities must all be strings";
    EXPECT_EQ(cloud(answer(R"({"provider":"openai","version":3,"capabilities":["desktop-cloud-runtime"]})")), Probe::mismatch);
    EXPECT_EQ(cloud(answer(R"({"provider":"openai","version":3,"storage":"local","capabilities":["desktop-cloud-runtime"]})")),
              Probe::mismatch);
}

TEST(StatusProbe, TheAnswerMustComeFromTheLocalHostAndPort) {
    EXPECT_EQ(local(answer(localStatus, 200, "http://localhost:47831/api/status")), Probe::mismatch);
    EXPECT_EQ(local(answer(localStatus, 200, "http://127.0.0.1:8080/api/status")), Probe::mismatch);
    EXPECT_EQ(local(answer(localStatus, 200, "http://127.0.0.1/api/status")), Probe::mismatch);
    EXPECT_EQ(local(answer(localStatus, 200, "https://example.com/api/status")), Probe::mismatch);
}

}  // namespace
}  // namespace brisel

#include "auth/sign_in_configuration.h"

#include <gtest/gtest.h>

#include "core/auth_fakes.h"
#include "fakes/temp_dir.h"

namespace brisel {
namespace {

using nlohmann::json;

TEST(SignInConfiguration, GoogleNeedsBothClientIDsAndItsRedirectSchemeAppleAYesOrTrue) {
    const struct { json change; bool configured; const char* why; } rows[] = {  // a null removes the key
        {json::object(), true, "the complete configuration"},
        {{{"BriselGoogleClientID", nullptr}}, false, "no client ID"},
        {{{"BriselGoogleClientID", "$(GOOGLE_CLIENT_ID)"}}, false, "an unexpanded build variable"},
        {{{"BriselGoogleClientID", "YOUR_CLIENT_ID.apps.googleusercontent.com"}}, false, "a template placeholder"},
        {{{"BriselGoogleServerClientID", "987654_server.apps.googleusercontent.com"}}, false, "an underscore"},
        {{{"BriselGoogleServerClientID", ".apps.googleusercontent.com"}}, false, "no project part"},
        {{{"BriselGoogleServerClientID", "987654-server.apps.googleusercontent.co"}}, false, "another suffix"},
        {{{"CFBundleURLTypes", {{{"CFBundleURLSchemes", {"COM.googleusercontent.apps.123456-abcdef"}}}}}}, false,
         "the scheme compared exactly"},
    };
    for (const auto& row : rows) {
        auto values = testing::signInConfiguration();
        values.merge_patch(row.change);
        EXPECT_EQ(googleConfiguration(JsonConfigurationValues(values)).has_value(), row.configured) << row.why;
    }
    testing::TempDir folder;
    testing::writeFile(folder / "Info.json", testing::signInConfiguration().dump());
    testing::writeFile(folder / "broken.json", "{\"BriselGoogleClientID\":");
    EXPECT_TRUE(googleConfiguration(JsonConfigurationValues::fromFile(folder / "Info.json")));
    EXPECT_FALSE(googleConfiguration(JsonConfigurationValues::fromFile(folder / "broken.json")));
    for (const auto& [value, enabled] : std::vector<std::pair<json, bool>>{
             {"yes", true}, {true, true}, {"ye\xC5\xBF", true},  // Foundation upper-cases ſ to S
             {"1", false}, {false, false}, {" YES", false}, {nullptr, false}}) {
        EXPECT_EQ(isAppleSignInEnabled(JsonConfigurationValues(json{{"BriselAppleSignInEnabled", value}})), enabled) << value;
    }
}

}  // namespace
}  // namespace brisel

#include "auth/sign_in_configuration.h"

#include <gtest/gtest.h>

#include "core/auth_fakes.h"
#include "fakes/temp_dir.h"

namespace brisel {
namespace {

using testing::signInConfiguration;
using testing::validClientID;
using testing::validServerClientID;

std::optional<GoogleConfiguration> configurationWith(const std::string& key, nlohmann::json value) {
    auto values = signInConfiguration();
    if (value.is_null()) {
        values.erase(key);
    } else {
        values[key] = std::move(value);
    }
    return googleConfiguration(JsonConfigurationValues(values));
}

TEST(GoogleConfiguration, ACompleteConfigurationIsUsed) {
    const auto configuration = googleConfiguration(JsonConfigurationValues(signInConfiguration()));
    ASSERT_TRUE(configuration);
    EXPECT_EQ(*configuration, (GoogleConfiguration{validClientID, validServerClientID}));
}

TEST(GoogleConfiguration, PlaceholdersAndEmptyClientIDsCountAsMissing) {
    for (const nlohmann::json& clientID : {nlohmann::json(""), nlohmann::json("$(GOOGLE_CLIENT_ID)"),
                                           nlohmann::json("YOUR_CLIENT_ID.apps.googleusercontent.com"),
                                           nlohmann::json(nullptr), nlohmann::json(42), nlohmann::json(true),
                                           nlohmann::json::array({validClientID})}) {
        EXPECT_EQ(configurationWith("BriselGoogleClientID", clientID), std::nullopt) << clientID;
        EXPECT_EQ(configurationWith("BriselGoogleServerClientID", clientID), std::nullopt) << clientID;
    }
}

TEST(GoogleConfiguration, AServerClientIDOfTheWrongFormIsUnconfigured) {
    for (const char* serverClientID : {"987654-server", "987654_server.apps.googleusercontent.com",
                                       "987654.server.apps.googleusercontent.com", ".apps.googleusercontent.com",
                                       "987654-server.apps.googleusercontent.com.evil", " 987654.apps.googleusercontent.com"}) {
        EXPECT_EQ(configurationWith("BriselGoogleServerClientID", serverClientID), std::nullopt) << serverClientID;
    }
}

TEST(GoogleConfiguration, TheReversedClientIDMustBeARegisteredUrlScheme) {
    const auto withURLTypes = [](const char* json) {
        return configurationWith("CFBundleURLTypes", nlohmann::json::parse(json));
    };
    EXPECT_EQ(configurationWith("CFBundleURLTypes", nullptr), std::nullopt);
    EXPECT_EQ(withURLTypes(R"([{"CFBundleURLSchemes": ["brisel"]}])"), std::nullopt);
    EXPECT_EQ(withURLTypes(R"([{"CFBundleURLSchemes": ["COM.googleusercontent.apps.123456-abcdef"]}])"), std::nullopt)
        << "compared exactly";
    EXPECT_EQ(withURLTypes(R"({"CFBundleURLSchemes": ["com.googleusercontent.apps.123456-abcdef"]})"), std::nullopt)
        << "a map where the array of maps belongs";
    EXPECT_EQ(withURLTypes(R"([{"CFBundleURLSchemes": "com.googleusercontent.apps.123456-abcdef"}])"), std::nullopt)
        << "a string where the array of schemes belongs";
    // Ill-typed entries contribute nothing; the scheme may sit in any later entry.
    EXPECT_TRUE(withURLTypes(R"(["brisel", {"CFBundleURLName": "x"},
        {"CFBundleURLSchemes": [7, null, "com.googleusercontent.apps.123456-abcdef"]}])"));
}

TEST(GoogleConfiguration, ClientIDForm) {
    EXPECT_TRUE(isGoogleClientID("123456-abcdef.apps.googleusercontent.com"));
    EXPECT_TRUE(isGoogleClientID("A-z-0.apps.googleusercontent.com"));
    for (const char* refused : {"", ".apps.googleusercontent.com", "123.apps.googleusercontent.com.",
                                "123.APPS.googleusercontent.com", "12 3.apps.googleusercontent.com",
                                "123.4.apps.googleusercontent.com", "123\n.apps.googleusercontent.com",
                                "123.apps.googleusercontent.co"}) {
        EXPECT_FALSE(isGoogleClientID(refused)) << refused;
    }
}

TEST(GoogleConfiguration, ReversedClientIDDropsEmptyPieces) {
    EXPECT_EQ(reversedClientID("a.b.c"), "c.b.a");
    EXPECT_EQ(reversedClientID(validClientID), testing::validRedirectScheme);
    EXPECT_EQ(reversedClientID(".a..b."), "b.a");
    EXPECT_EQ(reversedClientID("solo"), "solo");
    EXPECT_EQ(reversedClientID(""), "");
    EXPECT_EQ(reversedClientID("..."), "");
}

TEST(GoogleConfiguration, ConfiguredStringsAreFilledInStrings) {
    const JsonConfigurationValues values({{"a", "value"}, {"b", "pre$(X)post"}, {"c", "xYOUR_x"}, {"d", 1}, {"e", ""}});
    EXPECT_EQ(configuredString(values, "a"), "value");
    for (const char* key : {"b", "c", "d", "e", "missing"}) EXPECT_EQ(configuredString(values, key), std::nullopt) << key;
}

TEST(GoogleConfiguration, ValuesComeFromTheLinuxResourcesFile) {
    testing::TempDir folder;
    testing::writeFile(folder / "Info.json", signInConfiguration().dump());
    EXPECT_TRUE(googleConfiguration(JsonConfigurationValues::fromFile(folder / "Info.json")));
    testing::writeFile(folder / "broken.json", "{\"BriselGoogleClientID\":");
    EXPECT_FALSE(googleConfiguration(JsonConfigurationValues::fromFile(folder / "broken.json")));
    EXPECT_FALSE(googleConfiguration(JsonConfigurationValues::fromFile(folder / "missing.json")));
    testing::writeFile(folder / "array.json", "[1,2]");
    EXPECT_FALSE(JsonConfigurationValues::fromFile(folder / "array.json").value("0"));
}

TEST(AppleSignInEnabled, ReadsYesInAnyCaseOrABooleanTrue) {
    const auto enabled = [](nlohmann::json value) {
        return isAppleSignInEnabled(JsonConfigurationValues(nlohmann::json{{"BriselAppleSignInEnabled", std::move(value)}}));
    };
    EXPECT_TRUE(enabled("YES"));
    EXPECT_TRUE(enabled("yes"));
    EXPECT_TRUE(enabled("Yes"));
    EXPECT_TRUE(enabled(true));
    EXPECT_TRUE(enabled("ye\xC5\xBF")) << "Foundation's upper-casing maps the long s to S";
    for (const nlohmann::json& off : {nlohmann::json("1"), nlohmann::json(false), nlohmann::json(1), nlohmann::json("no"),
                                      nlohmann::json(" YES"), nlohmann::json("YES\n"), nlohmann::json("true"),
                                      nlohmann::json(""), nlohmann::json(nullptr), nlohmann::json::array({"YES"})}) {
        EXPECT_FALSE(enabled(off)) << off;
    }
    EXPECT_FALSE(isAppleSignInEnabled(JsonConfigurationValues()));
}

}  // namespace
}  // namespace brisel

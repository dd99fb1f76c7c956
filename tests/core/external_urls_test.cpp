#include "auth/external_urls.h"

#include <gtest/gtest.h>

#include "auth/auth_configuration.h"

namespace brisel {
namespace {

TEST(ExternalUrls, OnlyTheSignInPageAndThePaymentPagesOpen) {
    const std::string auth(authenticationHost), checkout(billingCheckoutHost), portal(billingPortalHost);
    const std::string connect = "https://" + auth + "/#desktop-connect=";
    const std::string store = "https://" + std::string(appStoreHost) + "/account/subscriptions";
    const struct { std::string url; bool signIn, billing; const char* why; } rows[] = {
        {connect + "eyJ0b2tlbiI6IjEyMyJ9", true, false, "the connect link"},
        {connect + "a%2Fb&c=d/e?f", true, false, "any URL text in the fragment"},
        {connect + std::string(299 - connect.size(), 'a'), true, false, "299 characters"},
        {connect + std::string(300 - connect.size(), 'a'), false, false, "300 characters"},
        {"https://" + auth + "#desktop-connect=x", false, false, "no path"},
        {"https://" + auth + "/?#desktop-connect=x", false, false, "an empty query is a query"},
        {"https://" + auth + ":443/#desktop-connect=x", false, false, "even the default port written out"},
        {"http://" + auth + "/#desktop-connect=x", false, false, "http"},
        {"HTTPS://" + auth + "/#desktop-connect=x", false, false, "the scheme as written"},
        {"https://reader@" + auth + "/#desktop-connect=x", false, false, "a user"},
        {"https://" + auth + ".evil.example/#desktop-connect=x", false, false, "the host as a prefix"},
        {"https://" + auth + "/#Desktop-connect=x", false, false, "another fragment"},
        {connect + "a b", false, false, "a space"},
        {connect + "%4", false, false, "a cut escape"},
        {"https://" + checkout + "/c/pay/cs_live_a1B2c3#fidkd", false, true, "checkout"},
        {"https://" + portal + "/p/session/test_YWNjdF8x?locale=ja", false, true, "the billing portal"},
        {"https://" + checkout + ":443/c/pay/1", false, true, "443 written out"},
        {"https://" + checkout + ":8443/c/pay/1", false, false, "another port"},
        {"http://" + checkout + "/c/pay/1", false, false, "http"},
        {"https://user@" + checkout + "/c/pay/1", false, false, "a user"},
        {"https://" + checkout + ".evil.example/", false, false, "the host as a prefix"},
        {store, false, true, "the App Store's subscriptions"},
        {store + "?", false, false, "an App Store address with anything more"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(isSignInURL(row.url), row.signIn);
        EXPECT_EQ(isBillingURL(row.url), row.billing);
    }
}

}  // namespace
}  // namespace brisel

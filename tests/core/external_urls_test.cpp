#include "auth/external_urls.h"

#include <gtest/gtest.h>

#include "auth/auth_configuration.h"

namespace brisel {
namespace {

const std::string signInPage = "https://" + std::string(authenticationHost) + "/";
const std::string connectLink = signInPage + "#desktop-connect=";

// A connect link padded to exactly `length` characters.
std::string connectLinkOfLength(size_t length) {
    return connectLink + std::string(length - connectLink.size(), 'a');
}

TEST(SignInUrl, AcceptsTheConnectLinkUpTo299Characters) {
    EXPECT_TRUE(isSignInURL(connectLink + "eyJ0b2tlbiI6IjEyMyJ9"));
    EXPECT_TRUE(isSignInURL(connectLink)) << "an empty value is the page's business";
    EXPECT_TRUE(isSignInURL(connectLink + "a%2Fb&c=d/e?f")) << "the fragment may hold any URL text";
    EXPECT_TRUE(isSignInURL(connectLinkOfLength(299)));
    EXPECT_FALSE(isSignInURL(connectLinkOfLength(300)));
    EXPECT_FALSE(isSignInURL(connectLinkOfLength(4096)));
}

TEST(SignInUrl, RefusesAnyOtherPathQueryOrPort) {
    const std::string host(authenticationHost);
    for (const std::string& refused : {
             "https://" + host + "#desktop-connect=x",          // empty path
             "https://" + host + "//#desktop-connect=x",
             "https://" + host + "/connect#desktop-connect=x",
             "https://" + host + "/%2F#desktop-connect=x",
             "https://" + host + "/?a=1#desktop-connect=x",
             "https://" + host + "/?#desktop-connect=x",         // an empty query is still a query
             "https://" + host + ":443/#desktop-connect=x",      // even the default port written out
             "https://" + host + ":8443/#desktop-connect=x",
             "https://" + host + ":/#desktop-connect=x",
         }) {
        EXPECT_FALSE(isSignInURL(refused)) << refused;
    }
}

TEST(SignInUrl, RefusesOtherSchemesHostsAndUsers) {
    const std::string host(authenticationHost);
    for (const std::string& refused : {
             "http://" + host + "/#desktop-connect=x",
             "HTTPS://" + host + "/#desktop-connect=x",
             "wss://" + host + "/#desktop-connect=x",
             "https://reader@" + host + "/#desktop-connect=x",
             "https://reader:secret@" + host + "/#desktop-connect=x",
             "https://" + host + "@evil.example/#desktop-connect=x",
             "https://" + host + ".evil.example/#desktop-connect=x",
             std::string("https://evil.example/#desktop-connect=x"),
             "https://x" + host + "/#desktop-connect=x",
         }) {
        EXPECT_FALSE(isSignInURL(refused)) << refused;
    }
}

TEST(SignInUrl, RefusesAMissingOrDifferentFragment) {
    for (const std::string& refused : {
             signInPage,
             signInPage + "#",
             signInPage + "#desktop-connect",
             signInPage + "#Desktop-connect=x",
             signInPage + "#x-desktop-connect=x",
             signInPage + "#desktop-connect=x#y",
         }) {
        EXPECT_FALSE(isSignInURL(refused)) << refused;
    }
}

TEST(SignInUrl, RefusesTextThatIsNotAnAddress) {
    for (const std::string& refused : {
             std::string(),
             std::string("desktop-connect="),
             std::string(authenticationHost) + "/#desktop-connect=x",
             connectLink + "a b",
             connectLink + "a\"b",
             connectLink + "<script>",
             connectLink + "%zz",
             connectLink + "%4",
             connectLink + "\n",
             connectLink + "\xE2\x80\xA8",  // U+2028
             " " + connectLink,
             connectLink + std::string(1, '\0'),
         }) {
        EXPECT_FALSE(isSignInURL(refused)) << refused;
    }
}

const std::string checkout = "https://" + std::string(billingCheckoutHost);
const std::string portal = "https://" + std::string(billingPortalHost);

TEST(BillingUrl, OpensThePaymentProvidersPages) {
    EXPECT_TRUE(isBillingURL(checkout + "/c/pay/cs_live_a1B2c3#fidkdWxOYHwnPyd1blpxYHZxWjA0"));
    EXPECT_TRUE(isBillingURL(checkout));
    EXPECT_TRUE(isBillingURL(portal + "/p/session/test_YWNjdF8x?locale=ja"));
}

TEST(BillingUrl, AllowsPort443WrittenOutButNoOtherPort) {
    EXPECT_TRUE(isBillingURL(checkout + ":443/c/pay/cs_live_1"));
    EXPECT_TRUE(isBillingURL(portal + ":443/"));
    EXPECT_FALSE(isBillingURL(checkout + ":8443/c/pay/cs_live_1"));
    EXPECT_FALSE(isBillingURL(checkout + ":80/c/pay/cs_live_1"));
    EXPECT_FALSE(isBillingURL(checkout + ":/c/pay/cs_live_1"));
    EXPECT_FALSE(isBillingURL(checkout + ":99999/"));
}

TEST(BillingUrl, RefusesOtherSchemesHostsAndUsers) {
    const std::string host(billingCheckoutHost);
    for (const std::string& refused : {
             "http://" + host + "/c/pay/1",
             "HTTPS://" + host + "/c/pay/1",
             "https://user@" + host + "/c/pay/1",
             "https://user:pass@" + host + "/c/pay/1",
             "https://" + host + "@evil.example/",
             "https://" + host + ".evil.example/",
             "https://evil.example/" + host,
             std::string("https://stripe.com/"),
             "https://" + host + "/a b",
             std::string(),
         }) {
        EXPECT_FALSE(isBillingURL(refused)) << refused;
    }
}

TEST(BillingUrl, OpensOnlyTheExactAppStoreAddress) {
    const std::string appStore = "https://" + std::string(appStoreHost) + "/account/subscriptions";
    EXPECT_EQ(appStoreSubscriptionsURL(), appStore);
    EXPECT_TRUE(isBillingURL(appStore));
    for (const std::string& refused : {
             appStore + "?",
             appStore + "/",
             appStore + "#",
             appStore + "?app=brisel",
             std::string("HTTPS://APPS.APPLE.COM/account/subscriptions"),
             "https://" + std::string(appStoreHost) + "/Account/Subscriptions",
             "https://" + std::string(appStoreHost) + ":443/account/subscriptions",
             "http://" + std::string(appStoreHost) + "/account/subscriptions",
             "https://" + std::string(appStoreHost) + "/jp/app/brisel/id1",
         }) {
        EXPECT_FALSE(isBillingURL(refused)) << refused;
    }
}

}  // namespace
}  // namespace brisel

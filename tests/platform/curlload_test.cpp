// The transfer library, opened at its first use rather than linked.
#include <curl/curl.h>

#include "../../src/platform/curlfunctions.h"

#include <gtest/gtest.h>

TEST(TransferLibrary, OpensByNameWithEveryFunctionOrSaysWhyNot) {
    platform::curl::Loader const missing("libsorvane-no-such-transfer.so.4");
    EXPECT_EQ(missing.Get(), nullptr);
    EXPECT_NE(missing.Failure().find("libsorvane-no-such-transfer.so.4"), std::string::npos)
        << missing.Failure();

    // A library that opens but is not the transfer library lacks its functions.
    platform::curl::Loader const other("libz.so.1");
    EXPECT_EQ(other.Get(), nullptr);
    EXPECT_EQ(other.Failure(), "no function curl_global_init");

    platform::curl::Functions const* const process = platform::curl::Library();
    ASSERT_NE(process, nullptr);
    EXPECT_EQ(process, platform::curl::Library()); // set up once
    CURL* const easy = process->easy_init();
    ASSERT_NE(easy, nullptr);
    EXPECT_EQ(process->easy_setopt(easy, CURLOPT_URL, "http://127.0.0.1:9/"), CURLE_OK);
    process->easy_cleanup(easy);
}

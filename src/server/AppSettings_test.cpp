#include "platform/fake/FakePreferences.h"
#include "server/AppSettings.h"

#include <gmock/gmock.h>

#include <array>

namespace tavrin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const ServerAddresses addresses{.defaultEndpoint = "https://app.tavrin.example",
                                .formerOrigins = {{"https://app.lorvex.example", "https://app.tavrin.example"},
                                                  {"http://app.lorvex.example", "https://app.tavrin.example"},
                                                  {"https://lorvex.example", "https://tavrin.example"},
                                                  {"http://lorvex.example", "https://tavrin.example"}}};

class AppSettingsTest : public testing::Test {
protected:
    std::optional<std::string> storedBase() { return store.string("tavrin.apiBaseURL"); }

    FakePreferences store;
    AppSettings settings{store, addresses};
};

TEST_F(AppSettingsTest, the_base_address_is_normalised_and_a_former_one_heals_itself) {
    struct Case {
        std::optional<std::string> stored;
        const char* read;
        std::optional<std::string> storedThen;
    };
    const std::array cases{
        Case{std::nullopt, "https://app.tavrin.example", std::nullopt},
        Case{" \n ", "https://app.tavrin.example", " \n "},
        Case{"https://own.example/ ", "https://own.example", "https://own.example/ "},
        Case{" https://app.lorvex.example/\n", "https://app.tavrin.example", "https://app.tavrin.example"},
        Case{"http://lorvex.example:81/x", "https://tavrin.example:81/x", "https://tavrin.example:81/x"},
        Case{"https://lorvex.example.org", "https://lorvex.example.org", "https://lorvex.example.org"},
    };
    for (const Case& each : cases) {
        store.remove("tavrin.apiBaseURL");
        if (each.stored) store.set("tavrin.apiBaseURL", *each.stored);
        EXPECT_EQ(settings.apiBaseURL(), each.read);
        EXPECT_EQ(storedBase(), each.storedThen) << each.read;
    }
    settings.setAPIBaseURL(" https://own.example\t");
    EXPECT_EQ(storedBase(), "https://own.example");
    settings.setAPIBaseURL("  ");
    EXPECT_EQ(storedBase(), std::nullopt);
}

TEST_F(AppSettingsTest, former_origins_are_replaced_anywhere_but_only_whole) {
    EXPECT_EQ(
        settings.mapFormerHost("see https://lorvex.example/a?u=http://app.lorvex.example:1/ https://lorvex.example"),
        "see https://tavrin.example/a?u=https://app.tavrin.example:1/ https://tavrin.example");
    EXPECT_EQ(settings.mapFormerHost("https://lorvex.example2/https://lorvex.examplehttps://lorvex.example"),
              "https://lorvex.example2/https://lorvex.examplehttps://tavrin.example");
}

TEST_F(AppSettingsTest, a_page_is_an_address_or_a_path_below_the_base) {
    struct Case {
        std::optional<std::string_view> base;
        const char* page;
        std::optional<std::string> expected;
    };
    const std::array cases{
        Case{std::nullopt, " meetings/1 ", "https://app.tavrin.example/meetings/1"},
        Case{"https://app.lorvex.example/", "/a", "https://app.tavrin.example/a"},
        Case{"https://own.example", "http://lorvex.example/x", "https://tavrin.example/x"},
        Case{"https://own.example", "@evil.example", "https://own.example/@evil.example"},
        Case{"https://own.example", "javascript:alert", "https://own.example/javascript:alert"},
        Case{"file:///etc", "passwd", std::nullopt},
        Case{"https://own.example", "a b", std::nullopt},
        Case{"https://own.example", "https://", std::nullopt},
        Case{"https://own.example", " ", std::nullopt},
    };
    for (const Case& each : cases)
        EXPECT_EQ(settings.resolveURL(each.base, each.page), each.expected) << each.page;
    EXPECT_EQ(store.changes, 0);
}

TEST_F(AppSettingsTest, a_stored_value_that_makes_no_sense_counts_as_absent) {
    store.set("tavrin.speakerLabelsEnabled", std::string("no"));
    EXPECT_TRUE(settings.speakerLabelsEnabled.get());
    for (const double useless : {0.0, -3.0}) {
        store.set("tavrin.activityIdleThresholdSeconds", useless);
        EXPECT_EQ(settings.activityIdleThresholdSeconds.get(), 120);
    }
    store.set("tavrin.activityIdleThresholdSeconds", std::int64_t{30});
    EXPECT_EQ(settings.activityIdleThresholdSeconds.get(), 30);
    store.set("tavrin.dictationHotkey", std::string("leftFoot"));
    EXPECT_EQ(settings.dictationHotkey.get(), DictationHotkey::rightOption);
    settings.dictationHotkey.set(DictationHotkey::capsLock);
    EXPECT_EQ(settings.dictationHotkey.get(), DictationHotkey::capsLock);
}

TEST_F(AppSettingsTest, an_excluded_domain_takes_those_below_it_along) {
    settings.activityExcludedDomains.set({" ", " Example.com ", "ÜBER.example"});
    for (const char* excluded : {"EXAMPLE.COM", "a.b.example.com", "über.example"})
        EXPECT_TRUE(settings.isDomainExcluded(excluded)) << excluded;
    for (const char* free : {"badexample.com", "example.com.org", "com", ""})
        EXPECT_FALSE(settings.isDomainExcluded(free)) << free;
    EXPECT_FALSE(settings.isDomainExcluded(std::nullopt));
}

TEST_F(AppSettingsTest, recent_clients_are_the_eight_latest_of_each_workspace) {
    settings.noteRecentClient("", "c");
    settings.noteRecentClient("w", "");
    EXPECT_EQ(store.changes, 0);
    settings.noteRecentClient("other", "x");
    for (int i = 1; i <= 9; ++i)
        settings.noteRecentClient("w", "c" + std::to_string(i));
    settings.noteRecentClient("w", "c4");
    EXPECT_THAT(settings.recentClientIDs("w"), ElementsAre("c4", "c9", "c8", "c7", "c6", "c5", "c3", "c2"));
    EXPECT_THAT(settings.recentClientIDs("other"), ElementsAre("x"));
    EXPECT_EQ(settings.lastClientID.get(), "c4");
    // What earlier versions kept, and what cannot be read.
    for (const char* bad : {R"({"w":["c1",2]})", R"({"w":"c1"})", R"(["w"])"}) {
        store.set("tavrin.recentClientIDsByWorkspace", JsonData{parseJson(bad, "test")});
        EXPECT_THAT(settings.recentClientIDs(""), ElementsAre("c4")) << bad;
        EXPECT_THAT(settings.recentClientIDs("w"), IsEmpty()) << bad;
    }
}

TEST_F(AppSettingsTest, recently_seen_applications_are_the_forty_latest_by_identifier) {
    for (int i = 0; i < 41; ++i)
        settings.noteRecentlySeenApp("app" + std::to_string(i), "name");
    settings.noteRecentlySeenApp("app20", "renamed");
    const auto apps = settings.recentlySeenApps();
    ASSERT_EQ(apps.size(), 40U);
    EXPECT_EQ(apps.front(), (RecentlySeenApp{"app20", "renamed"}));
    EXPECT_EQ(apps.back().bundleID, "app1");
    EXPECT_EQ(compactText((*store.json("tavrin.activityRecentlySeenApps"))[0]),
              R"({"bundleID":"app20","name":"renamed"})");
    store.set("tavrin.activityRecentlySeenApps", JsonData{parseJson(R"([{"bundleID":"a","name":1}])", "test")});
    EXPECT_THAT(settings.recentlySeenApps(), IsEmpty());
}

} // namespace
} // namespace tavrin

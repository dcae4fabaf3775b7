#include "server/DeploymentValues.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace tavrin {
namespace {

using testing::HasSubstr;

void readAll(const std::string& text) {
    const Json json = parseJson(text, "d.json");
    (void)serverAddressesIn(json, "d.json");
    (void)vocabularySeedsIn(json, "d.json");
}

TEST(DeploymentValues, the_file_that_is_installed_will_do) {
    std::ifstream file(std::filesystem::path(__FILE__).parent_path() / "../../packaging/deployment.json");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const Json json = parseJson(text, "deployment.json");
    const ServerAddresses server = serverAddressesIn(json, "deployment.json");
    EXPECT_EQ(server.formerOrigins.size(), 4U);
    EXPECT_EQ(server.formerOrigins[0].to, server.defaultEndpoint);
    const VocabularySeeds seeds = vocabularySeedsIn(json, "deployment.json");
    EXPECT_THAT(seeds.names, testing::AllOf(testing::SizeIs(4), testing::Contains("Tavrin")));
    EXPECT_EQ(seeds.corrections.size(), 9U);
    EXPECT_FALSE(seeds.exampleHeard.empty());
}

TEST(DeploymentValues, what_is_missing_is_built_in) {
    EXPECT_NO_THROW(readAll(R"({"server":{},"vocabulary":{},"other":1})"));
    const Json empty = Json::object();
    EXPECT_EQ(serverAddressesIn(empty, "d.json").defaultEndpoint, ServerAddresses{}.defaultEndpoint);
    EXPECT_TRUE(vocabularySeedsIn(empty, "d.json").corrections.empty());
}

TEST(DeploymentValues, what_will_not_do_is_named_with_file_and_key) {
    const std::pair<const char*, const char*> cases[]{
        {R"({"server":[]})", R"("server" is not an object)"},
        {R"({"server":{"defaultEndpoint":"app.tavrin.example"}})", R"("server.defaultEndpoint" is not the address)"},
        {R"({"server":{"defaultEndpoint":"https://app.tavrin.example/"}})", R"("server.defaultEndpoint" ends with)"},
        {R"({"server":{"formerOrigins":{}}})", R"("server.formerOrigins" is not a list)"},
        {R"({"server":{"formerOrigins":[{"from":"https://a.example"}]}})",
         R"("server.formerOrigins[0].to" is not a text)"},
        {R"({"server":{"formerOrigins":[{"from":"https://a.example/x","to":""}]}})",
         R"("server.formerOrigins[0].from")"},
        {R"({"vocabulary":{"names":["a",""]}})", R"("vocabulary.names[1]" is empty)"},
        {R"({"vocabulary":{"corrections":[{"correct":"a"}]}})", R"("vocabulary.corrections[0].variants" names no)"},
        {R"({"vocabulary":{"example":{"heard":"a"}}})", R"("vocabulary.example.correct" is not a text)"},
    };
    for (const auto& [text, reason] : cases) {
        try {
            readAll(text);
            ADD_FAILURE() << text;
        } catch (const DeploymentError& error) {
            EXPECT_THAT(error.what(), testing::AllOf(testing::StartsWith("d.json: "), HasSubstr(reason)));
        }
    }
}

} // namespace
} // namespace tavrin

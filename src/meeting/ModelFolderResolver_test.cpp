#include "meeting/EngineTestSupport.h"
#include "meeting/ModelFolderResolver.h"
#include "meeting/WhisperModelService.h"
#include "speech/ModelFolders.h"

namespace tavrin {
namespace {

using Path = std::filesystem::path;

class ModelFolderResolverTest : public EngineTest {
protected:
    /// A folder with the parts of a speech model.
    Path install(const Path& relative) const { return model.install(disk.path() / relative); }

    ModelFolderResolver resolver(ModelDeployment deployment, ModelFolderResolver::SpeakerModelSearch speakers = {}) {
        return {preferences, std::move(deployment), modelSearchRoots(disk.path() / "data", disk.path() / "home"),
                std::move(speakers)};
    }
};

TEST_F(ModelFolderResolverTest, a_stored_folder_wins_until_it_is_gone_and_what_a_search_finds_takes_its_place) {
    auto folders = resolver({.smallVariant = "small.en"});
    EXPECT_EQ(folders.smallModelFolder(), std::nullopt);
    preferences.set(smallModelFolderKey, (disk.path() / "gone").string());
    EXPECT_EQ(folders.smallModelFolder(), std::nullopt);
    EXPECT_EQ(preferences.string(smallModelFolderKey), (disk.path() / "gone").string());

    install("data/OnDeviceModels/openai_whisper-small.en-tdrz");
    const Path earlier =
        install("home/.var/app/so.nimbrel.LorvexAssistant/data/OnDeviceModels/openai_whisper-small.en");
    EXPECT_EQ(folders.smallModelFolder(), earlier);
    const Path found = install("data/OnDeviceModels/models/openai_whisper-small.en_217MB");
    EXPECT_EQ(folders.smallModelFolder(), earlier); // stored by now
    std::filesystem::remove_all(earlier);
    EXPECT_EQ(folders.smallModelFolder(), found);
    EXPECT_EQ(preferences.string(smallModelFolderKey), found.string());

    const int changes = preferences.changes;
    EXPECT_EQ(folders.smallModelFolder(), found);
    EXPECT_EQ(preferences.changes, changes);
}

TEST_F(ModelFolderResolverTest, the_service_is_ready_when_all_that_is_offered_is_there) {
    std::optional<Path> speakers;
    auto both = resolver({.smallVariant = "small.en", .largeVariant = "large"}, [&](const Path&) { return speakers; });
    WhisperModelService service(time.main(), both);
    const auto told = service.state.observe([&](const WhisperModelService::State& state) {
        if (std::holds_alternative<WhisperModelService::Checking>(state))
            log.emplace_back("checking");
        else
            log.emplace_back(std::holds_alternative<WhisperModelService::Ready>(state) ? "ready" : "needs download");
    });
    EXPECT_EQ(endOf(service.refresh()), "done");
    const Path small = install("data/WhisperModels/openai_whisper-small.en");
    speakers = disk.path() / "speakers";
    EXPECT_EQ(endOf(service.refresh()), "done");
    EXPECT_EQ(preferences.string(smallModelFolderKey), small.string());
    EXPECT_EQ(preferences.string(speakerModelFolderKey), speakers->string());
    EXPECT_EQ(preferences.string(largeModelFolderKey), std::nullopt);
    const Path large = install("data/OnDeviceModels/openai_whisper-large");
    EXPECT_EQ(endOf(service.useInstalledModels()), "done");
    EXPECT_EQ(preferences.string(largeModelFolderKey), large.string());
    EXPECT_THAT(log, testing::ElementsAre("needs download", "checking", "needs download", "checking", "ready"));
    speakers.reset();
    EXPECT_EQ(endOf(service.refresh()), "done");
    EXPECT_EQ(log.back(), "needs download");
}

TEST_F(ModelFolderResolverTest, what_is_not_offered_is_neither_needed_nor_found) {
    install("data/OnDeviceModels/openai_whisper-small.en");
    auto folders = resolver({.smallVariant = "small.en"});
    EXPECT_TRUE(folders.relinkFolders());
    EXPECT_EQ(folders.largeModelFolder(), std::nullopt);
    EXPECT_EQ(folders.speakerModelFolder(), std::nullopt);
    EXPECT_FALSE(resolver({}).relinkFolders());
    EXPECT_TRUE(resolver({.smallVariant = std::nullopt}).relinkFolders());
}

} // namespace
} // namespace tavrin

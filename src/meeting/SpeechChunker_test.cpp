#include "meeting/WhisperStreamProcessor.h"
#include "support/async/Sleep.h"
#include "support/async/VirtualTime.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavrin {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Le;

class SpeechChunkerTest : public testing::Test {
protected:
    /// Tenths of a second of speech (positive) and silence (negative); gives the sizes of the chunks they complete.
    std::vector<std::size_t> hear(std::initializer_list<int> tenths) {
        std::vector<std::size_t> sizes;
        for (const int stretch : tenths) {
            const std::vector<float> samples(static_cast<std::size_t>(std::abs(stretch)) * 1'600,
                                             stretch > 0 ? 0.1F : 0.0F);
            for (const SpeechChunk& chunk : chunker.append(samples))
                if (!chunk.samples.empty()) sizes.push_back(chunk.samples.size());
        }
        return sizes;
    }
    std::vector<std::size_t> flush() {
        std::vector<std::size_t> sizes;
        for (const SpeechChunk& chunk : chunker.flush())
            if (!chunk.samples.empty()) sizes.push_back(chunk.samples.size());
        return sizes;
    }

    VirtualTime time;
    SpeechChunker chunker{meLaneSettings(MeetingEngine::dictation), time.wallClock(), [](const std::string&) {}};
};

TEST_F(SpeechChunkerTest, silence_is_never_sent_and_a_pause_ends_a_chunk_that_is_long_enough) {
    EXPECT_THAT(hear({-200}), IsEmpty());
    EXPECT_EQ(chunker.bufferedSamples(), 0U);
    EXPECT_THAT(flush(), IsEmpty());
    EXPECT_THAT(hear({5, -5}), ElementsAre(16'000U));
    EXPECT_THAT(hear({2, -5}), IsEmpty());
    EXPECT_THAT(hear({-6}), ElementsAre(testing::Ge(16'000U))); // as soon as it is
}

TEST_F(SpeechChunkerTest, unbroken_speech_is_cut_every_three_seconds) {
    EXPECT_THAT(hear({30, 28, 28}), ElementsAre(48'000U, 48'800U, 48'800U));
    chunker.clear();
    const auto chunks = chunker.append(std::vector<float>(98'000, 0.1F));
    ASSERT_EQ(chunks.size(), 2U);
    EXPECT_FALSE(chunks[0].followsForcedCut);
    EXPECT_TRUE(chunks[0].endsInForcedCut);
    EXPECT_TRUE(chunks[1].followsForcedCut);
}

TEST_F(SpeechChunkerTest, carry_of_a_chunk_is_no_speech_of_its_own) {
    EXPECT_THAT(hear({30}), ElementsAre(48'000U));
    EXPECT_EQ(chunker.bufferedSamples(), 4'000U);
    EXPECT_THAT(hear({-4}), IsEmpty());
    EXPECT_EQ(chunker.bufferedSamples(), 4'000U);
    EXPECT_THAT(hear({-1}), IsEmpty());
    EXPECT_EQ(chunker.bufferedSamples(), 0U);
    EXPECT_THAT(hear({30}), ElementsAre(48'000U));
    EXPECT_THAT(flush(), IsEmpty());
}

TEST_F(SpeechChunkerTest, flush_sends_the_rest_but_no_splinter) {
    EXPECT_THAT(hear({2}), IsEmpty());
    EXPECT_THAT(flush(), ElementsAre(3'200U));
    chunker.clear();
    EXPECT_THAT(hear({20, -3}), IsEmpty());
    const auto last = chunker.flush();
    ASSERT_EQ(last.size(), 1U) << "nothing follows it";
    EXPECT_FALSE(last[0].endsInForcedCut);
    EXPECT_EQ(last[0].trailingSilence, 4'800U);
    chunker.clear();
    EXPECT_THAT(chunker.append(std::vector<float>(1'599, 0.1F)), IsEmpty());
    EXPECT_THAT(flush(), IsEmpty());
}

TEST_F(SpeechChunkerTest, longest_chunk_is_split_at_its_quietest_place) {
    const EnergyVAD vad(0.01F);
    std::vector<float> samples(128'000, 0.1F);
    std::fill(samples.begin() + 80'000, samples.begin() + 96'000, 0.0F);
    EXPECT_NEAR(static_cast<double>(vad.findSplit(samples, 128'000)), 88'000, 1'600);
    EXPECT_EQ(vad.findSplit(std::vector<float>(50'000, 0.1F), 128'000), 50'000U);
    EXPECT_THAT(vad.speechFrames({}), IsEmpty());
}

/// A lane on virtual time with an engine by script.
class WhisperStreamProcessorTest : public testing::Test {
protected:
    void hear(Duration length, float level = 0.1F) {
        const std::vector<std::int16_t> pcm(1'600, static_cast<std::int16_t>(level * 32'767));
        for (Duration passed{}; passed < length; passed += 100ms) {
            inlet(std::as_bytes(std::span(pcm)));
            time.advance(100ms);
            pending.push_back(processor->pendingSampleCount());
        }
    }

    const LogCapture logged;
    VirtualTime time;
    Duration engineTime{};
    bool accepts = true;
    std::vector<std::size_t> results; // their chunks
    std::vector<std::string> notes;
    std::vector<std::int64_t> pending;
    int finished = 0;
    int texts = 0;
    std::optional<std::size_t> echo; // this chunk is one
    std::unique_ptr<WhisperStreamProcessor> processor = std::make_unique<WhisperStreamProcessor>(
        themLaneSettings(MeetingEngine::dictation),
        WhisperStreamProcessor::Dependencies{.main = time.main(),
                                             .lane = time.addExecutor(),
                                             .clock = time.wallClock(),
                                             .transcribe = [this](std::vector<float> samples, bool) -> Task<ChunkText> {
                                                 co_await sleepFor(engineTime);
                                                 if (std::ranges::count(samples, 0.0F) == std::ssize(samples))
                                                     co_return ChunkText{};
                                                 co_return ChunkText{.text = "text " + std::to_string(++texts),
                                                                     .words = {}};
                                             },
                                             .note = [this](std::string line) { notes.push_back(std::move(line)); },
                                             .silenceEcho =
                                                 [this](SpeechChunk& chunk) {
                                                     if (chunk.index == echo) std::ranges::fill(chunk.samples, 0.0F);
                                                 }},
        WhisperStreamProcessor::Callbacks{.onTranscriptionFinished = [this] { ++finished; },
                                          .onResult =
                                              [this](const std::string& /*text*/, const SpeechChunk& chunk) {
                                                  results.push_back(chunk.index);
                                                  return accepts;
                                              }});
    WhisperStreamProcessor::Inlet inlet = processor->inlet();
};

TEST_F(WhisperStreamProcessorTest, chunks_come_out_in_order_and_count_an_echo_without_its_text) {
    echo = 2;
    hear(12s);
    EXPECT_THAT(results, ElementsAre(0U, 1U, 3U));
    EXPECT_EQ(processor->completedSampleCount(), 194'400);
    accepts = false; // nobody wants it any more
    hear(3s);
    EXPECT_THAT(results, ElementsAre(0U, 1U, 3U, 4U));
    EXPECT_EQ(processor->completedSampleCount(), 194'400);
}

TEST_F(WhisperStreamProcessorTest, slow_engine_drops_the_oldest_and_keeps_the_queue_short) {
    engineTime = 12s;
    hear(120s);
    EXPECT_THAT(notes, Contains(HasSubstr("live_chunk_dropped label=Them reason=backlog_cap pending=7")));
    EXPECT_THAT(pending, Each(Le(2 * (8 * 48'800) + (2 * 48'800))));
    EXPECT_GT(processor->droppedSampleCount(), 0);
}

TEST_F(WhisperStreamProcessorTest, only_sound_takes_a_place_in_the_queue) {
    engineTime = 60s;
    for (int i = 0; i < 9; ++i) { // one in the engine, eight wait, each with the word that its speech has ended
        hear(3s);
        hear(1s, 0);
    }
    EXPECT_EQ(processor->droppedSampleCount(), 0);
    hear(3s);
    EXPECT_EQ(processor->droppedSampleCount(), 48'000);
}

TEST_F(WhisperStreamProcessorTest, nothing_is_told_after_cancel) {
    engineTime = 1s;
    hear(3500ms);
    processor->cancel();
    time.advance(5s);
    hear(5s);
    EXPECT_THAT(results, IsEmpty());
    EXPECT_EQ(finished, 0);
    processor.reset();
    inlet(std::vector<std::byte>(3'200)); // capture may be a moment behind
    time.runUntilIdle();
}

} // namespace
} // namespace tavrin

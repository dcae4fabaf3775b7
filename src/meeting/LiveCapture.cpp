#include "meeting/LiveCapture.h"

#include "audio/PcmFormat.h"
#include "meeting/MeetingMessages.h"
#include "support/async/Sleep.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace tavrin {

namespace {

using Phase = MeetingStatus::Phase;

constexpr Duration tickInterval = std::chrono::seconds(2);
constexpr Duration backlogInterval = std::chrono::seconds(1);

bool begins(const std::optional<std::string>& text, std::initializer_list<std::string_view> beginnings) {
    return text && std::ranges::any_of(beginnings, [&](std::string_view b) { return text->starts_with(b); });
}

const char* engineWord(MeetingEngine engine) {
    return engine == MeetingEngine::large ? "large" : "small.en";
}

/// A peak meter that falls by 0.86 an update.
float smoothed(float level, float previous) {
    return std::max(std::clamp(level, 0.0F, 1.0F), previous * 0.86F);
}

} // namespace

LiveCapture::LiveCapture(Dependencies dependencies, SessionState& published, OpenMeeting& open,
                         LiveTranscript& liveTranscript)
    : use(dependencies), state(published), meeting(open), transcript(liveTranscript),
      meLines(use.main, transcript, [this](Date date) { return themMayFollow(date); }), tasks(use.main) {
    use.mixedCapture.onMicrophoneLost = [this](bool isLost) {
        state.microphoneNotice = isLost ? std::optional<std::string>(messages::microphoneLost) : std::nullopt;
        if (isLost) state.micAudioLevel = 0;
        use.diagnostics.log(isLost ? "microphone_lost" : "microphone_back");
    };
}

LiveCapture::~LiveCapture() {
    use.mixedCapture.onMicrophoneLost = {};
    resetLanes();
    *isAlive = false;
}

// Start

Task<LiveCapture::Started> LiveCapture::startLiveCapture(bool clearInterim) {
    expectCurrent(use.main);
    if (!std::holds_alternative<WhisperModelService::Ready>(*use.models.state)) {
        state.showWhisperModelSetup = true;
        co_return Started::failed;
    }
    const std::uint64_t generation = ++captureGeneration;
    opening = true;
    transcript.cancelThemResults();
    resetLanes();
    resetMeters();
    wireMeters();
    if (clearInterim) state.interimPartial = "";
    wireArchive();
    if (const Started opened = co_await startCapture(generation); opened != Started::live) co_return opened;
    opening = false;
    tellWhatIsCaptured();
    meeting.activeTime.open(use.clock.now());
    tellLoading();
    if (const Started loaded = co_await loadEngines(generation); loaded != Started::live) co_return loaded;
    attach();
    wireLive();
    tellLive();
    backlogRefreshTask.cancel();
    backlogRefreshTask = tasks.spawn(refreshBacklogEverySecond());
    co_return Started::live;
}

void LiveCapture::resetLanes() {
    use.mixedCapture.onMicPCMChunk.clear();
    use.mixedCapture.onSystemPCMChunk.clear();
    use.mixedCapture.onMicLevel.clear();
    use.mixedCapture.onSystemLevel.clear();
    use.mixedCapture.stop();
    meProcessor.reset();
    themProcessor.reset();
    pcmBaseSampleOffset = {};
}

void LiveCapture::wireMeters() {
    const auto onMain = [this](void (LiveCapture::*take)(float)) {
        return [this, alive = isAlive, &main = use.main, take, generation = captureGeneration](float level) {
            main.post([this, alive, take, generation, level] {
                if (*alive && generation == captureGeneration) (this->*take)(level);
            });
        };
    };
    use.mixedCapture.onMicLevel.set(onMain(&LiveCapture::micLevel));
    use.mixedCapture.onSystemLevel.set(onMain(&LiveCapture::systemLevel));
}

/// Each chunk to its file, before anything else is there to take it.
void LiveCapture::wireArchive() {
    clearFrameCounters();
    const LaneArchives archives = openArchives();
    const std::size_t firstSample =
        archives.me ? std::max(archives.me->sampleCount(), archives.them->sampleCount()) : 0;
    meeting.stretches.push_back({.firstSample = static_cast<std::int64_t>(firstSample), .start = use.clock.now()});
    for (const auto& archive : {archives.me, archives.them})
        if (archive) archive->beginStretch(firstSample);
    use.mixedCapture.onMicPCMChunk.set(chunkSink(archives.me, diagnosticsMicFrameCounter));
    use.mixedCapture.onSystemPCMChunk.set(chunkSink(archives.them, diagnosticsThemFrameCounter));
}

LiveCapture::LaneArchives LiveCapture::openArchives() const {
    if (!meeting.persistence) return {};
    return {.me = meeting.persistence->micPCM(), .them = meeting.persistence->themPCM()};
}

WhisperStreamProcessor::Inlet LiveCapture::chunkSink(std::shared_ptr<PcmArchive> archive,
                                                     DiagnosticsCaptureFrameCounter& counter,
                                                     WhisperStreamProcessor::Inlet live) {
    return [&diagnostics = use.diagnostics, &counter, file = std::move(archive),
            inlet = std::move(live)](std::span<const std::byte> pcm) {
        diagnostics.countFrames(pcm.size(), counter);
        if (file) file->append(pcm);
        if (inlet) inlet(pcm);
    };
}

Task<LiveCapture::Started> LiveCapture::startCapture(std::uint64_t generation) {
    try {
        const auto started = co_await use.mixedCapture.start();
        if (captureGeneration != generation || started == MixedAudioCaptureService::Started::superseded)
            co_return Started::superseded;
        state.systemAudioActive = started == MixedAudioCaptureService::Started::both;
        co_return Started::live;
    } catch (const std::exception& error) {
        co_return failStart(error, generation);
    }
}

LiveCapture::Started LiveCapture::failStart(const std::exception& error, std::uint64_t generation) {
    use.diagnostics.log(std::string("whisper_load_failed ") + error.what());
    if (captureGeneration != generation) return Started::superseded;
    opening = false;
    transcript.cancelThemResults();
    resetLanes();
    meeting.activeTime.closeActiveStretch(use.clock.now());
    state.interimPartial = "";
    state.processingStatusMessage = std::nullopt;
    state.status = MeetingStatus::error(error.what());
    return Started::failed;
}

void LiveCapture::tellWhatIsCaptured() {
    if (*state.systemAudioActive) return;
    const auto& why = use.mixedCapture.lastSystemStartError();
    state.systemAudioNotice =
        std::string(messages::microphoneOnly) + why.value_or(std::string(messages::allowSystemAudio));
}

void LiveCapture::tellLoading() {
    if (use.engines.largeEngineLoaded()) {
        state.status = MeetingStatus{.phase = Phase::recording};
        return;
    }
    state.status = MeetingStatus{.phase = Phase::loadingModel};
    state.interimPartial = std::string(messages::loadingFirst);
    state.processingStatusMessage = std::string(messages::loadingStatus);
}

Task<LiveCapture::Started> LiveCapture::loadEngines(std::uint64_t generation) {
    use.diagnostics.log("whisper_load_start");
    loadTicker.cancel();
    loadTicker = tasks.spawn(tick(generation));
    try {
        co_await use.engines.ensureMeetingModelLoaded();
    } catch (const std::exception& error) {
        if (captureGeneration == generation) loadTicker.cancel();
        co_return failStart(error, generation);
    }
    use.engines.suspendBackgroundMeetingModelLoad();
    if (*state.systemAudioActive && use.engines.isSmallEnInstalled()) {
        try {
            co_await use.engines.ensureThemEngineLoaded();
        } catch (const std::exception& error) {
            use.diagnostics.log(std::string("them_engine_load_failed ") + error.what());
        }
    }
    const char* word = use.engines.smallEngineLoaded() || use.engines.isSmallEnInstalled() ? "small.en" : "large";
    use.diagnostics.log(std::string("whisper_load_done archive=") + word + " liveMe=" + word);
    if (captureGeneration != generation) {
        use.diagnostics.log("live_attach_skipped_stale_generation");
        co_return Started::superseded;
    }
    loadTicker.cancel();
    if (!state.status->isCapturing()) {
        use.mixedCapture.stop();
        co_return Started::superseded;
    }
    co_return Started::live;
}

void LiveCapture::attach() {
    const auto count = [](const std::shared_ptr<PcmArchive>& archive) {
        return static_cast<std::int64_t>(archive->sampleCount());
    };
    if (meeting.persistence)
        pcmBaseSampleOffset = {.me = count(meeting.persistence->micPCM()),
                               .them = count(meeting.persistence->themPCM())};
    echoReference = std::make_shared<EchoReference>();
    echoSuppressor = std::make_unique<EchoSuppressor>(*echoReference);
    meProcessor = meLaneProcessor();
    themProcessor = themLaneProcessor();
}

/// From here on each chunk goes to the file and then to the lane's processor. What came between is in the file only.
void LiveCapture::wireLive() {
    const LaneArchives archives = openArchives();
    use.mixedCapture.onMicPCMChunk.set(chunkSink(archives.me, diagnosticsMicFrameCounter, meProcessor->inlet()));
    if (*state.systemAudioActive)
        use.mixedCapture.onSystemPCMChunk.set(
            chunkSink(archives.them, diagnosticsThemFrameCounter,
                      [reference = echoReference, inlet = themProcessor->inlet()](std::span<const std::byte> pcm) {
                          reference->append(pcm);
                          inlet(pcm);
                      }));
    else
        use.mixedCapture.onSystemPCMChunk.clear();
}

void LiveCapture::tellLive() {
    state.status = MeetingStatus{.phase = Phase::recording};
    if (begins(*state.interimPartial, {"Recording now", "Catching up", "Loading speech"})) state.interimPartial = "";
    if (begins(*state.processingStatusMessage, {"Recording", "Catching up"}))
        state.processingStatusMessage = std::nullopt;
}

Task<void> LiveCapture::tick(std::uint64_t generation) {
    for (long elapsed = 2;; elapsed += 2) {
        co_await sleepFor(tickInterval);
        if (captureGeneration != generation || !state.status->isCapturing()) co_return;
        if (!begins(*state.interimPartial, {"Recording now"}) && !begins(*state.processingStatusMessage, {"Recording"}))
            continue;
        state.interimPartial = messages::loadingAfter(elapsed);
        state.processingStatusMessage = messages::loadingStatusAfter(elapsed);
    }
}

// The lanes

WhisperStreamProcessor::Dependencies LiveCapture::laneDependencies(Executor& lane, Transcribe transcribe) {
    return {.main = use.main,
            .lane = lane,
            .clock = use.clock,
            .transcribe = std::move(transcribe),
            .note = [&diagnostics = use.diagnostics](std::string line) { diagnostics.log(std::move(line)); }};
}

std::unique_ptr<WhisperStreamProcessor> LiveCapture::meLaneProcessor() {
    LaneEngine engine = use.engines.laneEngineForMe();
    use.diagnostics.log(std::string("live_attach engineMe=") + engineWord(engine.which) +
                        " engineThem=small.en-dedicated meOffset=" + std::to_string(pcmBaseSampleOffset.me) +
                        " themOffset=" + std::to_string(pcmBaseSampleOffset.them));
    const std::int64_t shift = pcmBaseSampleOffset.me - pcmBaseSampleOffset.them;
    WhisperStreamProcessor::Callbacks hooks;
    hooks.onTranscriptionStarted = [this] { state.interimPartial = std::string(messages::transcribing); };
    hooks.onTranscriptionFinished = [this] { transcriptionFinished(); };
    hooks.onResult = [this, generation = meeting.transcriptWorkGeneration, id = meeting.meetingID,
                      shift](std::string text, const SpeechChunk& chunk) {
        if (!transcript.isValid(generation, id)) return false;
        noteResult(text, "Me", chunk);
        state.interimPartial = "";
        meLines.add(spoken(chunk, std::move(text), echoSuppressor->likeness(chunk, shift)), generation, id);
        refreshBacklog();
        return true;
    };
    auto dependencies = laneDependencies(use.meLane, std::move(engine.transcribe));
    dependencies.silenceEcho = [this, shift](SpeechChunk& chunk) {
        const EchoSuppressor::Outcome outcome = echoSuppressor->silenceEcho(chunk, shift);
        if (outcome.silenced > 0)
            use.diagnostics.log(fmt::format("live_echo_{} label=Me reason=sound silencedSteps={} ownSteps={}",
                                            outcome.own > 0 ? "silenced" : "dropped", outcome.silenced, outcome.own));
    };
    return std::make_unique<WhisperStreamProcessor>(meLaneSettings(engine.which), std::move(dependencies),
                                                    std::move(hooks));
}

std::unique_ptr<WhisperStreamProcessor> LiveCapture::themLaneProcessor() {
    LaneEngine engine = use.engines.laneEngineForThem();
    WhisperStreamProcessor::Callbacks hooks;
    hooks.onTranscriptionStarted = [this] {
        if (state.status->isCapturing() && state.interimPartial->empty())
            state.interimPartial = std::string(messages::transcribing);
    };
    hooks.onTranscriptionFinished = [this] { transcriptionFinished(); };
    hooks.onResult = [this, generation = meeting.transcriptWorkGeneration,
                      id = meeting.meetingID](std::string text, const SpeechChunk& chunk) {
        if (!transcript.isValid(generation, id)) return false;
        noteResult(text, "Them", chunk);
        if (*state.interimPartial == messages::transcribing) state.interimPartial = "";
        meLines.themSaid(spoken(chunk, text));
        transcript.enqueueThemResult(
            {.text = std::move(text), .speakerLabel = std::string(themLabel), .date = chunk.date}, generation, id);
        return true;
    };
    return std::make_unique<WhisperStreamProcessor>(
        themLaneSettings(engine.which), laneDependencies(use.themLane, std::move(engine.transcribe)), std::move(hooks));
}

bool LiveCapture::themMayFollow(Date date) const {
    if (meeting.isDraining) return meeting.hadSystemAudio;
    if (!*state.systemAudioActive || !themProcessor) return false;
    return transcript.hasThemResults() || themProcessor->mayFollow(date);
}

void LiveCapture::noteResult(const std::string& text, const char* label, const SpeechChunk& chunk) {
    const double offset = meeting.sessionRecordedAt ? chunk.date.secondsSince(*meeting.sessionRecordedAt) : 0;
    const double length = static_cast<double>(chunk.samples.size()) / pcmSampleRate;
    use.diagnostics.logResult(text, label, offset, offset + length);
}

void LiveCapture::transcriptionFinished() {
    if (*state.interimPartial == messages::transcribing)
        state.interimPartial =
            state.status->phase == Phase::processing ? std::string(messages::finishingTranscription) : std::string();
    refreshBacklog();
}

// End

EndedLanes LiveCapture::end() {
    backlogRefreshTask.cancel();
    loadTicker.cancel();
    ++captureGeneration;
    opening = false;
    EndedLanes lanes{.me = std::move(meProcessor),
                     .them = std::move(themProcessor),
                     .base = pcmBaseSampleOffset,
                     .meLines = &meLines};
    resetLanes();
    meeting.hadSystemAudio = *state.systemAudioActive;
    state.systemAudioActive = false;
    state.microphoneNotice = std::nullopt;
    resetMeters();
    return lanes;
}

LaneCounts LiveCapture::transcribedSamples() const {
    LaneCounts counts = pcmBaseSampleOffset;
    if (meProcessor) counts.me += meProcessor->completedSampleCount() - meLines.heldSamples();
    if (themProcessor) counts.them += themProcessor->completedSampleCount();
    return counts;
}

void LiveCapture::refreshBacklog() {
    std::int64_t pending = 0;
    if (meProcessor) pending += meProcessor->pendingSampleCount();
    if (themProcessor) pending += themProcessor->pendingSampleCount();
    state.transcriptionBacklogSeconds = static_cast<double>(pending) / pcmSampleRate;
}

Task<void> LiveCapture::refreshBacklogEverySecond() {
    while (true) {
        refreshBacklog();
        co_await sleepFor(backlogInterval);
    }
}

void LiveCapture::clearFrameCounters() {
    diagnosticsMicFrameCounter.restart();
    diagnosticsThemFrameCounter.restart();
}

// Levels

void LiveCapture::resetMeters() {
    state.micAudioLevel = 0;
    state.systemAudioLevel = 0;
    silenceRule = {};
}

void LiveCapture::micLevel(float level) {
    if (!state.status->isCapturing()) return;
    state.micAudioLevel = smoothed(level, *state.micAudioLevel);
    switch (silenceRule.micLevel(level, *state.systemAudioActive, *state.systemAudioLevel)) {
    case MicSilenceRule::Action::none:
        return;
    case MicSilenceRule::Action::remount:
        tasks.spawn(remountSilentMicrophone());
        return;
    case MicSilenceRule::Action::tell:
        appendMicrophoneQuiet();
        return;
    }
}

void LiveCapture::systemLevel(float level) {
    if (!state.status->isCapturing() || !*state.systemAudioActive) return;
    state.systemAudioLevel = smoothed(level, *state.systemAudioLevel);
}

Task<void> LiveCapture::remountSilentMicrophone() {
    use.diagnostics.log("mic_remount_after_silent_with_system_audio");
    if (!use.mixedCapture.systemEnabled()) co_return;
    try {
        co_await use.mixedCapture.remountMic();
    } catch (const std::exception& error) {
        use.diagnostics.log(std::string("mic_remount_failed ") + error.what());
    }
}

void LiveCapture::appendMicrophoneQuiet() {
    const std::string before = state.systemAudioNotice->value_or("");
    if (before.contains("Microphone")) return;
    state.systemAudioNotice = before + (before.empty() ? "" : " ") + std::string(messages::microphoneQuiet);
}

} // namespace tavrin

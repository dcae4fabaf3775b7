#include "bench/QuietBench.h"

#include "bench/LiveLanes.h"
#include "bench/Report.h"
#include "bench/SpokenMaterial.h"
#include "dictation/text/DictationTextCleanup.h"
#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/SpeechAudio.h"
#include "speech/TranscribeTask.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <array>

namespace tavrin {

namespace {

// Nothing, a fan, a mains hum, a keyboard, music.
constexpr std::array sounds{"silence", "brown", "hum", "clicks", "chords"};
constexpr std::size_t levels = 3, secondsPerLevel = 100;

/// The beginning of each third of the file: every level, five minutes in all.
std::vector<float> fiveMinutesOf(const std::filesystem::path& file) {
    const std::vector<float> all = soundOf(file);
    std::vector<float> result;
    for (std::size_t level = 0; level < levels; ++level) {
        const auto begin = all.begin() + static_cast<std::ptrdiff_t>(level * all.size() / levels);
        const std::size_t most = std::min(secondsPerLevel * speechSampleRate, all.size() / levels);
        result.insert(result.end(), begin, begin + static_cast<std::ptrdiff_t>(most));
    }
    return result;
}

struct Doors {
    std::size_t chunks = 0;
    std::size_t words = 0; ///< that an engine without doors makes up
    std::size_t refused = 0, silent = 0, cleaned = 0;
    std::size_t silentAlone = 0, cleanedAlone = 0; ///< with the door named as the only one
};

std::string textOf(const SpeechModels& models, const std::vector<float>& samples, const DecodingOptions& options) {
    std::string text;
    for (const auto& segment : TranscribeTask(models).run(samples, options).segments)
        text += segment.text;
    return text;
}

DecodingOptions english() {
    DecodingOptions options;
    options.language = "en";
    return options;
}

/// Takes what it hears for speech, whatever it is.
DecodingOptions credulous() {
    DecodingOptions options = english();
    options.temperatureFallbackCount = 0;
    options.noSpeechThreshold = std::nullopt;
    options.logProbThreshold = std::nullopt;
    options.firstTokenLogProbThreshold = std::nullopt;
    options.compressionRatioThreshold = std::nullopt;
    return options;
}

/// With the silence test, and no second try at what it lets through.
DecodingOptions doubtful() {
    DecodingOptions options = credulous();
    options.noSpeechThreshold = english().noSpeechThreshold;
    return options;
}

std::size_t wordsLess(const std::string& before, const std::string& after) {
    const std::size_t all = words(before).size();
    return all - std::min(all, words(after).size());
}

/// As in a meeting, with the words counted that each door keeps out.
Transcribe countingTranscriber(const SpeechModels& models, Doors& doors) {
    return [&models, &doors](std::vector<float> samples, bool) -> Task<ChunkText> {
        const std::string made = textOf(models, samples, credulous());
        ++doors.chunks;
        doors.words += words(made).size();
        doors.silentAlone += wordsLess(made, textOf(models, samples, doubtful()));
        doors.cleanedAlone += wordsLess(made, cleanMeetingSegment(made));
        if (!models.hearsSpeech(samples)) {
            doors.refused += words(made).size();
            co_return ChunkText{};
        }
        const std::string heard = textOf(models, samples, english());
        doors.silent += wordsLess(made, heard);
        doors.cleaned += wordsLess(heard, cleanMeetingSegment(heard));
        co_return ChunkText{.text = heard, .words = {}};
    };
}

} // namespace

void measureQuiet(const QuietMaterial& material, Report& report) {
    OnnxModelRuntime runtime;
    const SpeechModels models(runtime, material.pack, 2);
    report.heading("Five minutes of each sound through both live lanes: words made up, and where they end");
    Table table({"sound", "chunks", "words without doors", "voice activity", "silence test", "clean-up", "lines",
                 "silence test alone", "clean-up alone"});
    std::size_t lines = 0;
    for (const char* sound : sounds) {
        Doors doors;
        const std::vector<float> samples = fiveMinutesOf(material.noise / (std::string(sound) + ".wav"));
        LiveLanes lanes(countingTranscriber(models, doors));
        lanes.play(samples, samples);
        lines += lanes.lines().size();
        table.add({sound, std::to_string(doors.chunks), std::to_string(doors.words), std::to_string(doors.refused),
                   std::to_string(doors.silent), std::to_string(doors.cleaned), std::to_string(lanes.lines().size()),
                   std::to_string(doors.silentAlone), std::to_string(doors.cleanedAlone)});
    }
    report.table(table);
    report.bar("lines of text without speech", static_cast<double>(lines), 0, 0, "");
}

} // namespace tavrin

#include "transcribe/TranscriptWriter.h"

#include "support/json/Json.h"
#include "support/text/Unicode.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <ostream>

namespace tavrin {

namespace {

class TextWriter final : public TranscriptWriter {
public:
    explicit TextWriter(std::ostream& stream) : output(stream) {}
    void add(const TranscriptionResult& result) override {
        for (const auto& segment : result.segments)
            output << trimmed(segment.text) << '\n';
        output.flush();
    }
    void finish(double) override {}

private:
    std::ostream& output;
};

/// SubRip and WebVTT differ in their head, their numbers and a comma.
class SubtitleWriter final : public TranscriptWriter {
public:
    SubtitleWriter(std::ostream& stream, bool web) : output(stream), isWeb(web) {
        if (isWeb) output << "WEBVTT\n\n";
    }
    void add(const TranscriptionResult& result) override {
        const char mark = isWeb ? '.' : ',';
        for (const auto& segment : result.segments) {
            if (!isWeb) output << ++number << '\n';
            output << clockText(segment.start, mark) << " --> " << clockText(segment.end, mark) << '\n'
                   << trimmed(segment.text) << "\n\n";
        }
        output.flush();
    }
    void finish(double) override {}

private:
    std::ostream& output;
    bool isWeb;
    int number = 0;
};

/// Seconds in whole milliseconds, so that no float's long tail is printed.
double milliseconds(float seconds) {
    return std::round(static_cast<double>(seconds) * 1000.0) / 1000.0;
}

Json jsonOf(const TranscriptionSegment& segment) {
    Json entry{{"start", milliseconds(segment.start)},
               {"end", milliseconds(segment.end)},
               {"text", std::string(trimmed(segment.text))},
               {"averageLogProbability", milliseconds(segment.avgLogprob)},
               {"noSpeechProbability", milliseconds(segment.noSpeechProb)},
               {"compressionRatio", milliseconds(segment.compressionRatio)},
               {"temperature", milliseconds(segment.temperature)}};
    if (!segment.words) return entry;
    Json& words = entry["words"] = Json::array();
    for (const auto& word : *segment.words)
        words.push_back({{"word", std::string(trimmed(word.word))},
                         {"start", milliseconds(word.start)},
                         {"end", milliseconds(word.end)},
                         {"probability", milliseconds(word.probability)}});
    return entry;
}

class JsonWriter final : public TranscriptWriter {
public:
    JsonWriter(std::ostream& stream, std::string name) : output(stream), file(std::move(name)) {}
    void add(const TranscriptionResult& result) override {
        if (language.empty()) language = result.language;
        for (const auto& segment : result.segments) {
            if (!text.empty()) text += ' ';
            text += trimmed(segment.text);
            segments.push_back(jsonOf(segment));
        }
    }
    void finish(double seconds) override {
        output << prettyText({{"file", file},
                              {"seconds", std::round(seconds * 1000.0) / 1000.0},
                              {"language", language.empty() ? Json() : Json(language)},
                              {"text", text},
                              {"segments", segments}});
        output.flush();
    }

private:
    std::ostream& output;
    std::string file, language, text;
    Json segments = Json::array();
};

} // namespace

std::optional<TranscriptFormat> transcriptFormat(std::string_view name) {
    using enum TranscriptFormat;
    if (name == "text" || name == "txt") return text;
    if (name == "srt") return srt;
    if (name == "vtt") return vtt;
    if (name == "json") return json;
    return std::nullopt;
}

std::unique_ptr<TranscriptWriter> makeTranscriptWriter(TranscriptFormat format, const std::string& file,
                                                       std::ostream& output) {
    switch (format) {
    case TranscriptFormat::srt:
        return std::make_unique<SubtitleWriter>(output, false);
    case TranscriptFormat::vtt:
        return std::make_unique<SubtitleWriter>(output, true);
    case TranscriptFormat::json:
        return std::make_unique<JsonWriter>(output, file);
    case TranscriptFormat::text:
        break;
    }
    return std::make_unique<TextWriter>(output);
}

std::string clockText(double seconds, char mark) {
    const auto all = static_cast<long long>(std::llround(std::max(0.0, seconds) * 1000.0));
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%02lld:%02lld:%02lld%c%03lld", all / 3'600'000, all / 60'000 % 60,
                  all / 1000 % 60, mark, all % 1000);
    return text.data();
}

} // namespace tavrin

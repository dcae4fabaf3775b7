#pragma once

#include "speech/TranscriptionResult.h"

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tavrin {

enum class TranscriptFormat : std::uint8_t { text, srt, vtt, json };

[[nodiscard]] std::optional<TranscriptFormat> transcriptFormat(std::string_view name);

/// Writes one file's transcript as its parts come. Text and subtitles are written at once; JSON at `finish`, whole.
class TranscriptWriter {
public:
    virtual ~TranscriptWriter() = default;
    virtual void add(const TranscriptionResult& result) = 0;
    /// `seconds`: the length of the audio.
    virtual void finish(double seconds) = 0;
};

/// `file` names the transcript where the format has a place for it. `output` must outlive the writer.
[[nodiscard]] std::unique_ptr<TranscriptWriter> makeTranscriptWriter(TranscriptFormat format, const std::string& file,
                                                                     std::ostream& output);

/// "01:02:03.456" with the given mark before the milliseconds.
[[nodiscard]] std::string clockText(double seconds, char mark);

} // namespace tavrin

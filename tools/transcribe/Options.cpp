#include "transcribe/Options.h"

#include <charconv>

namespace tavrin {

namespace {

int processorCount(const std::string& text) {
    int count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (error != std::errc{} || end != text.data() + text.size() || count < 1 || count > 256)
        throw UsageError("--threads takes a number from 1 to 256, not \"" + text + "\"");
    return count;
}

TranscriptFormat checkedFormat(const std::string& text) {
    const auto format = transcriptFormat(text);
    if (!format) throw UsageError("--format is text, srt, vtt or json, not \"" + text + "\"");
    return *format;
}

} // namespace

TranscribeOptions parseTranscribeOptions(const std::vector<std::string>& arguments) {
    TranscribeOptions options;
    bool onlyFiles = false;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        const auto value = [&] {
            const std::string& option = *argument;
            if (++argument == arguments.end()) throw UsageError(option + " takes a value");
            return *argument;
        };
        if (onlyFiles || *argument == "-" || !argument->starts_with('-'))
            options.files.push_back(*argument);
        else if (*argument == "--")
            onlyFiles = true;
        else if (*argument == "--format")
            options.format = checkedFormat(value());
        else if (*argument == "--language")
            options.language = value();
        else if (*argument == "--model")
            options.model = value();
        else if (*argument == "--threads")
            options.threads = processorCount(value());
        else if (*argument == "--words")
            options.words = true;
        else if (*argument == "--full-context")
            options.fullContext = true;
        else if (*argument == "--help" || *argument == "-h")
            options.wantsHelp = true;
        else
            throw UsageError("unknown option \"" + *argument + "\"");
    }
    if (options.files.empty() && !options.wantsHelp) throw UsageError("no file given");
    return options;
}

} // namespace tavrin

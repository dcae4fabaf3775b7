#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/ChunkedTranscriber.h"
#include "speech/ModelFolders.h"
#include "speech/SpeechAudio.h"
#include "speech/SpeechError.h"
#include "support/files/XdgFolders.h"
#include "transcribe/AudioFileReader.h"
#include "transcribe/Options.h"
#include "transcribe/ProgressLine.h"
#include "transcribe/TranscriptWriter.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <thread>

namespace tavrin {

namespace {

std::filesystem::path modelFolder(const TranscribeOptions& options) {
    if (options.model.find('/') != std::string::npos) return options.model;
    const auto folders = XdgFolders::ofThisUser();
    const char* home = std::getenv("HOME");
    const auto roots = modelSearchRoots(folders.documents(), home == nullptr ? "" : home);
    const auto found = resolveModelFolder(options.model, {}, roots);
    if (!found)
        throw SpeechError("Speech model is not installed. No folder \"openai_whisper-" + options.model + "\" below " +
                          roots.front().string());
    return *found;
}

DecodingOptions decodingOptions(const TranscribeOptions& options) {
    DecodingOptions decoding;
    decoding.detectLanguage = options.language == "auto";
    if (!decoding.detectLanguage) decoding.language = options.language;
    decoding.wordTimestamps = options.words;
    decoding.shortContext = !options.fullContext;
    return decoding;
}

/// One file after another with the same models.
class Transcriber {
public:
    Transcriber(const TranscribeOptions& wanted, std::size_t processorCount)
        : options(wanted), processors(processorCount), folder(modelFolder(wanted)) {}

    /// True if the file is whole and all of it was transcribed.
    bool transcribe(const std::string& file) {
        AudioFileReader reader(file);
        // The beginning tells whether there is more than one window, which decides how the processors are used best.
        std::vector<float> head(speechWindowSamples);
        head.resize(reader.read(head));
        const bool isLong = head.size() == speechWindowSamples;
        const std::size_t workers = isLong ? processors : 1;
        const SpeechModels& models = modelsFor(isLong ? 1 : static_cast<int>(processors));
        const auto writer = makeTranscriptWriter(options.format, file, std::cout);
        ProgressLine progress(std::cerr, file, reader.statedSeconds());
        std::size_t given = 0;
        ChunkedTranscriber(models, decodingOptions(options), workers)
            .run(
                [&](std::span<float> block) {
                    progress.show(reader.readSeconds());
                    if (given == head.size()) return isLong ? reader.read(block) : 0;
                    const std::size_t count = std::min(block.size(), head.size() - given);
                    std::copy_n(head.begin() + static_cast<std::ptrdiff_t>(given), count, block.begin());
                    given += count;
                    return count;
                },
                [&](const TranscriptionResult& result) {
                    progress.clear();
                    writer->add(result);
                    return static_cast<bool>(std::cout);
                });
        progress.clear();
        writer->finish(reader.readSeconds());
        const auto damage = reader.damage();
        if (damage) std::cerr << "tavrin transcribe: " << file << ": " << *damage << '\n';
        return !damage;
    }

private:
    /// Loaded with the first file that wants them so, and kept for the others.
    const SpeechModels& modelsFor(int threads) {
        auto& models = loaded[threads];
        if (!models) models = std::make_unique<const SpeechModels>(runtime, folder, threads);
        return *models;
    }

    const TranscribeOptions& options;
    std::size_t processors;
    OnnxModelRuntime runtime;
    std::filesystem::path folder;
    std::map<int, std::unique_ptr<const SpeechModels>> loaded; // by the processors that a window uses
};

bool transcribeAll(const TranscribeOptions& options) {
    const std::size_t processors = options.threads > 0 ? static_cast<std::size_t>(options.threads)
                                                       : std::max(1U, std::thread::hardware_concurrency());
    Transcriber transcriber(options, processors);
    bool isFine = true;
    for (const std::string& file : options.files) {
        if (options.files.size() > 1 && options.format != TranscriptFormat::json)
            std::cout << (file == options.files.front() ? "" : "\n") << "== " << file << " ==\n";
        try {
            isFine &= transcriber.transcribe(file);
        } catch (const AudioFileError& error) {
            std::cerr << "tavrin transcribe: " << error.what() << '\n';
            isFine = false;
        }
    }
    if (!std::cout.flush()) throw std::runtime_error("the transcript cannot be written");
    return isFine;
}

int run(int count, char** arguments) {
    const auto options = parseTranscribeOptions({arguments + 1, arguments + count});
    if (options.wantsHelp) {
        std::cout << transcribeHelp;
        return EXIT_SUCCESS;
    }
    return transcribeAll(options) ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

} // namespace tavrin

int main(int count, char** arguments) {
    try {
        return tavrin::run(count, arguments);
    } catch (const tavrin::UsageError& error) {
        std::cerr << "tavrin transcribe: " << error.what() << "\nTry --help.\n";
        return 2;
    } catch (const std::bad_alloc&) {
        std::cerr << "tavrin transcribe: not enough memory\n";
    } catch (const std::exception& error) {
        std::cerr << "tavrin transcribe: " << error.what() << '\n';
    }
    return EXIT_FAILURE;
}

#include "bench/SpokenMaterial.h"

#include "speech/SpeechAudio.h"
#include "transcribe/AudioFileReader.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace tavrin {

namespace {

constexpr std::size_t pauseSamples = speechSampleRate * 6 / 10;

std::vector<std::string> linesOf(const std::filesystem::path& file) {
    std::ifstream input(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(input, line);)
        if (!line.empty()) lines.push_back(line);
    if (lines.empty()) throw std::runtime_error(file.string() + ": no words");
    return lines;
}

} // namespace

std::vector<float> soundOf(const std::filesystem::path& file) {
    AudioFileReader reader(file.string());
    std::vector<float> samples, block(speechWindowSamples);
    while (const std::size_t count = reader.read(block))
        samples.insert(samples.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(count));
    return samples;
}

double SpokenClip::seconds() const noexcept {
    return static_cast<double>(samples.size()) / speechSampleRate;
}

std::vector<SpokenClip> recordedClips(const std::filesystem::path& folder) {
    std::vector<SpokenClip> clips;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".wav") continue;
        auto words = entry.path();
        words.replace_extension(".txt");
        clips.push_back({entry.path().filename().string(), soundOf(entry.path()), linesOf(words).front()});
    }
    if (clips.empty()) throw std::runtime_error(folder.string() + ": no speech");
    std::ranges::sort(clips, {}, &SpokenClip::name);
    return clips;
}

std::vector<SpokenClip> numberedClips(const std::filesystem::path& folder, const std::filesystem::path& sentences) {
    std::vector<SpokenClip> clips;
    for (const auto& words : linesOf(sentences)) {
        const std::string number = std::to_string(clips.size());
        const auto file = folder / ((number.size() < 2 ? "0" : "") + number + ".wav");
        clips.push_back({file.filename().string(), soundOf(file), words});
    }
    return clips;
}

SpokenClip joinedClips(std::span<const SpokenClip> clips) {
    SpokenClip all{.name = "all"};
    for (const auto& clip : clips) {
        all.samples.insert(all.samples.end(), clip.samples.begin(), clip.samples.end());
        all.samples.resize(all.samples.size() + pauseSamples);
        all.words += clip.words + " ";
    }
    return all;
}

std::size_t RepeatedSpeech::read(std::size_t position, std::size_t length, std::span<float> block) const {
    const std::size_t count = std::min(block.size(), length - std::min(position, length));
    for (std::size_t i = 0; i < count; ++i)
        block[i] = round[(position + i) % round.size()];
    return count;
}

std::vector<float> RepeatedSpeech::first(double seconds) const {
    std::vector<float> samples(static_cast<std::size_t>(seconds * speechSampleRate));
    (void)read(0, samples.size(), samples);
    return samples;
}

} // namespace tavrin

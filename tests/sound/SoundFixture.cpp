#include "SoundFixture.h"

#include "support/time/Clock.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <stdexcept>
#include <thread>

namespace tavrin {

namespace {

constexpr std::uint32_t fileRate = 48000;
constexpr double windowSeconds = 0.2;

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set; start these tests by run.sh");
    return value;
}

pid_t spawnServices(const std::string& call) {
    std::string script = ". '" + environment("TAVRIN_TEST_SOUND_SERVICES") + "' && sound_use '" +
                         environment("SOUND_FOLDER") + "' && " + call;
    std::string shell = "bash", option = "-c";
    char* const arguments[] = {shell.data(), option.data(), script.data(), nullptr};
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // A group of its own, so that what it starts can be ended with it.
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    pid_t process = 0;
    const int error = posix_spawnp(&process, "bash", nullptr, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) throw std::runtime_error("bash cannot be started");
    return process;
}

void writeNumber(std::ostream& file, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        file.put(static_cast<char>(value >> (8 * i)));
}

std::string writeFile(const std::string& name, double seconds, const std::function<double(double, int)>& sampleAt) {
    const std::string path = environment("SOUND_FOLDER") + "/" + name;
    if (std::filesystem::exists(path)) return path;
    const auto frames = static_cast<std::uint32_t>(seconds * fileRate);
    std::ofstream file(path, std::ios::binary);
    file << "RIFF";
    writeNumber(file, 36 + frames * 4, 4);
    file << "WAVEfmt ";
    for (const auto [value, bytes] :
         {std::pair{16U, 4}, {1U, 2}, {2U, 2}, {fileRate, 4}, {fileRate * 4, 4}, {4U, 2}, {16U, 2}})
        writeNumber(file, value, bytes);
    file << "data";
    writeNumber(file, frames * 4, 4);
    for (std::uint32_t i = 0; i < frames; ++i)
        for (int channel = 0; channel < 2; ++channel)
            writeNumber(file, static_cast<std::uint32_t>(std::lround(32767 * sampleAt(double(i) / fileRate, channel))),
                        2);
    return path;
}

/// The amplitude of one frequency, under a window that keeps its neighbours out.
double amplitude(std::span<const float> samples, double frequency, double rate) {
    double real = 0, imaginary = 0, weight = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double shape = 1 - std::cos(2 * std::numbers::pi * double(i) / double(samples.size()));
        const double phase = 2 * std::numbers::pi * frequency * double(i) / rate;
        real += shape * samples[i] * std::cos(phase);
        imaginary += shape * samples[i] * std::sin(phase);
        weight += shape;
    }
    return 2 * std::hypot(real, imaginary) / weight;
}

SteadyInstant now() {
    return SystemSteadyClock().now();
}

} // namespace

void services(const std::string& call) {
    int status = -1;
    waitpid(spawnServices(call), &status, 0);
    ASSERT_EQ(status, 0) << call;
}

bool isPipeWire() {
    return environment("SOUND_KIND") == "pipewire";
}

std::string toneFile(Tone left, Tone right) {
    const auto name = [](Tone tone) { return std::to_string(tone.frequency) + "-" + std::to_string(tone.amplitude); };
    return writeFile(name(left) + "-" + name(right) + ".wav", 60, [=](double time, int channel) {
        const Tone& tone = channel == 0 ? left : right;
        return tone.amplitude * std::sin(2 * std::numbers::pi * tone.frequency * time);
    });
}

std::string clickFile() {
    return writeFile("click.wav", 2.5, [](double time, int) { return time >= 1 && time < 1.002 ? 0.8 : 0.0; });
}

Player::Player(const std::string& call) : process(spawnServices(call)) {}

Player::~Player() {
    kill(-process, SIGTERM);
    waitpid(process, nullptr, 0);
}

void Recorder::take(const AudioBuffer& buffer) {
    const std::scoped_lock guard(mutex);
    taken.push_back({.format = buffer.format,
                     .samples = {buffer.samples.begin(), buffer.samples.end()},
                     .end = buffer.end,
                     .arrival = now(),
                     .followsGap = buffer.followsGap});
    arrived.notify_all();
}

bool Recorder::hears(Tone tone, std::size_t channel, Duration limit) {
    std::unique_lock guard(mutex);
    const std::size_t first = taken.size();
    return arrived.wait_for(guard, limit, [&] {
        double rate = 0;
        const auto samples = channelSince(first, channel, rate);
        const auto window = static_cast<std::size_t>(rate * windowSeconds);
        if (window == 0 || samples.size() < window) return false;
        const double heard = amplitude(std::span(samples).last(window), tone.frequency, rate);
        return std::abs(heard - tone.amplitude) <= 0.1 * tone.amplitude;
    });
}

double Recorder::loudest(double frequency, Duration time, std::optional<std::size_t> only) {
    const std::size_t first = pieces().size();
    std::this_thread::sleep_for(time);
    const std::scoped_lock guard(mutex);
    double found = 0;
    for (std::size_t channel = 0; first < taken.size() && channel < taken.back().format.channels; ++channel) {
        if (only && channel != *only) continue;
        double rate = 0;
        const auto samples = channelSince(first, channel, rate);
        const auto window = static_cast<std::size_t>(rate * windowSeconds);
        for (std::size_t begin = 0; begin + window <= samples.size(); begin += window / 2)
            found = std::max(found, amplitude(std::span(samples).subspan(begin, window), frequency, rate));
    }
    return found;
}

bool Recorder::waitForBuffers(std::size_t more, Duration limit) {
    std::unique_lock guard(mutex);
    return arrived.wait_for(guard, limit, [&, first = taken.size()] { return taken.size() >= first + more; });
}

bool Recorder::waitForGap(Duration limit) {
    std::unique_lock guard(mutex);
    return arrived.wait_for(guard, limit, [&, first = taken.size()] {
        return std::any_of(taken.begin() + static_cast<std::ptrdiff_t>(first), taken.end(),
                           [](const Piece& piece) { return piece.followsGap; });
    });
}

std::vector<Recorder::Piece> Recorder::pieces() const {
    const std::scoped_lock guard(mutex);
    return taken;
}

std::vector<float> Recorder::channelSince(std::size_t firstPiece, std::size_t channel, double& rate) const {
    std::vector<float> samples;
    for (std::size_t i = firstPiece; i < taken.size(); ++i) {
        rate = taken[i].format.sampleRate;
        for (std::size_t at = channel; at < taken[i].samples.size(); at += taken[i].format.channels)
            samples.push_back(taken[i].samples[at]);
    }
    return samples;
}

bool eventually(Duration limit, const std::function<bool()>& condition) {
    for (const auto begin = now(); !condition();) {
        if (now() - begin > limit) return false;
        std::this_thread::sleep_for(20ms);
    }
    return true;
}

double secondsFor(const std::function<void()>& work) {
    const auto begin = now();
    work();
    return std::chrono::duration<double>(now() - begin).count();
}

void SoundTest::SetUp() {
    ASSERT_TRUE(eventually(3s, [this] {
        const auto snapshot = server.snapshot();
        return snapshot->microphone() != nullptr && snapshot->microphone()->device.uid == "tavrin_microphone" &&
               snapshot->speaker() != nullptr && snapshot->speaker()->device.uid == "tavrin_speaker";
    })) << "the services are not as they should be";
}

/// Everything as it was, whatever the test has done.
void SoundTest::TearDown() {
    services("sound_reset");
}

} // namespace tavrin

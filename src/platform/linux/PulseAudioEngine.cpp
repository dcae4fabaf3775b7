#include "platform/linux/PulseAudioEngine.h"

#include "platform/linux/PulseServer.h"
#include "support/log/Log.h"

#include <pulse/error.h>

#include <utility>

namespace tavrin {

namespace {

using namespace std::chrono_literals;

constexpr Logger log{"sound"};
constexpr Duration serverLimit = 2s, openLimit = 2500ms;

} // namespace

PulseAudioEngine::PulseAudioEngine(PulseServer& connection)
    : server(connection), pass([this](const AudioBuffer& buffer) {
          if (!receiver) return;
          hasRecorded = true;
          receiver(buffer);
      }) {}

PulseAudioEngine::~PulseAudioEngine() {
    stop();
}

void PulseAudioEngine::setVoiceProcessingEnabled(bool enabled) {
    if (enabled) throw AudioEngineError("the sound server offers no voice processing");
}

void PulseAudioEngine::prepare() {
    find();
}

AudioFormat PulseAudioEngine::inputFormat() const {
    return microphone ? microphone->format : AudioFormat();
}

void PulseAudioEngine::installTap(std::size_t bufferFrames, Tap tap) {
    const PulseServer::Lock lock(server);
    fragment = bufferFrames;
    receiver = std::move(tap);
}

void PulseAudioEngine::removeTap() {
    const PulseServer::Lock lock(server);
    receiver = nullptr;
}

void PulseAudioEngine::start() {
    stop();
    find();
    if (!microphone || microphone->format.channels == 0) throw AudioEngineError("there is no microphone");
    try {
        const PulseServer::Lock lock(server);
        stream = std::make_unique<PulseRecordStream>(
            server, PulseRecordStream::Source{microphone->device.uid, microphone->format}, fragment, hasRecorded, pass);
    } catch (const std::runtime_error& error) {
        throw AudioEngineError(error.what());
    }
    using enum PulseRecordStream::State;
    server.waitUntil(openLimit, [this] { return stream->state() != opening; });
    if (stream->state() == running) {
        log.info("microphone {} opened: {} Hz, {} channels", microphone->device.uid, stream->format().sampleRate,
                 stream->format().channels);
        return;
    }
    const std::string reason =
        stream->state() == opening ? "the sound server does not open it in time" : pa_strerror(stream->error());
    stop();
    throw AudioEngineError("microphone " + microphone->device.uid + ": " + reason);
}

void PulseAudioEngine::stop() {
    const PulseServer::Lock lock(server);
    stream.reset();
}

void PulseAudioEngine::reset() {
    microphone.reset();
}

bool PulseAudioEngine::isRunning() const {
    if (!stream || stream->state() != PulseRecordStream::State::running || stream->isStalled()) return false;
    const auto snapshot = server.snapshot();
    if (!snapshot->hasSource(stream->uid())) return false;
    const auto* wanted = snapshot->microphone();
    // Without any microphone as default ours is as good as none, and better than silence.
    return wanted == nullptr || wanted->device.uid == stream->uid();
}

void PulseAudioEngine::find() {
    if (!server.waitUntilConnected(serverLimit)) throw NoSoundServer();
    const auto snapshot = server.snapshot();
    const auto* found = snapshot->microphone();
    microphone = found == nullptr ? std::nullopt : std::optional(*found);
}

} // namespace tavrin

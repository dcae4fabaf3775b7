#include "platform/linux/PipeWireTap.h"

#include "platform/linux/PipeWireCapture.h"
#include "support/log/Log.h"
#include "support/time/Clock.h"

#include <pipewire/pipewire.h>

#include <cerrno>
#include <system_error>
#include <utility>

// The library's calls are macros with statements in them.
#pragma clang diagnostic ignored "-Wgnu-statement-expression-from-macro-expansion"

namespace tavrin {

namespace {

using namespace std::chrono_literals;
using Step = SystemAudioTapError::Step;

constexpr Logger log{"sound"};
constexpr Duration beginLimit = 1500ms, stallLimit = 2500ms, retryEvery = 1s;
constexpr timespec checkEvery{.tv_sec = 0, .tv_nsec = 500'000'000};

SteadyInstant now() {
    return SystemSteadyClock().now();
}

[[noreturn]] void fail(Step step, int status) {
    throw SystemAudioTapError(step, status, "PipeWire: " + std::generic_category().message(-status));
}

} // namespace

/// The library's thread, with what wakes it.
class PipeWireTap::Loop final {
public:
    explicit Loop(PipeWireTap& tap) : thread(pw_thread_loop_new("tavrin-tap", nullptr)) {
        if (thread == nullptr) fail(Step::tap, -errno);
        loop = pw_thread_loop_get_loop(thread);
        context = pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
        ready =
            pw_loop_add_event(loop, [](void* self, std::uint64_t) { static_cast<PipeWireTap*>(self)->drain(); }, &tap);
        timer =
            pw_loop_add_timer(loop, [](void* self, std::uint64_t) { static_cast<PipeWireTap*>(self)->check(); }, &tap);
        if (context != nullptr && ready != nullptr && timer != nullptr && pw_thread_loop_start(thread) == 0) return;
        destroy();
        fail(Step::tap, -ENOMEM);
    }
    ~Loop() {
        pw_thread_loop_stop(thread);
        destroy();
    }
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    void setTimer(bool isOn) {
        auto interval = isOn ? checkEvery : timespec{};
        pw_loop_update_timer(loop, timer, &interval, &interval, false);
    }

    pw_thread_loop* thread;
    pw_loop* loop;
    pw_context* context;
    spa_source *ready, *timer;

private:
    void destroy() {
        if (timer != nullptr) pw_loop_destroy_source(loop, timer);
        if (ready != nullptr) pw_loop_destroy_source(loop, ready);
        if (context != nullptr) pw_context_destroy(context);
        pw_thread_loop_destroy(thread);
    }
};

namespace {

class Locked final {
public:
    explicit Locked(pw_thread_loop* loop) : thread(loop) { pw_thread_loop_lock(thread); }
    ~Locked() { pw_thread_loop_unlock(thread); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

private:
    pw_thread_loop* thread;
};

} // namespace

PipeWireTap::PipeWireTap() {
    static std::once_flag once;
    std::call_once(once, [] { pw_init(nullptr, nullptr); });
}

PipeWireTap::~PipeWireTap() {
    stop();
}

AudioFormat PipeWireTap::start(SystemAudioTap::Callback taker) {
    stop();
    loop = std::make_unique<Loop>(*this);
    int status = 0;
    {
        const Locked lock(loop->thread);
        receiver = std::move(taker);
        followsReopening = false;
        open();
        status = capture->failure();
    }
    if (status == 0) {
        std::unique_lock guard(mutex);
        if (!begun.wait_for(guard, beginLimit, [this] { return format.has_value(); })) status = -ETIMEDOUT;
    }
    if (status < 0) {
        stop();
        fail(status == -ETIMEDOUT ? Step::start : Step::tap, status);
    }
    const Locked lock(loop->thread);
    loop->setTimer(true);
    return *format;
}

void PipeWireTap::stop() {
    if (!loop) return;
    {
        const Locked lock(loop->thread);
        loop->setTimer(false);
        capture.reset();
        receiver = nullptr;
    }
    loop.reset();
    blocks.clear();
    format.reset();
}

void PipeWireTap::open() {
    capture.reset();
    capture = std::make_unique<PipeWireCapture>(loop->context, loop->loop, loop->ready, blocks);
    heard = now();
}

void PipeWireTap::check() {
    const Duration silent = now() - heard;
    const bool isLost = capture->failure() != 0;
    if (silent < (isLost ? retryEvery : stallLimit)) return;
    if (!std::exchange(followsReopening, true)) log.warning("system sound stopped coming; connecting anew");
    open();
}

void PipeWireTap::drain() {
    for (; const auto* block = blocks.front(); blocks.pop()) {
        if (!receiver) continue;
        heard = now();
        const AudioFormat given{static_cast<double>(block->rate), PipeWireBlocks::channels};
        if (!format) {
            const std::scoped_lock guard(mutex);
            format = given;
            begun.notify_all();
        }
        receiver({.format = given,
                  .samples = {block->samples.data(), block->frames * PipeWireBlocks::channels},
                  .end = block->end,
                  .followsGap = std::exchange(followsReopening, false) || block->followsGap});
    }
}

} // namespace tavrin

#include "app/UiHeartbeat.h"

#include "support/log/Log.h"
#include "support/time/Clock.h"

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <QSaveFile>
#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <string_view>
#include <utility>

namespace tavrin {

namespace {
constexpr Logger log{"Heartbeat"};
constexpr Duration worthALine = std::chrono::milliseconds(30);

double milliseconds(Duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

// The loop's wait is handed over as a bare function: what it tells has to stand here.
UiHeartbeat* beating = nullptr;
GPollFunc systemPoll = nullptr;

gint pollAndTell(GPollFD* files, guint count, gint timeout) {
    beating->waits();
    const gint ready = systemPoll(files, count, timeout);
    beating->wakes();
    return ready;
}
} // namespace

UiHeartbeat::UiHeartbeat(QString target)
    : file(std::move(target)), counts(::open("/proc/thread-self/schedstat", O_RDONLY | O_CLOEXEC)),
      lastBeat(SystemSteadyClock().now()), wokeAt(lastBeat) {
    beating = this;
    systemPoll = g_main_context_get_poll_func(g_main_context_default());
    g_main_context_set_poll_func(g_main_context_default(), pollAndTell);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, [this] { beat(); });
    timer.start(10);
}

UiHeartbeat::~UiHeartbeat() {
    g_main_context_set_poll_func(g_main_context_default(), systemPoll);
    if (counts >= 0) ::close(counts);
    QSaveFile out(file);
    const bool isOpen = out.open(QIODevice::WriteOnly);
    if (isOpen)
        out.write("worst_gap_ms " + QByteArray::number(milliseconds(worstGap), 'f', 1) + "\nlongest_turn_ms " +
                  QByteArray::number(milliseconds(longestTurn), 'f', 3) + "\n");
    if (!isOpen || !out.commit()) log.error("what was measured cannot be written: {}", out.errorString().toStdString());
}

Duration UiHeartbeat::readyForLong() const {
    std::array<char, 64> line{};
    const ssize_t size = ::pread(counts, line.data(), line.size(), 0);
    const std::string_view numbers(line.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    const std::size_t second = numbers.find(' ') + 1;
    std::int64_t nanoseconds = 0;
    std::from_chars(numbers.data() + second, numbers.data() + numbers.size(), nanoseconds);
    return std::chrono::nanoseconds(nanoseconds);
}

void UiHeartbeat::waits() {
    const Duration turn = SystemSteadyClock().now() - wokeAt + readyBeforeTurn;
    longestTurn = std::max(longestTurn, turn);
    readyAtWait = readyForLong();
    if (turn > worthALine)
        log.info("turn of {:.1f} ms, {:.1f} ms of it ready before it began", milliseconds(turn),
                 milliseconds(readyBeforeTurn));
}

void UiHeartbeat::wakes() {
    wokeAt = SystemSteadyClock().now();
    readyBeforeTurn = readyForLong() - readyAtWait;
}

void UiHeartbeat::beat() {
    const SteadyInstant now = SystemSteadyClock().now();
    const Duration gap = now - lastBeat;
    if (gap > worthALine) log.info("gap of {:.1f} ms", milliseconds(gap));
    worstGap = std::max(worstGap, gap);
    lastBeat = now;
}

} // namespace tavrin

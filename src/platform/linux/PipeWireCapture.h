#pragma once

#include "platform/linux/PipeWireBlocks.h"
#include "platform/linux/PipeWireLinks.h"

#include <cstdint>
#include <functional>
#include <memory>

struct pw_context;
struct pw_core;
struct pw_filter;
struct pw_loop;
struct spa_io_position;
struct spa_source;

namespace tavrin {

/// One connection to a PipeWire server with a node of ours in its graph, from which `blocks` are filled.
/// It lasts until the server goes; it does not come back by itself.
///
/// Thread: the loop of the context, or holding its lock. Blocks are written on a real-time thread, not after the
///         destructor has returned.
class PipeWireCapture final {
public:
    /// `ready` is signalled whenever there are blocks to read. Everything outlives it.
    PipeWireCapture(pw_context* context, pw_loop* loop, spa_source* ready, PipeWireBlocks& blocks);
    PipeWireCapture(const PipeWireCapture&) = delete;
    PipeWireCapture& operator=(const PipeWireCapture&) = delete;
    ~PipeWireCapture();

    /// 0, or the negative number of what went wrong.
    [[nodiscard]] int failure() const { return status; }

private:
    struct Callbacks;
    struct Hooks;
    void addNode();
    void process(const spa_io_position* position);

    pw_loop* loop;
    spa_source* ready;
    PipeWireBlocks& blocks;
    std::unique_ptr<Hooks> hooks;
    pw_core* core = nullptr;
    std::unique_ptr<PipeWireLinks> links;
    pw_filter* filter = nullptr;
    void *left = nullptr, *right = nullptr;
    int status = 0;
    std::uint64_t expected = 0; ///< real-time thread: when the next cycle should begin, in nanoseconds
};

} // namespace tavrin

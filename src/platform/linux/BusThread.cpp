#include "platform/linux/BusThread.h"

#include <gio/gio.h>

#include <utility>

namespace tavrin {

namespace {

gboolean runJob(gpointer job) {
    (*static_cast<std::function<void()>*>(job))();
    return G_SOURCE_REMOVE;
}

void deleteJob(gpointer job) {
    delete static_cast<std::function<void()>*>(job);
}

} // namespace

struct BusThread::Loop {
    Loop() = default;
    ~Loop() {
        g_object_unref(cancellable);
        g_main_loop_unref(loop);
        g_main_context_unref(context); // with the jobs that wait
    }
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    void run() {
        g_main_context_push_thread_default(context);
        g_main_loop_run(loop);
        g_main_context_pop_thread_default(context);
    }

    GMainContext* context = g_main_context_new();
    GMainLoop* loop = g_main_loop_new(context, FALSE);
    GCancellable* cancellable = g_cancellable_new();
};

BusThread::BusThread() : loop(std::make_unique<Loop>()), thread([this] { loop->run(); }) {}

BusThread::~BusThread() {
    g_cancellable_cancel(loop->cancellable);
    GSource* quit = g_idle_source_new();
    g_source_set_priority(quit, G_PRIORITY_HIGH); // before the jobs that wait
    g_source_set_callback(
        quit,
        [](gpointer mainLoop) -> gboolean {
            g_main_loop_quit(static_cast<GMainLoop*>(mainLoop));
            return G_SOURCE_REMOVE;
        },
        loop->loop, nullptr);
    g_source_attach(quit, loop->context);
    g_source_unref(quit);
    thread.join();
}

void BusThread::post(std::function<void()> job) {
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(source, runJob, new std::function<void()>(std::move(job)), deleteJob);
    g_source_attach(source, loop->context);
    g_source_unref(source);
}

GCancellable* BusThread::cancellable() const {
    return loop->cancellable;
}

} // namespace tavrin

#include "platform/linux/SecretKeyRing.h"

#include "support/log/Log.h"

#include <libsecret/secret.h>

#include <functional>

namespace tavrin {

namespace {

constexpr Logger logger{"Credentials"};

/// How long a call that was cancelled may take to say so.
constexpr guint cancelMilliseconds = 200;

const SecretSchema schema = {"so.tavrin.TavrinAssistant.Credential",
                             SECRET_SCHEMA_NONE,
                             {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                              {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                             0,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr,
                             nullptr};

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using Reference = std::unique_ptr<T, Unref>;

struct FreeError {
    void operator()(GError* error) const { g_error_free(error); }
};
using ErrorPointer = std::unique_ptr<GError, FreeError>;

/// Where the result of a call comes in; freed by whichever of caller and call is last.
struct Inbox {
    Reference<GAsyncResult> result;
    bool isAbandoned = false;
};

void receive(GObject* /*source*/, GAsyncResult* result, gpointer data) {
    auto* inbox = static_cast<Inbox*>(data);
    if (inbox->isAbandoned)
        delete inbox;
    else
        inbox->result.reset(static_cast<GAsyncResult*>(g_object_ref(result)));
}

SecretKeyRing::Answer answerOf(const GError& error) {
    const bool isCancelled = error.domain == G_IO_ERROR && error.code == G_IO_ERROR_CANCELLED;
    const bool isOfBus = error.domain == G_DBUS_ERROR || error.domain == G_IO_ERROR || error.domain == G_SPAWN_ERROR;
    const bool hangs =
        error.domain == G_DBUS_ERROR && (error.code == G_DBUS_ERROR_NO_REPLY || error.code == G_DBUS_ERROR_TIMEOUT);
    return isOfBus && !isCancelled && !hangs ? SecretKeyRing::Answer::missing : SecretKeyRing::Answer::silent;
}

} // namespace

/// Asynchronous calls on a main loop of our own, waited for one by one within a common limit.
class SecretKeyRing::Calls final {
public:
    Calls() : context(g_main_context_new()) {}
    ~Calls() { g_main_context_unref(context); }
    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;

    using Start = std::function<void(GCancellable*, GAsyncReadyCallback, gpointer)>;
    using Finish = std::function<void(GAsyncResult*, GError**)>;

    /// One operation: the bus, then the call. What the library keeps of the service is dropped at the end: a key ring
    /// that is started anew would not be found again through it.
    Answer run(const std::stop_token& stop, const Start& start, const Finish& finish) {
        g_main_context_push_thread_default(context);
        const Reference<GCancellable> cancellable(g_cancellable_new());
        GSource* clock = g_timeout_source_new(static_cast<guint>(limit / std::chrono::milliseconds(1)));
        g_source_set_callback(clock, cancelCall, cancellable.get(), nullptr);
        g_source_attach(clock, context);
        Answer answer = Answer::silent;
        {
            const std::stop_callback onStop(stop, [&] { g_cancellable_cancel(cancellable.get()); });
            answer = wait(cancellable.get(), connect, keepProcess);
            if (answer == Answer::done) answer = wait(cancellable.get(), start, finish);
        }
        secret_service_disconnect();
        g_source_destroy(clock);
        g_source_unref(clock);
        while (g_main_context_iteration(context, FALSE) != FALSE) {
        }
        g_main_context_pop_thread_default(context);
        return answer;
    }

private:
    static gboolean cancelCall(gpointer cancellable) {
        g_cancellable_cancel(static_cast<GCancellable*>(cancellable));
        return G_SOURCE_REMOVE;
    }
    static gboolean wake(gpointer isOver) {
        *static_cast<bool*>(isOver) = true;
        return G_SOURCE_REMOVE;
    }
    static void connect(GCancellable* cancellable, GAsyncReadyCallback ready, gpointer data) {
        g_bus_get(G_BUS_TYPE_SESSION, cancellable, ready, data);
    }
    /// By its own choice the library would end this process with its bus.
    static void keepProcess(GAsyncResult* result, GError** error) {
        const Reference<GDBusConnection> bus(g_bus_get_finish(result, error));
        if (bus) g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    }

    Answer wait(GCancellable* cancellable, const Start& start, const Finish& finish) {
        auto inbox = std::make_unique<Inbox>();
        start(cancellable, receive, inbox.get());
        while (!inbox->result && g_cancellable_is_cancelled(cancellable) == FALSE)
            g_main_context_iteration(context, TRUE);
        if (!inbox->result) waitForEnd(*inbox);
        if (!inbox->result) {
            logger.warning("The key ring does not even let go");
            inbox->isAbandoned = true;
            [[maybe_unused]] Inbox* const callsNow = inbox.release();
            return Answer::silent;
        }
        GError* error = nullptr;
        finish(inbox->result.get(), &error);
        if (error == nullptr) return Answer::done;
        const ErrorPointer failure(error);
        logger.info("The key ring failed: {} {}, {}", g_quark_to_string(failure->domain), failure->code,
                    failure->message);
        return answerOf(*failure);
    }

    void waitForEnd(const Inbox& inbox) {
        bool isOver = false;
        GSource* clock = g_timeout_source_new(cancelMilliseconds);
        g_source_set_callback(clock, wake, &isOver, nullptr);
        g_source_attach(clock, context);
        while (!inbox.result && !isOver)
            g_main_context_iteration(context, TRUE);
        g_source_destroy(clock);
        g_source_unref(clock);
    }

    GMainContext* context;
};

SecretKeyRing::SecretKeyRing() : calls(std::make_unique<Calls>()) {}

SecretKeyRing::~SecretKeyRing() = default;

SecretKeyRing::Answer SecretKeyRing::probe(const std::stop_token& stop) {
    return calls->run(
        stop,
        [](GCancellable* cancellable, GAsyncReadyCallback ready, gpointer data) {
            secret_service_get(SECRET_SERVICE_OPEN_SESSION, cancellable, ready, data);
        },
        [](GAsyncResult* result, GError** error) {
            const Reference<SecretService> service(secret_service_get_finish(result, error));
        });
}

SecretKeyRing::Found SecretKeyRing::find(const std::string& service, const std::string& account,
                                         const std::stop_token& stop) {
    Found found;
    found.answer = calls->run(
        stop,
        [&](GCancellable* cancellable, GAsyncReadyCallback ready, gpointer data) {
            secret_password_lookup(&schema, cancellable, ready, data, "service", service.c_str(), "account",
                                   account.c_str(), nullptr);
        },
        [&](GAsyncResult* result, GError** error) {
            gchar* text = secret_password_lookup_finish(result, error);
            if (text != nullptr) found.value = text;
            secret_password_free(text);
        });
    return found;
}

SecretKeyRing::Answer SecretKeyRing::keep(const std::string& service, const std::string& account,
                                          const std::string& value, const std::stop_token& stop) {
    return calls->run(
        stop,
        [&](GCancellable* cancellable, GAsyncReadyCallback ready, gpointer data) {
            secret_password_store(&schema, SECRET_COLLECTION_DEFAULT, account.c_str(), value.c_str(), cancellable,
                                  ready, data, "service", service.c_str(), "account", account.c_str(), nullptr);
        },
        [](GAsyncResult* result, GError** error) { secret_password_store_finish(result, error); });
}

SecretKeyRing::Answer SecretKeyRing::remove(const std::string& service, const std::string& account,
                                            const std::stop_token& stop) {
    return calls->run(
        stop,
        [&](GCancellable* cancellable, GAsyncReadyCallback ready, gpointer data) {
            secret_password_clear(&schema, cancellable, ready, data, "service", service.c_str(), "account",
                                  account.c_str(), nullptr);
        },
        [](GAsyncResult* result, GError** error) { secret_password_clear_finish(result, error); });
}

} // namespace tavrin

#include "NotificationDaemon.h"
#include "platform/fake/FakeUserNotifications.h"
#include "platform/linux/DesktopNotifications.h"
#include "support/async/SerialExecutor.h"
#include "support/async/VirtualTime.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>
#include <utility>

/// Run by tests/notifications/run.sh, on a session bus where nobody else shows notifications, or with none.
namespace tavrin {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

std::string described(const std::string& title, const std::string& body, const Texts& actions) {
    std::string text = title + "|" + body;
    for (const std::string& action : actions)
        text += "|" + action;
    return text;
}

/// A desktop with a user at it: the fake, or the real adapter with a service on the bus.
class Desk {
public:
    virtual ~Desk() = default;
    virtual void onMain(const std::function<void(UserNotifications&)>& job) = 0;
    /// Title, body and buttons of what is on screen.
    virtual Texts shown() = 0;
    virtual void press(const std::string& title, const std::string& action) = 0;

    Texts told() {
        const std::scoped_lock lock(mutex);
        return responses;
    }
    /// Waits, for a real desktop, until it looks like this.
    void expectShown(const Texts& wanted) {
        for (int i = 0; i < 1000 && shown() != wanted; ++i)
            std::this_thread::sleep_for(10ms);
        EXPECT_EQ(shown(), wanted);
    }
    void expectTold(const Texts& wanted) {
        for (int i = 0; i < 1000 && told() != wanted; ++i)
            std::this_thread::sleep_for(10ms);
        EXPECT_EQ(told(), wanted);
    }

protected:
    void listen(UserNotifications& notifications) {
        notifications.setResponseHandler([this](const NotificationResponse& response) {
            const std::scoped_lock lock(mutex);
            responses.push_back(response.id + "/" + response.action + "/" + response.category + "/" +
                                (response.userInfo.contains("key") ? response.userInfo.at("key") : ""));
        });
    }

private:
    std::mutex mutex;
    Texts responses;
};

class FakeDesk final : public Desk {
public:
    FakeDesk() { listen(notifications); }
    void onMain(const std::function<void(UserNotifications&)>& job) override { job(notifications); }
    Texts shown() override {
        Texts result;
        for (const auto& [notification, buttons] : notifications.shown) {
            Texts actions;
            for (const NotificationAction& button : buttons)
                actions.insert(actions.end(), {button.id, button.title});
            result.push_back(described(notification.title, notification.body, actions));
        }
        return result;
    }
    void press(const std::string& title, const std::string& action) override {
        for (const auto& each : notifications.shown)
            if (each.notification.title == title) return answer(std::string(each.notification.id), action);
    }

private:
    void answer(const std::string& id, const std::string& action) {
        notifications.respond(id, action);
        time.runUntilIdle();
    }

    VirtualTime time;
    FakeUserNotifications notifications{time.main()};
};

class RealDesk final : public Desk {
public:
    explicit RealDesk(NotificationDaemon::Options options = {}) : service(std::move(options)) {
        onMain([this](UserNotifications& port) { listen(port); });
    }
    ~RealDesk() override {
        main.runAndWait([this] { notifications.reset(); });
    }
    void onMain(const std::function<void(UserNotifications&)>& job) override {
        main.runAndWait([&] { job(*notifications); });
    }
    Texts shown() override {
        Texts result;
        for (auto& [number, each] : service.shown()) {
            Texts actions = each.actions;
            if (actions.size() >= 2 && actions[0] == "default") actions.erase(actions.begin(), actions.begin() + 2);
            result.push_back(described(each.title, each.body, actions));
        }
        return result;
    }
    void press(const std::string& title, const std::string& action) override {
        for (const auto& [number, each] : service.shown())
            if (each.title == title) service.press(number, action.empty() ? "default" : action);
    }

    NotificationDaemon service;

private:
    ThreadPool pool{1};
    SerialExecutor main{pool};
    std::unique_ptr<DesktopNotifications> notifications = std::make_unique<DesktopNotifications>(main);
};

const NotificationCategory reminder{
    .id = "MEETING_REMINDER",
    .actions = {{.id = "START_RECORDING", .title = "Start Recording"}, {.id = "OPEN_PREP", .title = "Open Prep"}}};

const std::string buttons = "|START_RECORDING|Start Recording|OPEN_PREP|Open Prep";

UserNotification message(std::string id, std::string title, std::string category = "MEETING_REMINDER") {
    return {.id = std::move(id),
            .title = std::move(title),
            .body = "Planning",
            .category = std::move(category),
            .userInfo = {{"key", "value"}}};
}

template <class D>
class NotificationContract : public testing::Test {
protected:
    LogCapture logged;
};
using Desks = testing::Types<FakeDesk, RealDesk>;
TYPED_TEST_SUITE(NotificationContract, Desks);

TYPED_TEST(NotificationContract, shows_the_buttons_of_the_category_and_replaces_by_id) {
    TypeParam desk;
    desk.onMain([](UserNotifications& port) {
        port.setCategories({reminder});
        port.post(message("a", "First"));
        port.post(message("b", "Second", "UNKNOWN"));
    });
    desk.expectShown({"First|Planning" + buttons, "Second|Planning"});
    desk.onMain([](UserNotifications& port) { port.post(message("b", "Third", "")); });
    desk.expectShown({"First|Planning" + buttons, "Third|Planning"});
}

TYPED_TEST(NotificationContract, tells_a_response_once_with_what_was_posted) {
    TypeParam desk;
    desk.onMain([](UserNotifications& port) {
        port.setCategories({reminder});
        port.post(message("a", "First"));
        port.post(message("b", "Second"));
    });
    desk.expectShown({"First|Planning" + buttons, "Second|Planning" + buttons});
    desk.press("First", "OPEN_PREP");
    desk.press("First", "OPEN_PREP");
    desk.press("Second", "");
    desk.expectTold({"a/OPEN_PREP/MEETING_REMINDER/value", "b//MEETING_REMINDER/value"});
    desk.expectShown({});
}

TYPED_TEST(NotificationContract, removes_by_id) {
    TypeParam desk;
    desk.onMain([](UserNotifications& port) {
        port.post(message("a", "First", ""));
        port.post(message("b", "Second", ""));
        port.remove("a");
        port.remove("unknown");
    });
    desk.expectShown({"Second|Planning"});
    desk.onMain([](UserNotifications& port) { port.post(message("a", "Again", "")); });
    desk.expectShown({"Second|Planning", "Again|Planning"});
}

TEST(DesktopNotifications,
     escape_the_body_for_a_service_that_reads_markup_and_ask_for_no_buttons_where_there_are_none) {
    for (const bool isRich : {true, false}) {
        RealDesk desk({.capabilities = isRich ? Texts{"body-markup", "actions"} : Texts{}});
        desk.onMain([](UserNotifications& port) {
            port.setCategories({reminder});
            port.post({.id = "a",
                       .title = "<b>",
                       .body = "A & <i>B</i>\xFF",
                       .category = "MEETING_REMINDER",
                       .userInfo = {}});
        });
        desk.expectShown(
            {isRich ? "<b>|A &amp; &lt;i&gt;B&lt;/i&gt;\uFFFD|START_RECORDING|Start Recording|OPEN_PREP|Open Prep"
                    : "<b>|A & <i>B</i>\uFFFD"});
        EXPECT_EQ(desk.service.shown().begin()->second.desktopEntry, "so.tavrin.TavrinAssistant");
    }
}

TEST(DesktopNotifications, of_a_service_that_ended_or_that_were_closed_are_gone) {
    const LogCapture logged;
    ThreadPool pool{1};
    SerialExecutor main{pool};
    auto notifications = std::make_unique<DesktopNotifications>(main);
    std::atomic<int> told = 0;
    notifications->setResponseHandler(
        [&](const NotificationResponse& response) { told += response.id == "new" ? 1 : 100; });
    const auto await = [](const std::function<bool()>& done) {
        for (int i = 0; i < 1000 && !done(); ++i)
            std::this_thread::sleep_for(10ms);
        EXPECT_TRUE(done());
    };
    {
        NotificationDaemon first;
        notifications->post(message("old", "Old"));
        await([&] { return first.shown().size() == 1; });
    }
    notifications->post(message("unseen", "Unseen"));
    await([&] { return logged.contains("do not take"); });
    NotificationDaemon second;
    notifications->post(message("new", "New"));
    await([&] { return second.shown().size() == 1; });
    notifications->remove("old"); // its number is that of "new" now
    notifications->post(message("closed", "Closed"));
    await([&] { return second.shown().size() == 2; });
    second.dismiss(2);
    second.press(2, "default");
    second.press(1, "default");
    await([&] { return told == 1; });
    main.runAndWait([&] { notifications.reset(); });
    EXPECT_EQ(told, 1);
    EXPECT_FALSE(logged.contains("Unseen"));
}

TEST(DesktopNotifications, never_wait_for_a_service_that_hangs) {
    const LogCapture logged;
    NotificationDaemon service({.answers = false});
    ThreadPool pool{1};
    SerialExecutor main{pool};
    auto notifications = std::make_unique<DesktopNotifications>(main);
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i)
        notifications->post(message("a", "First"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
    for (int i = 0; i < 1000 && service.callCount() == 0; ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(service.callCount(), 1);
    notifications.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1900ms); // it would wait two seconds for each
}

TEST(NoBus, means_a_line_in_the_log) {
    const LogCapture logged;
    ThreadPool pool{1};
    SerialExecutor main{pool};
    DesktopNotifications notifications(main);
    notifications.post(message("a", "Secret title"));
    for (int i = 0; i < 1000 && !logged.contains("A notification is not shown"); ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_TRUE(logged.contains("A notification is not shown"));
    EXPECT_FALSE(logged.contains("Secret"));
}

} // namespace
} // namespace tavrin

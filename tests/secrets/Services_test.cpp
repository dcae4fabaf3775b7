#include "LoginManager.h"
#include "platform/linux/FileCredentialStore.h"
#include "platform/linux/LogindPowerActivity.h"
#include "platform/linux/SecretCredentialStore.h"
#include "support/async/TaskScope.h"
#include "support/files/DiskFolder.h"
#include "support/log/LogCapture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cstdlib>
#include <future>
#include <thread>

/// Run by tests/secrets/run.sh, which starts the services: one name of a group of tests per state of the system.
namespace tavrin {
namespace {

using namespace std::chrono_literals;

constexpr auto patience = 20s; // only ever waited out by a test that fails

/// Polls until `done`; false when patience ran out.
bool comesTrue(const std::function<bool()>& done) {
    for (const auto end = std::chrono::steady_clock::now() + patience; std::chrono::steady_clock::now() < end;) {
        if (done()) return true;
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set: run this through run.sh");
    return value;
}

class Secrets : public testing::Test {
protected:
    /// Runs a task on a thread and gives its value, or throws its exception.
    template <class T>
    T resultOf(Task<T> task) {
        std::promise<T> promise;
        const auto body = [](Task<T> work, std::promise<T>& to) -> Task<void> {
            try {
                if constexpr (std::is_void_v<T>) {
                    co_await std::move(work);
                    to.set_value();
                } else {
                    to.set_value(co_await std::move(work));
                }
            } catch (...) {
                to.set_exception(std::current_exception());
            }
        };
        TaskScope scope(home);
        home.runAndWait([&] { scope.spawn(body(std::move(task), promise)); });
        auto result = promise.get_future();
        if (result.wait_for(patience) != std::future_status::ready) throw std::runtime_error("a task does not end");
        home.runAndWait([&] { scope.clear(); });
        return result.get();
    }
    std::optional<std::string> read(const std::string& account) { return resultOf(store->read("test", account)); }
    void save(const std::string& account, const std::string& value) { resultOf(store->save("test", account, value)); }
    void remove(const std::string& account) { resultOf(store->remove("test", account)); }
    bool isInFile(const std::string& text) {
        return folder.info("credentials.json") && folder.read("credentials.json", 1'000'000).contains(text);
    }
    void reopen() { store = std::make_unique<SecretCredentialStore>(folder, "credentials.json"); }

    LogCapture logged;
    DiskFolder folder{environment("TAVRIN_TEST_FOLDER")};
    ThreadPool pool{1};
    SerialExecutor home{pool};
    std::unique_ptr<SecretCredentialStore> store = std::make_unique<SecretCredentialStore>(folder, "credentials.json");
};

using SecretsWithoutKeyRing = Secrets;
using SecretsWithKeyRing = Secrets;
using SecretsWithoutAnswer = Secrets;

TEST_F(SecretsWithoutKeyRing, are_kept_in_a_private_file) {
    EXPECT_EQ(read("none"), std::nullopt);
    save("a", "word-1");
    save("a", "word-2");
    save("later", "word-3");
    save("gone", "word-4");
    remove("gone");
    reopen();
    EXPECT_EQ(read("a"), "word-2");
    EXPECT_EQ(read("gone"), std::nullopt);
    EXPECT_EQ(store->place(), "a private file of this user: no key ring runs");
    EXPECT_FALSE(isInFile("word-4"));
    struct stat status{};
    ASSERT_EQ(::stat(folder.location("credentials.json").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
    EXPECT_FALSE(logged.contains("word"));
}

TEST_F(SecretsWithKeyRing, go_there_and_what_the_file_holds_from_before_is_found) {
    EXPECT_EQ(read("later"), "word-3"); // of the run without a key ring
    save("ring", "ring-1");
    save("ring", "ring-2");
    EXPECT_EQ(store->place(), "the desktop's key ring");
    EXPECT_FALSE(isInFile("ring-"));
    reopen();
    EXPECT_EQ(read("ring"), "ring-2");
    EXPECT_EQ(read("none"), std::nullopt);
    save("later", "word-5");
    EXPECT_FALSE(isInFile("later"));
    EXPECT_EQ(read("later"), "word-5");
    remove("later");
    EXPECT_EQ(read("later"), std::nullopt);
    remove("later");
    save("left", "ring-3");
    save("changed", "ring-4");
}

/// After the key ring of the run before has gone.
TEST_F(SecretsWithoutKeyRing, change_in_its_absence_and_it_hears_of_it_later) {
    EXPECT_EQ(read("left"), std::nullopt);
    remove("left");
    save("changed", "word-6");
    EXPECT_EQ(read("changed"), "word-6");
}

TEST_F(SecretsWithKeyRing, that_were_changed_or_removed_in_its_absence_do_not_come_back) {
    EXPECT_EQ(read("ring"), "ring-2");
    EXPECT_EQ(read("left"), std::nullopt);
    EXPECT_FALSE(isInFile("left"));
    EXPECT_EQ(store->place(), "the desktop's key ring");
    EXPECT_EQ(read("changed"), "word-6");
    EXPECT_EQ(store->place(), "a private file of this user");
}

/// Of a key ring that is locked, or hangs.
TEST_F(SecretsWithoutAnswer, are_not_waited_for_longer_than_two_seconds_and_go_to_the_file) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(read("ring"), std::nullopt);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2'100ms);
    save("locked", "word-7");
    EXPECT_EQ(read("locked"), "word-7");
    EXPECT_TRUE(isInFile("word-7"));
    EXPECT_THAT(store->place(), testing::StartsWith("a private file of this user: "));
}

TEST(SecretsInTheFile, survive_a_damaged_file_which_is_kept) {
    const LogCapture logged;
    DiskFolder folder{environment("TAVRIN_TEST_FOLDER")};
    folder.makeFolders("");
    folder.writeAtomically("odd.json", "{\"test\":{\"a\":");
    CredentialFile file(folder, "odd.json");
    EXPECT_FALSE(file.find("test", "a"));
    file.keep("test", "a", "x");
    EXPECT_EQ(file.find("test", "a")->value, "x");
    EXPECT_EQ(folder.read("odd.json.damaged", 100), "{\"test\":{\"a\":");
    folder.writeAtomically("odd.json", R"({"test":{"a":5,"b":true},"other":[]})");
    EXPECT_FALSE(file.find("test", "a"));
    EXPECT_FALSE(file.find("test", "b"));
    EXPECT_FALSE(file.find("other", "a"));
}

TEST(PowerWithLogin, is_held_as_long_as_the_token_lives) {
    LoginManager manager;
    LogindPowerActivity power;
    auto token = power.begin("A meeting is being recorded");
    ASSERT_TRUE(comesTrue([&] { return manager.held() == 1; }));
    EXPECT_THAT(manager.asked(), testing::ElementsAre("idle:sleep|Tavrin Assistant|A meeting is being recorded|block"));
    for (int i = 0; i < 3; ++i)
        power.begin("short").reset(); // let go before or after it is there
    const auto other = power.begin("other");
    EXPECT_TRUE(comesTrue([&] { return manager.asked().back().contains("|other|") && manager.held() == 2; }));
    token.reset();
    EXPECT_TRUE(comesTrue([&] { return manager.held() == 1; }));
}

TEST(PowerWithoutLogin, holds_nothing_and_says_so_in_the_log) {
    const LogCapture logged;
    LogindPowerActivity power;
    const auto token = power.begin("A meeting");
    EXPECT_TRUE(token);
    EXPECT_TRUE(comesTrue([&] { return logged.contains("Sleep is not held off"); }));
}

} // namespace
} // namespace tavrin

#include "app/CommandLine.h"

#include <gtest/gtest.h>

namespace tavrin {
namespace {

TEST(CommandLine, options_ask_for_actions_and_everything_else_is_an_address_or_refused) {
    struct Case {
        QStringList arguments, addresses;
        QString action, refused;
    };
    const QString address = QStringLiteral("tavrinassistant://connect?token=1");
    const Case cases[]{{{}, {}, {}, {}},
                       {{address}, {address}, {}, {}},
                       {{"--start-recording"}, {}, "start-recording", {}},
                       {{address, "--start-recording"}, {address}, "start-recording", {}},
                       {{"--", "--start-recording"}, {"--start-recording"}, {}, {}},
                       {{"--start"}, {}, {}, "--start"},
                       {{"-x", "--start-recording"}, {}, {}, "-x"}};
    for (const auto& [arguments, addresses, action, refused] : cases) {
        const auto wanted = parseCommandLine(QStringList{"tavrin-assistant"} + arguments);
        EXPECT_EQ(wanted.has_value(), refused.isEmpty());
        if (wanted) {
            EXPECT_EQ(wanted->addresses, addresses);
            EXPECT_EQ(wanted->action, action);
        } else {
            EXPECT_EQ(wanted.error(), QStringLiteral("unknown option \"%1\"").arg(refused));
        }
    }
}

} // namespace
} // namespace tavrin

#include "support/time/ThreadTimerTestSupport.h"
#include "ui/UiTestSupport.h"
#include "ui/meeting/TranscriptSearch.h"

namespace tavrin {
namespace {

class TranscriptSearchTest : public UiTest {
protected:
    /// What a search marks, line by line.
    QStringList found(const QString& text) {
        search.find(text);
        QStringList result;
        for (const TextRange& match : search.matches())
            result += lines.copyOf(match);
        return result;
    }

    static QString utf8(const char* text) { return QString::fromUtf8(text); }

    TranscriptLines lines;
    TranscriptSearch search{lines};
};

TEST_F(TranscriptSearchTest, finds_what_users_mean) {
    lines.setLines({line(1, "Me", "Müller and MULLER met mu\u0308ller in a Straße."),
                    line(2, "Them", "He’s at the CAFÉ: cafe\u0301, cafe. ǅungla"), line(3, "Me", "naïve\nnext row")});
    const std::tuple<const char*, QStringList> cases[] = {
        {"muller", {utf8("Müller"), utf8("MULLER"), utf8("mu\u0308ller")}},
        {"Müller", {utf8("Müller"), utf8("mu\u0308ller")}},
        {"mu\u0308", {utf8("Mü"), utf8("mu\u0308")}},
        {"STRASSE", {utf8("Straße")}},
        {"ss", {utf8("ß")}},
        {"he's", {utf8("He’s")}},
        {"cafe", {utf8("CAFÉ"), utf8("cafe\u0301"), utf8("cafe")}},
        {"café", {utf8("CAFÉ"), utf8("cafe\u0301")}},
        {"e next", {utf8("e\nnext")}},
        {"them", {}},
        {"", {}}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(found(utf8(text)), expected) << text;
}

TEST_F(TranscriptSearchTest, typing_on_and_back_finds_the_same_as_looking_anew) {
    lines.setLines({line(1, "Me", "banana bandana"), line(2, "Them", "ban"), line(3, "Me", "BANDÄNA")});
    const QString typed = QStringLiteral("banda");
    for (const qsizetype length : {1, 2, 3, 4, 5, 4, 3, 1}) {
        const QStringList grown = found(typed.left(length));
        search.find({});
        EXPECT_EQ(grown, found(typed.left(length)));
    }
    EXPECT_EQ(found(QStringLiteral("bandä")), QStringList{utf8("BANDÄ")});
}

TEST_F(TranscriptSearchTest, follows_the_lines_and_names_the_next_match) {
    std::vector said{line(1, "Me", "one two one"), line(2, "Them", "one")};
    QObject::connect(&lines, &TranscriptLines::changed,
                     [&](const TranscriptLines::Change& change) { search.refresh(change.firstLine); });
    lines.setLines(said);
    search.find(QStringLiteral("one"));
    EXPECT_EQ(search.matches().size(), 3U);
    said.push_back(line(3, "Me", "and one more"));
    lines.setLines(said);
    EXPECT_EQ(search.matches().size(), 4U);
    said[0].text = "none";
    lines.setLines(said);
    ASSERT_EQ(search.matches().size(), 3U);
    EXPECT_EQ(search.matchFrom({0, 2}), 1);
    EXPECT_EQ(search.matchFrom({1, 1}), 2);
    EXPECT_EQ(search.matchFrom({2, 9}), 0) << "around the end";
    lines.setLines({});
    EXPECT_EQ(search.matchFrom({}), -1);
}

TEST_F(TranscriptSearchTest, ten_thousand_lines_are_searched_between_two_key_strokes) {
    const std::pair<const char*, const char*> languages[] = {
        {"The shelves come first, then the prices, and the rest of it can wait until Tuesday or so.", "the rest"},
        {"Сначала полки, потом цены, а всё остальное может подождать до вторника или около того.", "остал"},
        {"Zuerst die Gestelle, dann die Preise, und alles Übrige kann bis Dienstag warten, würde ich meinen.",
         "übrig"}};
    for (const auto& [text, wanted] : languages) {
        lines.setLines(dialogue(10'000, [said = text](int) { return said; }));
        search.find({});
        const QString typed = utf8(wanted);
        for (qsizetype length = 1; length <= typed.size(); ++length) {
            const ThreadTimer timer;
            search.find(typed.left(length));
            EXPECT_LT(timer.milliseconds(), 50 * checkedBuildFactor) << wanted << " after " << length << " letters";
        }
        EXPECT_EQ(search.matches().size(), 10'000U);
    }
}

} // namespace
} // namespace tavrin

#include "ui/meeting/MeetingFoot.h"

#include "ui/PlatformWords.h"
#include "ui/components/Button.h"
#include "ui/components/IconView.h"
#include "ui/components/Label.h"
#include "ui/components/Picker.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace tavrin {

namespace {

constexpr int footHeight = 57; // 56 and the line above
constexpr int narrowPage = 900;

} // namespace

BacklogText backlogText(double seconds) {
    constexpr double longest = 1e6;
    if (!(seconds > 0)) return {};
    const int minutes = std::max(1, int(std::min(seconds, longest) / 60));
    const QString text =
        QCoreApplication::translate("tavrin::MeetingFoot",
                                    "Transcription is about %1 min behind. Keep the app open until it catches up after "
                                    "you stop — audio is saved locally.")
            .arg(minutes);
    const qsizetype end = text.indexOf(QStringLiteral(". "));
    return {text.left(end + 1), end < 0 ? QString() : text.mid(end + 2)};
}

MeetingFoot::MeetingFoot(const Theme& shown, QWidget* parent)
    : QWidget(parent), theme(shown), icon(new IconView(shown, QStringLiteral("clock"), 16, Token::warnText, this)),
      first(new Label(shown, TextStyle::caption, {}, Token::text, this)),
      second(new Label(shown, TextStyle::caption, {}, Token::text2, this)),
      workspace(new Picker(shown, tr("Workspace"), {}, this)), client(new Picker(shown, tr("Client"), {}, this)),
      sync(new Button(shown, Button::Kind::normal, tr("Sync"), QStringLiteral("sync"), this)) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(32, 1, 24, 0);
    row->setSpacing(8);
    row->addWidget(icon);
    auto* words = new QVBoxLayout;
    words->setSpacing(0);
    words->addStretch(1);
    words->addWidget(first);
    words->addWidget(second);
    words->addStretch(1);
    row->addLayout(words, 1);
    row->addSpacing(8);
    workspace->setPreferredWidth(152);
    client->setPreferredWidth(136);
    const QString why = tr("Sending meetings to Tavrin comes with a later version. They are kept on this computer.");
    for (QWidget* part : std::initializer_list<QWidget*>{workspace, client, sync}) {
        part->setEnabled(false);
        part->setToolTip(why);
        part->setAccessibleDescription(why);
        row->addWidget(part);
    }
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setMinimumHeight(theme.scaled(footHeight));
    followTheme(*this, theme);
    connect(&theme, &Theme::changed, this, [this] {
        setMinimumHeight(theme.scaled(footHeight));
        fit();
    });
}

void MeetingFoot::show(const MeetingState& state) {
    BacklogText text = backlogText(state.backlogSeconds);
    const bool behind = !text.first.isEmpty();
    const QString status = platformWords(state.statusMessage);
    if (!behind)
        text.first = status.isEmpty() ? platformWords(state.statusText) : status;
    else if (!status.isEmpty())
        text.second = status;
    if (state.phase == MeetingPhase::error && status.isEmpty()) text.first.clear(); // said above, where it happened
    icon->setVisible(behind);
    first->setText(text.first);
    first->setStyle(behind ? TextStyle::caption : TextStyle::text);
    first->setColor(behind ? Token::text : Token::text2);
    secondLine = text.second;
    second->setText(secondLine);
    setToolTip(behind ? text.first + QLatin1Char('\n') + secondLine : QString());
    fit();
}

void MeetingFoot::fit() {
    const bool narrow = width() < narrowPage * theme.fontScale();
    second->setVisible(!secondLine.isEmpty() && !narrow);
    // Larger type needs the room for what is said.
    const bool cramped = narrow && theme.fontScale() > 1.2;
    workspace->setPreferredWidth(cramped ? 76 : 152);
    client->setPreferredWidth(cramped ? 64 : 136);
}

void MeetingFoot::resizeEvent(QResizeEvent* /*event*/) {
    fit();
}

void MeetingFoot::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme.color(Token::surface));
    painter.fillRect(0, 0, width(), 1, theme.color(Token::line));
}

} // namespace tavrin

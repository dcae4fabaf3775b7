#include "ui/meeting/TranscriptWindow.h"

#include "ui/PlatformWords.h"
#include "ui/components/FocusRing.h"
#include "ui/components/Label.h"
#include "ui/components/NoticeLine.h"
#include "ui/meeting/MeetingFoot.h"
#include "ui/meeting/TranscriptPane.h"
#include "ui/meeting/TranscriptView.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>

namespace tavrin {

namespace {

constexpr QSize usualSize(560, 640);
constexpr QSize leastSize(360, 280);

} // namespace

TranscriptWindow::TranscriptWindow(const Theme& shown, TranscriptLines& lines)
    : theme(shown), title(new Label(shown, TextStyle::section, {}, Token::text, this)),
      date(new Label(shown, TextStyle::caption, {}, Token::text2, this)),
      backlog(new NoticeLine(shown, NoticeLine::Kind::info, {}, this)), transcript(new TranscriptPane(shown, lines)) {
    setAttribute(Qt::WA_QuitOnClose, false);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    auto* words = new QVBoxLayout;
    words->setContentsMargins(32, 16, 32, 12);
    words->setSpacing(2);
    words->addWidget(title);
    words->addWidget(date);
    column->addLayout(words);
    column->addWidget(transcript, 1);
    auto* below = new QVBoxLayout;
    below->setContentsMargins(16, 0, 16, 16);
    below->addWidget(backlog);
    column->addLayout(below);
    new FocusRing(theme, *this);
    setMinimumSize(leastSize);
    resize(usualSize);
    followTheme(*this, theme);
    show(MeetingState{});
}

void TranscriptWindow::show(const MeetingState& state) {
    const QString name = state.title.empty() ? tr("Transcript") : QString::fromStdString(state.title);
    title->setText(name);
    setWindowTitle(state.title.empty() ? name : tr("%1 – Transcript").arg(name));
    date->setText(platformWords(state.dateLine));
    const BacklogText text = backlogText(state.backlogSeconds);
    const QString words = text.first.isEmpty() ? QString() : text.first + QLatin1Char(' ') + text.second;
    if (backlog->text() != words) backlog->setText(words);
    backlog->parentWidget()->layout()->itemAt(2)->layout()->setContentsMargins(16, 0, 16, words.isEmpty() ? 0 : 16);
    backlog->setVisible(!words.isEmpty());
    transcript->view().setInterim(platformWords(state.interimLine));
}

void TranscriptWindow::raiseToFront() {
    isMinimized() ? showNormal() : QWidget::show();
    raise();
    activateWindow();
    transcript->view().setFocus(Qt::OtherFocusReason);
}

void TranscriptWindow::restorePlace(const QByteArray& place) {
    if (!place.isEmpty() && !restoreGeometry(place)) resize(usualSize);
}

void TranscriptWindow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme.color(Token::window));
}

void TranscriptWindow::closeEvent(QCloseEvent* event) {
    QWidget::closeEvent(event);
    emit placeChanged();
}

void TranscriptWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape || event->keyCombination() == (Qt::CTRL | Qt::Key_W))
        close();
    else
        QWidget::keyPressEvent(event);
}

} // namespace tavrin

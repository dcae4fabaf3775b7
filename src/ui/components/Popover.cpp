#include "ui/components/Popover.h"

#include "ui/components/Painting.h"

#include <QApplication>
#include <QGraphicsOpacityEffect>
#include <QKeyEvent>
#include <QLayout>
#include <QPainter>
#include <QVariantAnimation>

namespace tavrin {

namespace {

constexpr int gap = 8;
constexpr double radius = 12;
constexpr int riseFrom = 4;
constexpr int milliseconds = 140;

} // namespace

Popover::Popover(const Theme& shown, QWidget& window, QWidget& content, int wide)
    : QWidget(&window), theme(shown), inside(content), width(wide) {
    inside.setParent(this);
    setFocusPolicy(Qt::NoFocus);
    setAttribute(Qt::WA_NoMousePropagation);
    followTheme(*this, theme);
    connect(&theme, &Theme::changed, this, &Popover::place);
    hide();
}

void Popover::open(const QRect& beside) {
    if (!isOpen()) focusBefore = QApplication::focusWidget();
    anchor = beside;
    place();
    raise();
    show();
    inside.show();
    qApp->installEventFilter(this);
    appear();
    if (const auto all = stops(); !all.isEmpty()) all.front()->setFocus(Qt::OtherFocusReason);
}

void Popover::moveBeside(const QRect& beside) {
    anchor = beside;
    place();
}

void Popover::close() {
    if (!isOpen()) return;
    qApp->removeEventFilter(this);
    const bool hadFocus = isAncestorOf(QApplication::focusWidget());
    hide();
    if (hadFocus && focusBefore) focusBefore->setFocus(Qt::OtherFocusReason);
}

QRect Popover::panel() const {
    return geometry().adjusted(panelShadowReach, panelShadowReach, -panelShadowReach, -panelShadowReach);
}

void Popover::place() {
    const QRect room = parentWidget()->rect().adjusted(gap, gap, -gap, -gap);
    const int wide = qMin(theme.scaled(width), room.width());
    const int natural = inside.hasHeightForWidth() ? inside.heightForWidth(wide) : inside.sizeHint().height();
    const int high = qMin(natural, room.height());
    QRect box(anchor.left(), anchor.bottom() + 1 + gap, wide, high);
    if (box.bottom() > room.bottom() && anchor.top() - gap - high >= room.top()) box.moveBottom(anchor.top() - gap - 1);
    box.moveLeft(qBound(room.left(), box.left(), room.right() + 1 - wide));
    box.moveTop(qBound(room.top(), box.top(), room.bottom() + 1 - high));
    const int reach = panelShadowReach;
    setGeometry(box.adjusted(-reach, -reach, reach, reach));
    inside.setGeometry(reach, reach + rise, wide, high);
    update();
}

void Popover::appear() {
    rise = theme.moves() ? riseFrom : 0;
    place();
    if (!theme.moves()) return;
    auto* fade = new QGraphicsOpacityEffect(this);
    setGraphicsEffect(fade); // takes the place of an earlier one
    auto* motion = new QVariantAnimation(fade);
    motion->setDuration(milliseconds);
    motion->setStartValue(0.0);
    motion->setEndValue(1.0);
    motion->setEasingCurve(QEasingCurve::OutCubic);
    connect(motion, &QVariantAnimation::valueChanged, fade, [this, fade](const QVariant& value) {
        fade->setOpacity(value.toDouble());
        rise = qRound(riseFrom * (1 - value.toDouble()));
        place();
    });
    connect(motion, &QVariantAnimation::finished, this, [this] { setGraphicsEffect(nullptr); });
    motion->start();
}

void Popover::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QRectF box = inside.geometry();
    drawPanelShadow(painter, box, radius, theme.color(Token::shadow));
    fillRounded(painter, box, radius, theme.color(Token::panel));
    strokeRounded(painter, box, radius, theme.color(Token::line), 1);
}

void Popover::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) emit dismissed();
}

void Popover::mousePressEvent(QMouseEvent* event) {
    if (!inside.geometry().contains(event->pos())) emit dismissed(); // in the shadow
}

bool Popover::eventFilter(QObject* watched, QEvent* event) {
    auto* widget = qobject_cast<QWidget*>(watched);
    const bool inWindow = widget && isVisible() && widget->window() == window();
    if (inWindow && event->type() == QEvent::MouseButtonPress && widget != this && !isAncestorOf(widget) &&
        !widget->isWindow())
        emit dismissed();
    if (watched == parentWidget() && event->type() == QEvent::Resize) place();
    return QWidget::eventFilter(watched, event);
}

QList<QWidget*> Popover::stops() const {
    QList<QWidget*> found;
    const auto all = inside.findChildren<QWidget*>();
    for (QWidget* each = inside.nextInFocusChain(); each && each != &inside; each = each->nextInFocusChain())
        if (all.contains(each) && each->isEnabled() && each->isVisible() && (each->focusPolicy() & Qt::TabFocus))
            found += each;
    return found;
}

bool Popover::focusNextPrevChild(bool next) {
    const auto all = stops();
    const qsizetype last = all.size() - 1;
    if (last < 0) return true;
    const qsizetype now = all.indexOf(QApplication::focusWidget());
    const qsizetype to = next ? (now == last ? 0 : now + 1) : (now <= 0 ? last : now - 1);
    all[to]->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

} // namespace tavrin

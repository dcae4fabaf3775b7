#include "ui/Sheet.h"

#include "ui/components/Painting.h"

#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>
#include <algorithm>

namespace tavrin {

namespace {

constexpr int padding = 28;
constexpr int leastEdge = 16;
constexpr double radius = 12;
constexpr int blur = 28;
constexpr int shadowDrop = 8;

// A soft shadow out of many faint layers.
void drawShadow(QPainter& painter, const QRectF& place, const QColor& color) {
    QColor layer = color;
    layer.setAlphaF(color.alphaF() * 2 / blur);
    for (int reach = blur / 2; reach > -blur / 2; --reach)
        fillRounded(painter, place.adjusted(-reach, -reach, reach, reach).translated(0, shadowDrop),
                    radius + qMax(0, reach), layer);
}

} // namespace

Sheet::Sheet(const Theme& shown, QWidget& window, int sheetWidth, const QString& accessibleName)
    : QWidget(&window), theme(shown), panel(new QWidget(this)), column(new QVBoxLayout(panel)), width(sheetWidth) {
    setAccessibleName(accessibleName);
    setFocusPolicy(Qt::NoFocus);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(0);
    window.installEventFilter(this);
    followTheme(*this, theme);
    connect(&theme, &Theme::changed, this, &Sheet::arrange);
    hide();
}

void Sheet::open() {
    if (isOpen()) return;
    focusBefore = QApplication::focusWidget();
    setGeometry(parentWidget()->rect());
    raise();
    show();
    arrange();
    if (const auto first = stops(); !first.empty()) first.front()->setFocus(Qt::OtherFocusReason);
    emit opened();
}

void Sheet::close() {
    if (!isOpen()) return;
    hide();
    if (focusBefore) focusBefore->setFocus(Qt::OtherFocusReason);
    emit closed();
}

void Sheet::cancel() {
    close();
    emit cancelled();
}

bool Sheet::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize) setGeometry(parentWidget()->rect());
    return QWidget::eventFilter(watched, event);
}

void Sheet::resizeEvent(QResizeEvent* /*event*/) {
    arrange();
}

void Sheet::arrange() {
    const int wide = qMin(theme.scaled(width), QWidget::width() - 2 * leastEdge);
    column->activate();
    const int natural = column->hasHeightForWidth() ? column->heightForWidth(wide) : column->sizeHint().height();
    const int high = qMin(natural, height() - 2 * leastEdge);
    panel->setGeometry((QWidget::width() - wide) / 2, (height() - high) / 2, wide, high);
    update();
}

void Sheet::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme.color(Token::veil));
    const QRectF place = panel->geometry();
    drawShadow(painter, place, theme.color(Token::shadow));
    fillRounded(painter, place, radius, theme.color(Token::panel));
    strokeRounded(painter, place, radius, theme.color(Token::line), 1);
}

void Sheet::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) cancel();
}

void Sheet::mousePressEvent(QMouseEvent* event) {
    event->accept();
}

QList<QWidget*> Sheet::stops() const {
    QList<QWidget*> found;
    for (QWidget* each = panel->nextInFocusChain(); each && each != panel; each = each->nextInFocusChain())
        if (panel->isAncestorOf(each) && each->isVisible() && each->isEnabled() && (each->focusPolicy() & Qt::TabFocus))
            found.append(each);
    return found;
}

bool Sheet::focusNextPrevChild(bool next) {
    const auto all = stops();
    if (all.isEmpty()) return true;
    const qsizetype at = all.indexOf(QApplication::focusWidget());
    const qsizetype to = at < 0 ? 0 : (at + (next ? 1 : all.size() - 1)) % all.size();
    all.at(to)->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

bool isCovered(const QWidget& widget) {
    const auto sheets = widget.window()->findChildren<Sheet*>();
    return std::ranges::any_of(sheets, [](const Sheet* sheet) { return sheet->isOpen(); });
}

} // namespace tavrin

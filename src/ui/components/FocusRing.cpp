#include "ui/components/FocusRing.h"

#include "ui/components/Painting.h"

#include <QApplication>
#include <QEvent>
#include <QPainter>

namespace tavrin {

namespace {

constexpr char radiusProperty[] = "focusRadius";
constexpr int reach = 4;

} // namespace

void setFocusRadius(QWidget& control, double radius) {
    control.setProperty(radiusProperty, radius);
}

void clearFocusRadius(QWidget& control) {
    control.setProperty(radiusProperty, QVariant());
}

FocusRing::FocusRing(const Theme& shown, QWidget& window) : QWidget(&window), theme(shown) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    hide();
    followTheme(*this, theme);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { follow(now); });
}

void FocusRing::follow(QWidget* focused) {
    for (QWidget* part = target; part && part != window(); part = part->parentWidget())
        part->removeEventFilter(this);
    target = nullptr;
    const bool ours = focused && focused->window() == window() && focused->property(radiusProperty).isValid();
    const bool byMouse = QApplication::mouseButtons() != Qt::NoButton;
    if (ours && !byMouse && window()->testAttribute(Qt::WA_KeyboardFocusChange)) {
        target = focused;
        // Whatever moves the control, a scrolled page for one, moves the ring.
        for (QWidget* part = focused; part && part != window(); part = part->parentWidget())
            part->installEventFilter(this);
    }
    place();
}

void FocusRing::place() {
    if (!target || !target->isVisible() || !target->property(radiusProperty).isValid()) return hide();
    const double radius = target->property(radiusProperty).toDouble();
    const int out = radius < 0 ? 0 : reach;
    QRect ring(target->mapTo(window(), QPoint(0, 0)), target->size());
    ring.adjust(-out, -out, out, out);
    setGeometry(ring.intersected(window()->rect()));
    raise();
    show();
    update();
}

bool FocusRing::eventFilter(QObject* /*watched*/, QEvent* event) {
    switch (event->type()) {
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::Show:
    case QEvent::Hide:
    case QEvent::DynamicPropertyChange:
        place();
        break;
    case QEvent::MouseButtonPress:
        hide();
        break;
    default:
        break;
    }
    return false;
}

void FocusRing::paintEvent(QPaintEvent* /*event*/) {
    if (!target) return;
    QPainter painter(this);
    const double radius = target->property(radiusProperty).toDouble();
    const QRectF control(QPointF(target->mapTo(window(), QPoint(0, 0)) - pos()), QSizeF(target->size()));
    if (radius < 0)
        strokeRounded(painter, control.adjusted(2, 2, -2, -2), 4, theme.color(Token::accent), 2);
    else
        drawFocusRing(painter, control, radius, theme.color(Token::accent));
}

} // namespace tavrin

#include "ui/ThemeStyle.h"

#include "ui/Theme.h"
#include "ui/components/Painting.h"

#include <QPainter>
#include <QStyleOption>

namespace tavrin {

namespace {

constexpr int scrollBarThickness = 12; // 6 of bar, 3 of air at each side
constexpr int menuRowHeight = 28;

} // namespace

ThemeStyle::ThemeStyle(const Theme& shown) : QProxyStyle(QStringLiteral("Fusion")), theme(shown) {}

void ThemeStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                               const QWidget* widget) const {
    switch (element) {
    case PE_FrameFocusRect:
        return; // the ring around what has the focus is drawn by FocusRing
    case PE_PanelTipLabel:
        fillRounded(*painter, option->rect, 6, theme.color(Token::tip));
        return;
    case PE_PanelMenu:
        painter->fillRect(option->rect, theme.color(Token::panel));
        return;
    case PE_FrameMenu:
        strokeRounded(*painter, option->rect, 0, theme.color(Token::line2), 1);
        return;
    default:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void ThemeStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                             const QWidget* widget) const {
    if (element == CE_MenuItem) return drawMenuItem(*option, *painter);
    QProxyStyle::drawControl(element, option, painter, widget);
}

void ThemeStyle::drawMenuItem(const QStyleOption& option, QPainter& painter) const {
    const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(&option);
    if (!item) return;
    if (item->menuItemType == QStyleOptionMenuItem::Separator) {
        painter.fillRect(QRect(item->rect.left(), item->rect.center().y(), item->rect.width(), 1),
                         theme.color(Token::line));
        return;
    }
    const bool enabled = item->state.testFlag(State_Enabled);
    if (enabled && item->state.testFlag(State_Selected)) painter.fillRect(item->rect, theme.color(Token::press));
    painter.setFont(theme.font(TextStyle::text));
    painter.setPen(theme.color(enabled ? Token::text : Token::disabled));
    const auto parts = item->text.split(QLatin1Char('\t'));
    const QRect place = item->rect.adjusted(12, 0, -12, 0);
    painter.drawText(place, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextShowMnemonic, parts.value(0));
    painter.setPen(theme.color(Token::text2));
    if (parts.size() > 1) painter.drawText(place, Qt::AlignVCenter | Qt::AlignRight, parts.at(1));
}

void ThemeStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                                    const QWidget* widget) const {
    const auto* slider = control == CC_ScrollBar ? qstyleoption_cast<const QStyleOptionSlider*>(option) : nullptr;
    if (!slider) return QProxyStyle::drawComplexControl(control, option, painter, widget);
    if (slider->maximum <= slider->minimum) return;
    const QRectF thumb = subControlRect(CC_ScrollBar, slider, SC_ScrollBarSlider, widget);
    const bool held = slider->activeSubControls.testFlag(SC_ScrollBarSlider);
    fillRounded(*painter, thumb.adjusted(3, 3, -3, -3), 3, theme.color(held ? Token::mark : Token::thumb));
}

QRect ThemeStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                                 const QWidget* widget) const {
    const auto* slider = control == CC_ScrollBar ? qstyleoption_cast<const QStyleOptionSlider*>(option) : nullptr;
    if (!slider) return QProxyStyle::subControlRect(control, option, part, widget);
    const bool upright = slider->orientation == Qt::Vertical;
    const int groove = upright ? slider->rect.height() : slider->rect.width();
    const qint64 steps = qint64(slider->maximum) - slider->minimum + slider->pageStep;
    const int length = steps > 0 ? qMax<int>(32, int(qint64(groove) * slider->pageStep / steps)) : groove;
    const int start = sliderPositionFromValue(slider->minimum, slider->maximum, slider->sliderPosition, groove - length,
                                              slider->upsideDown);
    const auto stretch = [&](int from, int count) {
        return upright ? QRect(slider->rect.left(), slider->rect.top() + from, slider->rect.width(), count)
                       : QRect(slider->rect.left() + from, slider->rect.top(), count, slider->rect.height());
    };
    switch (part) {
    case SC_ScrollBarGroove:
        return slider->rect;
    case SC_ScrollBarSlider:
        return stretch(start, length);
    case SC_ScrollBarSubPage:
        return stretch(0, start);
    case SC_ScrollBarAddPage:
        return stretch(start + length, groove - start - length);
    default:
        return {};
    }
}

int ThemeStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    switch (metric) {
    case PM_ScrollBarExtent:
        return scrollBarThickness;
    case PM_ScrollBarSliderMin:
        return 32;
    case PM_MenuPanelWidth:
        return 1;
    case PM_MenuVMargin:
        return 5;
    case PM_ToolTipLabelFrameWidth:
        return 6;
    case PM_ScrollView_ScrollBarOverlap:
        return 0;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int ThemeStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                          QStyleHintReturn* returned) const {
    switch (hint) {
    case SH_ComboBox_Popup:
    case SH_ScrollBar_Transient:
    case SH_Widget_Animation_Duration:
        return 0;
    case SH_ToolTipLabel_Opacity:
        return 255;
    default:
        return QProxyStyle::styleHint(hint, option, widget, returned);
    }
}

QSize ThemeStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                   const QWidget* widget) const {
    const QSize given = QProxyStyle::sizeFromContents(type, option, size, widget);
    const auto* item = type == CT_MenuItem ? qstyleoption_cast<const QStyleOptionMenuItem*>(option) : nullptr;
    if (!item || item->menuItemType == QStyleOptionMenuItem::Separator) return given;
    return {given.width() + 24, theme.scaled(menuRowHeight)};
}

} // namespace tavrin

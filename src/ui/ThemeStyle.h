#pragma once

#include <QProxyStyle>

namespace tavrin {

class Theme;

/// How the parts of the toolkit look that we do not paint ourselves: scroll bars, menus, pop-up lists and tool tips.
/// The theme outlives it.
class ThemeStyle final : public QProxyStyle {
    Q_OBJECT

public:
    explicit ThemeStyle(const Theme& theme);

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                         const QWidget* widget) const override;
    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returned) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                           const QWidget* widget) const override;

private:
    void drawMenuItem(const QStyleOption& option, QPainter& painter) const;

    const Theme& theme;
};

} // namespace tavrin

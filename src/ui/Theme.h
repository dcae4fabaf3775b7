#pragma once

#include "ui/Tokens.h"

#include <QColor>
#include <QFont>
#include <QHash>
#include <QObject>
#include <QPalette>
#include <QPixmap>
#include <QString>

class QApplication;
class QPainter;
class QRectF;
class QWidget;

namespace tavrin {

/// The kinds of text on screen: size and line height in pixels at a font scale of 1, weight.
enum class TextStyle {
    numerals,      // 28/32 semibold: elapsed time
    page,          // 22/28 semibold: the one title of a page
    section,       // 15/20 semibold
    text,          // 13/20
    textMedium,    // 13/20 medium: buttons
    textStrong,    // 13/20 semibold: names
    paragraph,     // 13/19: running text
    caption,       // 11/16
    captionMedium, // 11/16 medium: labels and badges
    captionStrong, // 11/16 semibold
};

/// The look of every window: colours, type, icons, whether things move.
///
/// Owner:    `main`; it outlives all widgets. Installs the application's style, palette and font.
/// Thread:   the windows' thread only.
/// Changes:  setters take effect at once; every window is repainted and `changed` is emitted for whoever keeps sizes.
class Theme final : public QObject {
    Q_OBJECT

public:
    enum class Scheme { light, dark, system };

    /// The application exists already: it is what gets the look, and gets its own back when the theme goes.
    /// Starts with the system's scheme, judged by the application's palette, and its font scale.
    explicit Theme(QApplication& application);
    ~Theme() override;

    /// `system` is what the system's palette said at start, or the last `setSystemDark`.
    void setScheme(Scheme scheme);
    /// What the desktop says of itself, now or later. Counts while the scheme is `system`.
    void setSystemDark(bool dark);
    /// Whether the system asks for more contrast: the lines of controls are as strong as marks then.
    void setContrast(bool more);
    /// Multiplies all type, and the heights of what holds type. Held between 0.75 and 3.
    void setFontScale(double scale);
    /// Whether things may move: off where the system asks for less motion.
    void setMotion(bool moves);

    [[nodiscard]] bool isDark() const { return dark; }
    [[nodiscard]] bool moves() const { return motion; }
    [[nodiscard]] bool hasMoreContrast() const { return contrast; }
    [[nodiscard]] double fontScale() const { return scale; }

    [[nodiscard]] QColor color(Token token) const;
    [[nodiscard]] QFont font(TextStyle style) const;
    /// Pixels from line to line, at the present font scale.
    [[nodiscard]] int lineHeight(TextStyle style) const;
    /// A measure of something that holds text, at the present font scale.
    [[nodiscard]] int scaled(int pixels) const;

    /// Draws an icon of the set, such as "pause", in one colour. An unknown name draws nothing.
    void drawIcon(QPainter& painter, const QString& name, const QRectF& place, const QColor& color) const;
    /// The same as a picture of `size` logical pixels.
    [[nodiscard]] QPixmap icon(const QString& name, int size, const QColor& color, double pixelRatio) const;

signals:
    void changed();

private:
    void apply();

    const QFont systemFont; // put back at the end
    const QPalette systemPalette;
    QString family;
    Scheme scheme = Scheme::system;
    bool systemDark = false;
    bool dark = false;
    bool motion = true;
    bool contrast = false;
    double scale = 1;
    mutable QHash<QString, QPixmap> icons;
};

/// Repaints and lays out `widget` anew whenever the theme changes.
void followTheme(QWidget& widget, const Theme& theme);

} // namespace tavrin

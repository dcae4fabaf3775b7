#pragma once

#include "ui/Theme.h"

#include <QAbstractButton>
#include <optional>

namespace tavrin {

/// A button with an icon, a text or both. Reached by Tab; a click does not take the focus from where one writes.
/// A button without text needs setAccessibleName, which becomes its tool tip, too.
class Button final : public QAbstractButton {
    Q_OBJECT

public:
    enum class Kind { normal, primary, red, destructive, quiet, link };
    enum class Size { normal, small };
    enum class Look { normal, hover, pressed, focus, disabled };

    Button(const Theme& theme, Kind kind, const QString& text, const QString& iconName = {}, QWidget* parent = nullptr);
    /// A square button that shows an icon only.
    Button(const Theme& theme, Kind kind, const QString& iconName, const QString& accessibleName, Size size,
           QWidget* parent);

    void setSize(Size size);
    void setKind(Kind kind);
    void setIconName(const QString& name);
    /// Shows the icon upside down.
    void setIconTurned(bool turned);
    /// The colour of text and icon where the button stands on a coloured ground.
    void setInk(std::optional<Token> token);
    /// Shows a state whatever the mouse does, for pictures.
    void pinLook(Look look);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    struct Colors {
        Token ground;
        Token line;
        Token ink;
    };
    [[nodiscard]] Look look() const;
    [[nodiscard]] Colors colors(Look look) const;
    [[nodiscard]] int side() const;
    [[nodiscard]] int padding() const;

    const Theme& theme;
    Kind kind;
    Size size = Size::normal;
    QString iconName;
    bool iconTurned = false;
    std::optional<Token> ink;
    std::optional<Look> pinned;
};

} // namespace tavrin

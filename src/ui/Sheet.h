#pragma once

#include "ui/Theme.h"

#include <QPointer>
#include <QWidget>

class QVBoxLayout;

namespace tavrin {

/// A sheet over the whole window, with a veil behind it. A child of the window: no window manager is asked.
///
/// Esc cancels. The focus starts in the sheet's first control, cannot leave it, and goes back to where it was.
class Sheet : public QWidget {
    Q_OBJECT

public:
    /// Covers `window` from `open` until `close`. Its owner is the window.
    Sheet(const Theme& theme, QWidget& window, int width, const QString& accessibleName);

    void open();
    void close();
    [[nodiscard]] bool isOpen() const { return isVisibleTo(parentWidget()); }

signals:
    void opened();
    void closed();
    void cancelled();

protected:
    [[nodiscard]] QVBoxLayout& content() { return *column; }
    [[nodiscard]] QWidget& body() { return *panel; }
    void cancel();

    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool focusNextPrevChild(bool next) override;

    const Theme& theme;

private:
    void arrange();
    [[nodiscard]] QList<QWidget*> stops() const;

    QWidget* panel;
    QVBoxLayout* column;
    int width;
    QPointer<QWidget> focusBefore;
};

/// Whether a sheet is open over the window of `widget`: keys of what it covers are silent then.
[[nodiscard]] bool isCovered(const QWidget& widget);

} // namespace tavrin

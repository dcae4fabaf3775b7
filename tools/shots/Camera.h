#pragma once

#include <QString>
#include <QWidget>

namespace tavrin::shots {

/// Writes pictures of widgets into a folder. Counts what could not be written.
class Camera final {
public:
    explicit Camera(QString folder);

    /// Writes NAME.png and NAME@2x.png of a widget of this size.
    void take(QWidget& widget, const QString& name, QSize size);

    [[nodiscard]] int written() const { return good; }
    [[nodiscard]] int failed() const { return bad; }

private:
    QString folder;
    int good = 0;
    int bad = 0;
};

} // namespace tavrin::shots

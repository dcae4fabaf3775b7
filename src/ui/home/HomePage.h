#pragma once

#include "ui/Theme.h"

#include <QWidget>

class QBoxLayout;

namespace tavrin {

class Button;
class Label;

/// The first page: what can be done now, and what will stand here.
class HomePage final : public QWidget {
    Q_OBJECT

public:
    explicit HomePage(const Theme& theme, QWidget* parent = nullptr);

    /// Whether a meeting can be started.
    void setStartEnabled(bool enabled);

signals:
    void startRequested();

protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void fit();

    const Theme& theme;
    Label* title;
    Button* start;
    QBoxLayout* columns;
};

} // namespace tavrin

#pragma once

#include "ui/Theme.h"

#include <QAbstractButton>

namespace tavrin {

class StatusDot;

/// A section in the side bar: icon, name, and at its right a count or the running time of a meeting.
class NavButton final : public QAbstractButton {
    Q_OBJECT

public:
    NavButton(const Theme& theme, const QString& name, const QString& iconName, QWidget* parent);

    void setCompact(bool compact);
    void setCount(int count);
    void setLiveTime(const QString& time, bool pulsing);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void placeDot();

    const Theme& theme;
    QString iconName;
    QString live;
    int count = 0;
    bool compact = false;
    StatusDot* dot;
};

/// The foot of the side bar: a round with initials, the name and a line about the account.
class AccountButton final : public QAbstractButton {
    Q_OBJECT

public:
    AccountButton(const Theme& theme, QWidget* parent);

    void setAccount(const QString& name, const QString& detail);
    void setCompact(bool compact);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme;
    QString name;
    QString detail;
    bool compact = false;
};

} // namespace tavrin

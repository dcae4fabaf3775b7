#pragma once

#include "ui/Theme.h"

#include <QWidget>

class QAbstractButton;
class QVBoxLayout;

namespace tavrin {

/// The sections of the main window, in the order of the side bar.
enum class Section { home, today, meeting, screenRecording, notes, dictation, activity, settings };
inline constexpr int sectionCount = 8;

/// The name of a section as shown. Its icon's name.
QString sectionName(Section section);
QString sectionIcon(Section section);

class NavButton;
class AccountButton;

/// The window's left column: the sections, and whose account it is. 208 wide, or 56 with icons alone.
class SideBar final : public QWidget {
    Q_OBJECT

public:
    explicit SideBar(const Theme& theme, QWidget* parent = nullptr);

    void setCurrent(Section section);
    void setCompact(bool compact);
    /// The running time beside "Meeting" with its dot; empty for none.
    void setLiveTime(const QString& time, bool pulsing);
    /// 0: none.
    void setCount(Section section, int count);
    /// An empty name: nobody is signed in.
    void setAccount(const QString& name, const QString& detail);

    [[nodiscard]] QSize sizeHint() const override;

signals:
    void sectionChosen(Section section);
    void accountChosen();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void arrange();

    const Theme& theme;
    QVBoxLayout* column;
    QWidget* brand;
    QList<NavButton*> buttons;
    AccountButton* account = nullptr;
    bool compact = false;
};

} // namespace tavrin

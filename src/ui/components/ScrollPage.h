#pragma once

#include "ui/Theme.h"

#include <QScrollArea>

class QHBoxLayout;
class QVBoxLayout;

namespace tavrin {

/// A page that scrolls as a whole: content at most 880 wide, centred, with the page's padding around it.
class ScrollPage final : public QScrollArea {
    Q_OBJECT

public:
    explicit ScrollPage(const Theme& theme, QWidget* parent = nullptr);

    /// The page from top to bottom. Its top margin is the page's; callers may set it to 0 below a head of their own.
    [[nodiscard]] QVBoxLayout& content() { return *column; }
    /// Scrolls so that `part` stands at the top, as far as that can be.
    void scrollTo(const QWidget& part);

protected:
    bool focusNextPrevChild(bool next) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QHBoxLayout* centred;
    QVBoxLayout* column;
};

} // namespace tavrin

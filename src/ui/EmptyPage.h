#pragma once

#include "ui/SideBar.h"

namespace tavrin {

/// The page of a section that is not built yet: what will appear here, and that it comes later.
class EmptyPage final : public QWidget {
    Q_OBJECT

public:
    EmptyPage(const Theme& theme, Section section, QWidget* parent = nullptr);
};

} // namespace tavrin

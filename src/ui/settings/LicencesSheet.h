#pragma once

#include "ui/Sheet.h"

namespace tavrin {

/// What the program is made of, and under which licences.
class LicencesSheet final : public Sheet {
    Q_OBJECT

public:
    LicencesSheet(const Theme& theme, QWidget& window);
};

} // namespace tavrin

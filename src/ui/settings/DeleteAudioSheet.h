#pragma once

#include "ui/Sheet.h"

namespace tavrin {

class Label;

/// Asks before left-over audio is deleted: how much it is, and that it does not come back. Keeps it unless told
/// otherwise.
class DeleteAudioSheet final : public Sheet {
    Q_OBJECT

public:
    DeleteAudioSheet(const Theme& theme, QWidget& window);

    /// "12 files, 34 MB".
    void setAmount(const QString& amount);

signals:
    void confirmed();

private:
    Label* words;
};

} // namespace tavrin

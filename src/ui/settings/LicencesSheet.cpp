#include "ui/settings/LicencesSheet.h"

#include "ui/components/Button.h"
#include "ui/components/FocusRing.h"
#include "ui/components/Label.h"
#include "ui/components/Row.h"
#include "ui/settings/Licences.h"

#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>

namespace tavrin {

namespace {

constexpr int sheetWidth = 560;
constexpr int listHeight = 400;

/// The list scrolls by the mouse and, once reached by Tab, by the keyboard.
class LicenceList final : public QScrollArea {
public:
    LicenceList(const Theme& shown, QWidget* parent) : QScrollArea(parent), theme(shown) {
        setFrameShape(QFrame::NoFrame);
        setWidgetResizable(true);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setFocusPolicy(Qt::TabFocus);
        setFocusRadius(*this, -6);
        setAccessibleName(LicencesSheet::tr("Licences"));
        auto* whole = new QWidget;
        auto* column = new QVBoxLayout(whole);
        column->setContentsMargins(0, 0, 0, 0);
        column->setSpacing(0);
        for (const Licence& each : builtInLicences()) {
            auto* row = new Row(theme, each.name, each.purpose, whole);
            row->setMinimumRowHeight(48);
            row->setLineAbove(column->count() > 0);
            row->add(new Label(theme, TextStyle::caption, each.licence, Token::text2, row));
            row->setToolTip(each.name + QStringLiteral(": ") + each.licence);
            column->addWidget(row);
        }
        setWidget(whole);
        viewport()->setAutoFillBackground(false);
        whole->setAutoFillBackground(false);
    }

    [[nodiscard]] QSize sizeHint() const override { return {100, theme.scaled(listHeight)}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return {100, theme.scaled(100)}; }

private:
    const Theme& theme;
};

} // namespace

LicencesSheet::LicencesSheet(const Theme& shown, QWidget& window) : Sheet(shown, window, sheetWidth, tr("Licences")) {
    content().addWidget(new Label(theme, TextStyle::section, tr("Licences"), Token::text, &body()));
    content().addSpacing(4);
    auto* words = new Label(theme, TextStyle::text,
                            tr("What this program is made of. Your system keeps the full texts of what it brings "
                               "under /usr/share/doc."),
                            Token::text2, &body());
    words->setWordWrap(true);
    content().addWidget(words);
    content().addSpacing(12);
    content().addWidget(new LicenceList(theme, &body()), 1);
    content().addSpacing(16);
    auto* buttons = new QHBoxLayout;
    auto* done = new Button(theme, Button::Kind::normal, tr("Close"), {}, &body());
    buttons->addStretch(1);
    buttons->addWidget(done);
    content().addLayout(buttons);
    connect(done, &Button::clicked, this, &LicencesSheet::close);
}

} // namespace tavrin

#pragma once

#include "ui/MainWindow.h"
#include "ui/Sheet.h"
#include "ui/UiTestSupport.h"
#include "ui/components/LineField.h"
#include "ui/settings/SettingsPage.h"

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>
#include <stdexcept>

namespace tavrin {

/// The settings in their window, and what a user does with mouse and keyboard.
class SettingsTest : public UiTest {
protected:
    SettingsTest() {
        window.show();
        window.showSection(Section::settings);
        QApplication::setActiveWindow(&window);
        settle();
    }

    /// The one that is seen and called so, or says so.
    QAbstractButton& button(const QString& name) {
        for (auto* each : window.findChildren<QAbstractButton*>())
            if (each->isVisible() && (each->text() == name || each->accessibleName() == name)) return *each;
        throw std::runtime_error("no button " + name.toStdString());
    }
    QAbstractButton& button(const char* name) { return button(QString::fromUtf8(name)); }

    QLineEdit& field(const char* name) {
        for (auto* each : window.findChildren<QLineEdit*>())
            if (each->accessibleName() == QString::fromUtf8(name) && each->isVisible()) return *each;
        throw std::runtime_error(std::string("no field ") + name);
    }

    static void click(QWidget& widget) {
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease})
            mouseEvent(widget, type, widget.rect().center());
        settle();
    }

    /// Writes over what stands there, key by key.
    static void type(QLineEdit& into, const QString& text) {
        into.setFocus(Qt::TabFocusReason);
        into.selectAll();
        if (text.isEmpty()) press(into, Qt::Key_Delete);
        for (const QChar letter : text) {
            QKeyEvent event(QEvent::KeyPress, 0, Qt::NoModifier, QString(letter));
            QCoreApplication::sendEvent(&into, &event);
        }
    }

    /// Presses a key where the focus is.
    static void pressAtFocus(int key) {
        ASSERT_NE(QApplication::focusWidget(), nullptr);
        press(*QApplication::focusWidget(), key);
        settle();
    }

    /// A line of text that can be seen begins so.
    [[nodiscard]] bool isShown(const char* text) const {
        for (const auto* label : window.findChildren<QLabel*>())
            if (label->isVisible() && label->text().startsWith(QString::fromUtf8(text))) return true;
        return false;
    }

    [[nodiscard]] QString focused() const {
        const QWidget* now = QApplication::focusWidget();
        const auto* pressed = qobject_cast<const QAbstractButton*>(now);
        if (pressed && !pressed->text().isEmpty()) return pressed->text();
        return now ? now->accessibleName() : QString();
    }

    [[nodiscard]] Sheet* openSheet() const {
        for (auto* sheet : window.findChildren<Sheet*>())
            if (sheet->isOpen()) return sheet;
        return nullptr;
    }

    MainWindow window{theme};
    SettingsPage& page = window.settingsPage();
};

} // namespace tavrin

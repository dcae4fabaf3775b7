#pragma once

#include "ui/settings/SettingsSection.h"

namespace tavrin {

class Button;
class LineField;

/// Token, server and start with the computer.
class AccountSection final : public SettingsSection {
    Q_OBJECT

public:
    AccountSection(const Theme& theme, QWidget* parent);

    using QWidget::show;
    void show(const SettingsState& state);
    /// Empties the token field, as after a token was kept.
    void clearToken();
    /// The address that the user asked for will not do: says so at the field and leaves what was typed there.
    void refuseServerAddress(const QString& reason);

signals:
    /// The token as typed, without blanks around it; empty to forget the kept one.
    void tokenSaveRequested(const QString& token);
    /// Another address than the one shown, without blanks around it; empty for the default.
    void serverAddressEntered(const QString& address);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void addToken();
    void addServer();
    void showToken();
    void showServer();
    void enterServer();

    bool tokenSaved = false;
    bool tokenSaveEnabled = true;
    QString serverInForce;
    QString serverRefused; // what stands in the field and will not do
    LineField* token = nullptr;
    Button* saveToken = nullptr;
    Label* tokenState = nullptr;
    Label* keptWhere = nullptr;
    Row* serverRow = nullptr;
    LineField* server = nullptr;
    Row* startRow;
    Switch* start;
};

} // namespace tavrin

#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>

namespace tavrin {

class Theme;

/// Tells the theme what the desktop wishes, as the settings portal says, now and when it changes: dark or light, more
/// contrast, less motion. Without a portal the palette stays what counts. Thread: main; asks without waiting. The theme
/// outlives it.
class DesktopAppearance final : public QObject {
    Q_OBJECT

public:
    explicit DesktopAppearance(Theme& theme);

private Q_SLOTS:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void ask(const QString& key);

    Theme& theme;
};

} // namespace tavrin

#pragma once

#include "app/SingleInstance.h"

#include <QDBusAbstractAdaptor>
#include <QVariantList>

namespace tavrin {

/// The desktop's interface for applications on the session bus. Thread: main. Owned by the instance.
class ApplicationInterface final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit ApplicationInterface(SingleInstance& owner) : QDBusAbstractAdaptor(&owner), instance(owner) {}

public Q_SLOTS:
    // The names are the interface's.
    void Activate(const QVariantMap& platformData);
    void Open(const QStringList& uris, const QVariantMap& platformData);
    void ActivateAction(const QString& name, const QVariantList& parameters, const QVariantMap& platformData);

private:
    SingleInstance& instance;
};

} // namespace tavrin

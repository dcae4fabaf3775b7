#include "app/ApplicationInterface.h"

namespace tavrin {

void ApplicationInterface::Activate(const QVariantMap& /*platformData*/) {
    Q_EMIT instance.activated();
}

void ApplicationInterface::Open(const QStringList& uris, const QVariantMap& /*platformData*/) {
    Q_EMIT instance.addressesOpened(uris);
}

void ApplicationInterface::ActivateAction(const QString& name, const QVariantList& /*parameters*/,
                                          const QVariantMap& /*platformData*/) {
    Q_EMIT instance.actionRequested(name);
}

} // namespace tavrin

#include "ui/meeting/TranscriptAccessible.h"

#include "ui/meeting/TranscriptView.h"

#include <QAccessibleWidget>

namespace tavrin {

namespace {

class TranscriptAccessible final : public QAccessibleWidget {
public:
    explicit TranscriptAccessible(TranscriptView& shown)
        : QAccessibleWidget(&shown, QAccessible::Document), view(shown) {}

    QString text(QAccessible::Text kind) const override {
        const bool content = kind == QAccessible::Value || kind == QAccessible::Description;
        return content ? view.latestText() : QAccessibleWidget::text(kind);
    }

private:
    TranscriptView& view;
};

QAccessibleInterface* makeTranscriptAccessible(const QString& /*className*/, QObject* object) {
    auto* view = qobject_cast<TranscriptView*>(object);
    return view ? new TranscriptAccessible(*view) : nullptr;
}

} // namespace

void installTranscriptAccessibility() {
    static const bool installed = [] {
        QAccessible::installFactory(makeTranscriptAccessible);
        return true;
    }();
    static_cast<void>(installed);
}

} // namespace tavrin

#include "ui/meeting/TranscriptPane.h"

#include "ui/Sheet.h"
#include "ui/components/FindBar.h"
#include "ui/meeting/TranscriptSearch.h"
#include "ui/meeting/TranscriptView.h"
#include "ui/meeting/VocabularyCorrectionEditor.h"

#include <QAction>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <cmath>

namespace tavrin {

namespace {

constexpr std::array zoomSteps{0.8, 0.9, 1.0, 1.1, 1.25, 1.5, 1.75, 2.0};

} // namespace

TranscriptPane::TranscriptPane(const Theme& look, TranscriptLines& transcript, QWidget* parent)
    : QWidget(parent), theme(look), lines(transcript), search(std::make_unique<TranscriptSearch>(transcript)),
      bar(new FindBar(look, this)), shown(new TranscriptView(look, transcript, this)),
      form(new VocabularyCorrectionEditor(look, this)) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(bar);
    column->addWidget(shown, 1);
    form->hide();
    setFocusProxy(shown);
    addKeys();
    connect(bar, &FindBar::sought, this, &TranscriptPane::seek);
    connect(bar, &FindBar::stepRequested, this, &TranscriptPane::findNext);
    connect(bar, &FindBar::closed, this, &TranscriptPane::endSearch);
    connect(&lines, &TranscriptLines::changed, this, &TranscriptPane::searchLines);
    connect(shown, &TranscriptView::zoomRequested, this, &TranscriptPane::zoomBy);
    connect(shown, &TranscriptView::phraseChosen, this, &TranscriptPane::editPhrase);
    connect(shown, &TranscriptView::moved, this, &TranscriptPane::followPhrase);
    connect(form, &VocabularyCorrectionEditor::saveRequested, this, &TranscriptPane::saveCorrection);
    connect(form, &VocabularyCorrectionEditor::cancelled, this, &TranscriptPane::closeEditor);
    connect(form, &VocabularyCorrectionEditor::deleteRequested, this, [this] {
        const QString id = editedId;
        closeEditor();
        emit correctionDeleted(id);
    });
}

TranscriptPane::~TranscriptPane() {
    shown->setSearch(nullptr);
}

void TranscriptPane::addKeys() {
    addKey({QKeySequence(QStringLiteral("Ctrl+F"))}, tr("Find in the transcript"), [this] { openFind(); });
    addKey({QKeySequence(QStringLiteral("F3"))}, tr("Next match"), [this] { findNext(1); });
    addKey({QKeySequence(QStringLiteral("Shift+F3"))}, tr("Previous match"), [this] { findNext(-1); });
    addKey({QKeySequence(QStringLiteral("Ctrl++")), QKeySequence(QStringLiteral("Ctrl+="))},
           tr("Larger transcript type"), [this] { zoomBy(1); });
    addKey({QKeySequence(QStringLiteral("Ctrl+-"))}, tr("Smaller transcript type"), [this] { zoomBy(-1); });
    addKey({QKeySequence(QStringLiteral("Ctrl+0"))}, tr("Usual transcript type"), [this] { zoomBy(0); });
}

void TranscriptPane::addKey(const QList<QKeySequence>& keys, const QString& name, const std::function<void()>& act) {
    auto* action = new QAction(name, this);
    action->setShortcuts(keys);
    addAction(action);
    connect(action, &QAction::triggered, this, [this, act] {
        if (shown->isVisible() && !isCovered(*this)) act();
    });
}

// ---- search ---------------------------------------------------------------------------------------------------------

void TranscriptPane::openFind() {
    QString selected = shown->selectedText();
    if (selected.contains(QLatin1Char('\n'))) selected.clear();
    closeEditor();
    shown->setSearch(search.get());
    bar->open(selected);
}

void TranscriptPane::seek(const QString& text) {
    // Typing on stays at the match that is shown, as long as it is one.
    const auto matches = search->matches();
    const TextPlace from =
        match >= 0 && match < int(matches.size()) ? matches[std::size_t(match)].from : shown->firstSeen();
    search->find(text);
    show(search->matchFrom(from));
}

void TranscriptPane::findNext(int direction) {
    if (!bar->isOpen()) return openFind();
    const int all = int(search->matches().size());
    if (all > 0) show((match + direction + all) % all);
}

void TranscriptPane::show(int wanted) {
    match = wanted;
    bar->setCount(match, int(search->matches().size()));
    shown->searchChanged(match);
}

// The match that is shown stays the same one, whatever comes before it.
void TranscriptPane::searchLines(const TranscriptLines::Change& change) {
    if (!bar->isOpen()) return;
    const auto before = search->matches();
    const bool stays = match >= 0 && before[std::size_t(match)].from.line < change.firstLine;
    const TextPlace place = match >= 0 ? before[std::size_t(match)].from : TextPlace{};
    search->refresh(change.firstLine);
    if (!stays) match = search->matchFrom(place);
    bar->setCount(match, int(search->matches().size()));
    shown->showMatch(match); // without scrolling: the user may have gone on reading elsewhere
}

void TranscriptPane::endSearch() {
    search->find({});
    match = -1;
    shown->searchChanged(-1);
    shown->setSearch(nullptr);
    shown->setFocus(Qt::OtherFocusReason);
}

// ---- type -----------------------------------------------------------------------------------------------------------

void TranscriptPane::setZoom(double wanted) {
    factor = std::isfinite(wanted) ? std::clamp(wanted, zoomSteps.front(), zoomSteps.back()) : 1;
    shown->setZoom(factor);
}

void TranscriptPane::zoomBy(int direction) {
    constexpr double same = 0.001;
    double wanted = 1;
    if (direction > 0) {
        const auto* next = std::ranges::find_if(zoomSteps, [&](double step) { return step > factor + same; });
        wanted = next == zoomSteps.end() ? factor : *next;
    } else if (direction < 0) {
        for (const double step : zoomSteps)
            if (step < factor - same || step == zoomSteps.front()) wanted = step;
    }
    if (wanted == factor) return;
    setZoom(wanted);
    emit zoomChanged(factor);
}

// ---- correction -----------------------------------------------------------------------------------------------------

std::optional<KnownCorrection> TranscriptPane::known(const QString& phrase) const {
    return lookup ? lookup(phrase) : std::nullopt;
}

/// The link stays at the word that the form is about.
void TranscriptPane::editPhrase(const QString& phrase, const TextRange& place) {
    if (!panel) {
        panel = new Popover(theme, *window(), *form, VocabularyCorrectionEditor::width);
        connect(panel, &Popover::dismissed, this, [this] {
            if (!form->isChanged()) closeEditor(); // what was typed is not thrown away by a click beside it
        });
    }
    if (panel->isOpen() && form->isChanged()) return form->startWriting();
    shown->setLinked(place);
    const auto entry = known(phrase);
    editedId = entry ? entry->id : QString();
    form->edit(entry ? entry->heardText : phrase, entry ? entry->correctText : QString(), entry.has_value());
    panel->open(phrasePlace());
    form->startWriting();
}

void TranscriptPane::saveCorrection(const QString& heardText, const QString& correctText) {
    const QString id = editedId;
    closeEditor();
    if (id.isEmpty())
        emit correctionSaved(heardText, correctText);
    else
        emit correctionChanged(id, heardText, correctText);
}

void TranscriptPane::closeEditor() {
    if (!panel || !panel->isOpen()) return;
    panel->close();
    shown->setLinked(std::nullopt);
}

QRect TranscriptPane::phrasePlace() const {
    const QRect place = shown->linkedPlace();
    if (place.isEmpty()) return {};
    return {shown->viewport()->mapTo(window(), place.topLeft()), place.size()};
}

/// The word may move while its correction is written; where it is out of sight the editor stays.
void TranscriptPane::followPhrase() {
    if (!panel || !panel->isOpen()) return;
    if (const QRect place = phrasePlace(); !place.isEmpty()) panel->moveBeside(place);
}

void TranscriptPane::hideEvent(QHideEvent* /*event*/) {
    closeEditor();
}

} // namespace tavrin

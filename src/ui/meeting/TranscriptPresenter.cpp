#include "ui/meeting/TranscriptPresenter.h"

#include "support/text/Unicode.h"
#include "ui/meeting/VocabularyCorrectionEditor.h"

#include <algorithm>
#include <utility>

namespace tavrin {

namespace {

constexpr std::string_view zoomKey = "tavrin.transcriptZoom";
constexpr std::string_view placeKey = "tavrin.transcriptWindowPlace";

/// A correction that made the phrase, or that the phrase should have met.
bool isAbout(const VocabularyCorrection& correction, std::string_view phrase) {
    const auto same = [&](std::string_view other) { return sameTextIgnoringCase(other, phrase); };
    return same(correction.correct) || std::ranges::any_of(correction.variants, same);
}

} // namespace

TranscriptPresenter::TranscriptPresenter(Dependencies dependencies, TranscriptPane& shown, TranscriptWindow& apart)
    : use(std::move(dependencies)), pane(shown), window(apart) {
    joinCorrections();
    for (TranscriptPane* each : {&pane, &window.pane()})
        each->editor().setExample(QString::fromStdString(use.exampleHeard), QString::fromStdString(use.exampleCorrect));
    restoreLooks();
    connect(&pane, &TranscriptPane::zoomChanged, this, [this](double factor) { use.preferences.set(zoomKey, factor); });
    connect(&window, &TranscriptWindow::placeChanged, this, [this] { keepPlace(); });
}

TranscriptPresenter::~TranscriptPresenter() {
    pane.setCorrectionLookup({});
    if (window.isVisible()) keepPlace();
}

void TranscriptPresenter::joinCorrections() {
    auto& vocabulary = use.vocabulary;
    pane.setCorrectionLookup([this](const QString& phrase) { return known(phrase); });
    connect(&pane, &TranscriptPane::correctionSaved, this, [&vocabulary](const QString& heard, const QString& correct) {
        vocabulary.addCorrection(parseVariants(heard.toStdString()), correct.toStdString());
    });
    connect(&pane, &TranscriptPane::correctionChanged, this,
            [&vocabulary](const QString& id, const QString& heard, const QString& correct) {
                auto variants = parseVariants(heard.toStdString());
                if (!vocabulary.updateCorrection(id.toStdString(), variants, correct.toStdString()))
                    vocabulary.addCorrection(std::move(variants), correct.toStdString()); // it went meanwhile
            });
    connect(&pane, &TranscriptPane::correctionDeleted, this,
            [&vocabulary](const QString& id) { vocabulary.deleteCorrection(id.toStdString()); });
}

std::optional<KnownCorrection> TranscriptPresenter::known(const QString& phrase) const {
    const auto& list = use.vocabulary.loadVocabularyCorrections();
    const std::string wanted = phrase.toStdString();
    const auto found = std::ranges::find_if(list, [&](const auto& correction) { return isAbout(correction, wanted); });
    if (found == list.end()) return std::nullopt;
    return KnownCorrection{.id = QString::fromStdString(found->id),
                           .heardText = QString::fromStdString(joined(found->variants, ", ")),
                           .correctText = QString::fromStdString(found->correct)};
}

void TranscriptPresenter::restoreLooks() {
    if (const auto factor = use.preferences.number(zoomKey)) {
        pane.setZoom(*factor);
        window.pane().setZoom(*factor);
    }
    if (const auto place = use.preferences.string(placeKey))
        window.restorePlace(QByteArray::fromBase64(QByteArray::fromStdString(*place)));
}

void TranscriptPresenter::keepPlace() {
    use.preferences.set(placeKey, window.place().toBase64().toStdString());
}

} // namespace tavrin

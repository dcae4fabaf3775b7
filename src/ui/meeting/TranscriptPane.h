#pragma once

#include "ui/Theme.h"
#include "ui/components/Popover.h"
#include "ui/meeting/TranscriptLines.h"

#include <QPointer>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

namespace tavrin {

class FindBar;
class TranscriptSearch;
class TranscriptView;
class VocabularyCorrectionEditor;

/// A correction as the list of them has it.
struct KnownCorrection {
    QString id;
    QString heardText; // comma-separated
    QString correctText;
};
/// Whether the list has a correction for a phrase of the transcript. May be empty.
using CorrectionLookup = std::function<std::optional<KnownCorrection>(const QString& phrase)>;

/// A transcript with all that is done in it: search, correction of words, size of the type.
///
/// Keys: Ctrl+F, F3 and Shift+F3, Ctrl+plus, Ctrl+minus, Ctrl+0, wherever in its window the focus is, unless a sheet
/// covers it. Thread: the windows' thread. Theme and lines outlive it.
class TranscriptPane final : public QWidget {
    Q_OBJECT

public:
    TranscriptPane(const Theme& theme, TranscriptLines& lines, QWidget* parent = nullptr);
    ~TranscriptPane() override;

    [[nodiscard]] TranscriptView& view() const { return *shown; }
    [[nodiscard]] FindBar& findBar() const { return *bar; }
    void openFind();
    /// Steps to the next (1) or the previous (-1) match; opens the bar where it is closed.
    void findNext(int direction);
    void setZoom(double factor);
    [[nodiscard]] double zoom() const { return factor; }
    /// One step larger (1) or smaller (-1), or back to the usual (0).
    void zoomBy(int direction);
    void setCorrectionLookup(CorrectionLookup find) { lookup = std::move(find); }
    [[nodiscard]] std::optional<KnownCorrection> known(const QString& phrase) const;
    [[nodiscard]] VocabularyCorrectionEditor& editor() const { return *form; }
    [[nodiscard]] Popover* popover() const { return panel; }

signals:
    /// A new correction; one of the list changed; one goes.
    void correctionSaved(const QString& heardText, const QString& correctText);
    void correctionChanged(const QString& id, const QString& heardText, const QString& correctText);
    void correctionDeleted(const QString& id);
    /// The user chose another size.
    void zoomChanged(double factor);

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void addKeys();
    void addKey(const QList<QKeySequence>& keys, const QString& name, const std::function<void()>& act);
    void seek(const QString& text);
    void show(int match);
    void searchLines(const TranscriptLines::Change& change);
    void endSearch();
    void editPhrase(const QString& phrase, const TextRange& place);
    void saveCorrection(const QString& heardText, const QString& correctText);
    void closeEditor();
    void followPhrase();
    [[nodiscard]] QRect phrasePlace() const;

    const Theme& theme;
    TranscriptLines& lines;
    std::unique_ptr<TranscriptSearch> search;
    FindBar* bar;
    TranscriptView* shown;
    VocabularyCorrectionEditor* form;
    QPointer<Popover> panel;
    CorrectionLookup lookup;
    QString editedId; // of a correction that exists
    double factor = 1;
    int match = -1;
};

} // namespace tavrin

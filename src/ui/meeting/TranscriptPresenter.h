#pragma once

#include "platform/Preferences.h"
#include "server/VocabularyList.h"
#include "ui/meeting/TranscriptPane.h"
#include "ui/meeting/TranscriptWindow.h"

#include <QObject>
#include <string>

namespace tavrin {

/// Joins the transcript, on the page and in its window, to the user's corrections, and remembers over launches how
/// large its type is and where the window stands.
/// Thread: main. Dependencies, pane and window outlive it.
class TranscriptPresenter final : public QObject {
    Q_OBJECT

public:
    struct Dependencies {
        VocabularyList& vocabulary;
        Preferences& preferences;
        /// What the editor's empty fields show.
        std::string exampleHeard;
        std::string exampleCorrect;
    };

    /// The window's pane tells and asks all of this through the page's.
    TranscriptPresenter(Dependencies dependencies, TranscriptPane& pane, TranscriptWindow& window);
    ~TranscriptPresenter() override;

private:
    void joinCorrections();
    void restoreLooks();
    void keepPlace();
    [[nodiscard]] std::optional<KnownCorrection> known(const QString& phrase) const;

    Dependencies use;
    TranscriptPane& pane;
    TranscriptWindow& window;
};

} // namespace tavrin

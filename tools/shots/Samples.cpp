#include "Samples.h"

#include <initializer_list>
#include <utility>

namespace tavrin::shots {

namespace {

constexpr double morning = 1'773'309'700; // 12 March 2026, 10:01:40 UTC

std::vector<TranscriptSegment> linesOf(std::initializer_list<std::pair<const char*, const char*>> said) {
    std::vector<TranscriptSegment> lines;
    double second = 1200;
    for (const auto& [speaker, text] : said) {
        TranscriptSegment line;
        line.speakerLabel = speaker;
        line.text = text;
        line.date = Date::fromUnix(morning + second);
        line.id = lines.size() + 1;
        if (line.speakerLabel != meLabel) line.themSpeakerIndex = 0;
        lines.push_back(line);
        second += 11 + double(line.text.size()) / 9;
    }
    return lines;
}

MeetingState of(MeetingPhase phase, const char* statusText) {
    MeetingState state;
    state.phase = phase;
    state.statusText = statusText;
    state.title = "Autumn range, second round";
    state.dateLine = "Thursday 12 March 2026 · started 10:02";
    state.elapsedSeconds = 1457;
    state.microphoneName = "Built-in microphone";
    state.speakerName = "Desk speakers";
    return state;
}

} // namespace

std::vector<TranscriptSegment> conversation() {
    return linesOf({
        {"Them", "Shall we start with the shelves, or with the prices?"},
        {"Me", "Shelves first. The carpenter needs an answer this week, and the prices can wait until Tuesday."},
        {"Them", "Then my proposal stands as it was: two metres of oak at the window, everything else in the painted "
                 "board that we have in stock."},
        {"Them", "That keeps us under nine thousand for all four shops."},
        {"Me", "I like it. Who tells the landlord about the window in the old town?"},
        {"Them", "I can do that tomorrow. He wants a drawing with measures, not a photograph."},
        {"Me", "Fine, I will send you the drawing tonight. Please ask him about the sign as well."},
        {"Anke Brandt", "And mind the fire door behind it. Nothing may stand within a metre of that."},
        {"Me", "Right, I had forgotten about that. I will move the small table."},
        {"Them", "Good. Then the last thing on my list is the opening day."},
    });
}

std::vector<TranscriptSegment> germanConversation() {
    return linesOf({
        {"Them", "Die Lebensmittelkennzeichnungsverordnung verlangt das Mindesthaltbarkeitsdatum auf der Vorderseite."},
        {"Me",
         "Dann müssen wir die Verpackungsgestaltung noch einmal überarbeiten, bevor die Druckfreigabe erteilt wird."},
        {"Geschäftsführung Süddeutschland, Frau Dr. Hohenberger-Lindqvist",
         "Einverstanden. Die Qualitätssicherungsbeauftragte bekommt den Entwurf bis Donnerstag."},
    });
}

std::vector<TranscriptSegment> springReview() {
    return linesOf({
        {"Anke Brandt", "Morning. I have twenty minutes before the next one, so let us take the dates first."},
        {"Anke Brandt", "I spoke to the board on Tuesday, and Holden wants to keep the spring date if the labels are "
                        "ready in time."},
        {"Me", "Fine with me. Dates, texts, prices, in that order?"},
        {"Anke Brandt", "The date first, then. We have a slot at the printer until the sixth, and he wants to hear by "
                        "Monday."},
        {"Me", "That is good news. Then I would go through the labels today."},
        {"Tomás Ruiz", "The pallets are booked from the sixth. I need the counts for each branch by the end of the "
                       "month."},
        {"Anke Brandt", "You have them on Friday. The two big branches first."},
        {"Me", "Thank you. That was the part I could not find anywhere."},
        {"Tomás Ruiz", "Four hundred is no problem. If it becomes five, I need to know a week before, because then it "
                       "is a second lorry."},
        {"Anke Brandt", "It stays at four hundred. I will send you both the list, so that nobody has to ask again."},
    });
}

MeetingState idle() {
    MeetingState state = of(MeetingPhase::idle, "Idle");
    state.title.clear();
    state.dateLine = "Thursday 12 March 2026";
    state.elapsedSeconds = 0;
    return state;
}

MeetingState loading() {
    MeetingState state = of(MeetingPhase::loading, "Recording (preparing model)…");
    state.elapsedSeconds = 6;
    state.interimLine = "Recording now — loading speech model… (6s)";
    state.statusMessage = "Recording — loading speech model… (6s)";
    return state;
}

MeetingState recording() {
    MeetingState state = of(MeetingPhase::recording, "Recording");
    state.interimLine = "Transcribing…";
    state.backlogSeconds = 131;
    return state;
}

MeetingState paused() {
    return of(MeetingPhase::paused, "Paused");
}

MeetingState processing() {
    MeetingState state = of(MeetingPhase::processing, "Finishing transcription…");
    state.interimLine = "Finishing transcript…";
    state.statusMessage = "Finishing transcript…";
    return state;
}

MeetingState microphoneOnly() {
    MeetingState state = of(MeetingPhase::recording, "Recording");
    state.notice = "Recording your microphone only — the other participant isn’t being captured. Allow “Tavrin "
                   "Assistant” under System Settings → Privacy & Security → Screen & System Audio Recording, then quit "
                   "and reopen the app.";
    return state;
}

MeetingState failed() {
    MeetingState state = of(MeetingPhase::error, "Error: Tavrin API token not set.");
    state.errorText = "Tavrin API token not set. Open Settings (⌘,) to add your token.";
    state.title.clear();
    state.dateLine.clear();
    state.elapsedSeconds = 0;
    return state;
}

MeetingState restored() {
    MeetingState state = of(MeetingPhase::idle, "Idle");
    state.restored = true;
    return state;
}

MeetingState german() {
    MeetingState state = of(MeetingPhase::recording, "Aufzeichnung läuft");
    state.title = "Frühjahrssortimentsbesprechung mit den Niederlassungsleiterinnen und der Geschäftsführung";
    state.dateLine = "Donnerstag, 12. März 2026 · Aufzeichnung begonnen um 10:02 Uhr";
    state.interimLine = "Das Gesprochene wird gerade in Text umgewandelt, einen Augenblick bitte …";
    state.notice = "Das Mikrofon ist während der Aufzeichnung ungewöhnlich leise. Bitte überprüfen Sie in den "
                   "Klangeinstellungen das Eingabegerät und die Stummschaltung.";
    state.backlogSeconds = 700;
    state.elapsedSeconds = 5057;
    return state;
}

MeetingState finished() {
    MeetingState state = of(MeetingPhase::idle, "Idle");
    state.title = "Spring launch review";
    state.dateLine = "Thursday 12 March 2026 · 10:02 – 10:40";
    state.elapsedSeconds = 2272;
    return state;
}

} // namespace tavrin::shots

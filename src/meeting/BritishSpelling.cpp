#include "meeting/BritishSpelling.h"

#include "support/text/Regex.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <map>

namespace tavrin {

namespace {

struct Spelling {
    std::string_view american;
    std::string_view british;
};

constexpr Spelling spellings[] = {
    {"color", "colour"},
    {"colors", "colours"},
    {"colored", "coloured"},
    {"coloring", "colouring"},
    {"favor", "favour"},
    {"favors", "favours"},
    {"favorite", "favourite"},
    {"favorites", "favourites"},
    {"honor", "honour"},
    {"honors", "honours"},
    {"honored", "honoured"},
    {"behavior", "behaviour"},
    {"behaviors", "behaviours"},
    {"neighbor", "neighbour"},
    {"neighbors", "neighbours"},
    {"organize", "organise"},
    {"organizes", "organises"},
    {"organized", "organised"},
    {"organizing", "organising"},
    {"organization", "organisation"},
    {"organizations", "organisations"},
    {"realize", "realise"},
    {"realizes", "realises"},
    {"realized", "realised"},
    {"realizing", "realising"},
    {"recognize", "recognise"},
    {"recognizes", "recognises"},
    {"recognized", "recognised"},
    {"recognizing", "recognising"},
    {"analyze", "analyse"},
    {"analyzes", "analyses"},
    {"analyzed", "analysed"},
    {"analyzing", "analysing"},
    {"specialize", "specialise"},
    {"specialized", "specialised"},
    {"specializing", "specialising"},
    {"center", "centre"},
    {"centers", "centres"},
    {"meter", "metre"},
    {"meters", "metres"},
    {"liter", "litre"},
    {"liters", "litres"},
    {"theater", "theatre"},
    {"theaters", "theatres"},
    {"defense", "defence"},
    {"offense", "offence"},
    {"traveling", "travelling"},
    {"traveled", "travelled"},
    {"canceled", "cancelled"},
    {"canceling", "cancelling"},
    {"modeling", "modelling"},
    {"modeled", "modelled"},
    {"labeled", "labelled"},
    {"labeling", "labelling"},
    {"aging", "ageing"},
    {"analog", "analogue"},
    {"catalog", "catalogue"},
    {"gray", "grey"},
    {"mold", "mould"},
    {"mom", "mum"},
    {"airplane", "aeroplane"},
    {"aluminum", "aluminium"},
    {"math", "maths"},
};

/// No British word is itself an American one of the list, so one expression does what one per word would do in turn.
Regex anyAmericanWord() {
    std::string pattern = R"(\b(?:)";
    for (char initial = 'a'; initial <= 'z'; ++initial) {
        std::string rests;
        for (const Spelling& spelling : spellings) {
            if (!spelling.american.starts_with(initial)) continue;
            if (!rests.empty()) rests += '|';
            rests += spelling.american.substr(1);
        }
        if (rests.empty()) continue;
        if (!pattern.ends_with(':')) pattern += '|';
        pattern += std::string(1, initial) + "(?:" + rests + ")";
    }
    return Regex(pattern + R"()\b)", Regex::Case::insensitive);
}

std::string_view britishWord(std::string_view american) {
    const std::string folded = caseFolded(american);
    const auto* found = std::ranges::find(spellings, folded, &Spelling::american);
    return found == std::end(spellings) ? american : found->british;
}

std::string inCaseOf(std::string_view original, std::string_view british) {
    if (original == uppercased(original)) return uppercased(british);
    if (!isUppercase(codePoints(original).front())) return std::string(british);
    return uppercased(british.substr(0, 1)) + std::string(british.substr(1));
}

} // namespace

std::string britishSpelling(std::string_view text) {
    static const Regex americanWord = anyAmericanWord();
    return americanWord.replaced(
        text, [](const RegexMatch& word) { return inCaseOf(word.text(), britishWord(word.text())); });
}

std::string applySpellingPreference(std::string_view text, TranscriptionSpeechLanguage language,
                                    EnglishSpellingPreference spelling) {
    using enum TranscriptionSpeechLanguage;
    const bool mayBeEnglish = language == automatic || language == english;
    if (!mayBeEnglish || spelling != EnglishSpellingPreference::british) return std::string(text);
    return britishSpelling(text);
}

} // namespace tavrin

#include "dictation/text/LooseWords.h"

#include "dictation/text/MergeOverlap.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <unordered_map>

namespace tavrin {

namespace {

/// `shorter` and `longer` composed, `shorter` the one with fewer bytes.
bool isCutOf(std::string_view shorter, std::string_view longer) {
    if (shorter.empty() || !longer.starts_with(shorter) || !isCharacterBoundary(longer, shorter.size())) return false;
    return characterCount(longer.substr(shorter.size())) <= LooseWords::mostCharactersMore;
}

} // namespace

bool looseWordMatch(std::string_view a, std::string_view b) {
    const std::string left = composed(a), right = composed(b);
    if (left == right) return true;
    return left.size() < right.size() ? isCutOf(left, right) : isCutOf(right, left);
}

LooseWords::LooseWords(std::span<const std::string_view> words) {
    number(words);
    link();
}

void LooseWords::number(std::span<const std::string_view> words) {
    std::unordered_map<std::string_view, Id> idOfWord; // as spoken, which saves finding the form again
    std::unordered_map<std::string, Id> idOfForm{{"", emptyForm}};
    forms.emplace_back();
    positions.emplace_back();
    wordIds.reserve(words.size());
    for (const std::string_view word : words) {
        const auto [known, isNew] = idOfWord.try_emplace(word, emptyForm);
        if (isNew) {
            std::string form = composed(normalizedWord(word));
            known->second = idOfForm.try_emplace(form, static_cast<Id>(forms.size())).first->second;
            if (known->second == forms.size()) {
                forms.push_back(std::move(form));
                positions.emplace_back();
            }
        }
        positions[known->second].push_back(wordIds.size());
        wordIds.push_back(known->second);
    }
}

void LooseWords::link() {
    std::unordered_map<std::string_view, Id> idOfForm;
    for (Id id = 0; id < forms.size(); ++id)
        idOfForm.emplace(forms[id], id);
    stems.assign(forms.size(), {none, none, none});
    matches.resize(forms.size());
    for (Id id = 0; id < forms.size(); ++id) {
        matches[id].push_back(id);
        std::string_view stem = forms[id];
        for (std::size_t cut = 0; cut < mostCharactersMore; ++cut) {
            stem.remove_suffix(lastCharacters(stem, 1).size());
            if (stem.empty()) break;
            const auto found = idOfForm.find(stem);
            if (found == idOfForm.end()) continue;
            stems[id][cut] = found->second;
            matches[id].push_back(found->second);
            matches[found->second].push_back(id);
        }
    }
    const auto firstPosition = [&](Id id) { return positions[id].empty() ? wordIds.size() : positions[id].front(); };
    for (const auto& list : matches)
        firstMatches.push_back(firstPosition(*std::ranges::min_element(list, {}, firstPosition)));
}

} // namespace tavrin

#include "meeting/BritishSpelling.h"

#include <gtest/gtest.h>

#include <utility>

namespace tavrin {
namespace {

TEST(BritishSpelling, whole_words_change_in_the_case_that_was_heard_and_no_more_the_second_time) {
    const std::pair<const char*, const char*> cases[] = {
        {"color Color COLOR cOLOR CoLoR", "colour Colour COLOUR colour Colour"},
        {"Mom's math, gray-ish.", "Mum's maths, grey-ish."},
        {"colorful decolor color_s colors2 meters", "colorful decolor color_s colors2 metres"},
        {"organize organizes organized organizing organization organizations organizer",
         "organise organises organised organising organisation organisations organizer"},
        {"honored honors, honor; honorable", "honoured honours, honour; honorable"},
        {"labeled analog airplanes, an airplane, MOLD.", "labelled analogue airplanes, an aeroplane, MOULD."},
        {"\xff Theater\xff «aging»", "\xff Theatre\xff «ageing»"},
        {"écolor color\u0301 d’aluminum", "écolor color\u0301 d’aluminium"},
        {"o\ufb00ense \u017fpecialize", "offence specialise"}, // letters that fold to a listed word
        {"", ""}};
    for (const auto& [heard, written] : cases) {
        EXPECT_EQ(britishSpelling(heard), written);
        EXPECT_EQ(britishSpelling(written), written);
    }
}

} // namespace
} // namespace tavrin

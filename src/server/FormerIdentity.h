#pragma once

#include <string_view>

namespace tavrin {

class Folder;
class Preferences;

/// The name of the product's former program: of its folder for preferences.
inline constexpr std::string_view formerApplicationIdentifier = "so.nimbrel.LorvexAssistant";

/// Takes over what the product's former program kept: its preferences, copied where there is no value of our own, and
/// its folders, moved where there is none of our own. Once in the life of the preferences, whatever came of it: what
/// could not be moved stays where it is, and the log says so.
///
/// A former preference is looked for under its former name in our own preferences, then in the file
/// "preferences.json" of `formerConfiguration`, which is never changed. A damaged file is passed over.
/// `applicationSupport`: the folder of both programs' folders.
/// Call it at start, before anything reads preferences or makes folders. Thread: any; it reads a file and renames.
void migrateFromFormerIdentityIfNeeded(Preferences& preferences, const Folder& formerConfiguration,
                                       Folder& applicationSupport);

} // namespace tavrin

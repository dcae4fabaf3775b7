#pragma once

#include <QString>
#include <string_view>

namespace tavrin {

/// How a message reads on this desktop. Messages are worded for all platforms alike; this turns the other platform's
/// words (keys, names of its settings, "this Mac") into ours and changes nothing else.
///
/// Takes UTF-8. `dictationKey` names the key that starts a dictation, as the user chose it.
QString platformWords(std::string_view message, const QString& dictationKey = QStringLiteral("Right Alt"));

} // namespace tavrin

// Which characters an XML 1.0 document can carry. Titles and names come from another
// application and may hold control characters or lone surrogates; written as they are, they
// make a file that XML readers refuse as a whole.
#pragma once

#include <QString>
#include <QStringView>

namespace OVXmlCharacters {

// True when XML 1.0 allows every character of `text`: tab, line feed, carriage return,
// U+0020 to U+D7FF, U+E000 to U+FFFD, and the characters above U+FFFF as surrogate pairs.
bool canCarry(QStringView text);

// `text` without the characters XML 1.0 cannot carry; `text` itself when it has none.
QString carriable(const QString &text);

} // namespace OVXmlCharacters

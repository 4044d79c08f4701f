// Small text transformations, case-insensitive comparisons and user-facing phrases.
// Lengths count UTF-16 code units; replacements are literal, code unit by code unit.
#pragma once

#include <QString>

namespace OVExtensions {

// Line feeds, carriage returns (and tabs) each become one blank, then blanks and tabs are
// trimmed from both ends. A CR LF pair thus gives two blanks.
QString stringByRemovingNewlinesAndTabs(const QString &string);
QString stringByRemovingNewlines(const QString &string);

QString stringByEscapingBackslashes(const QString &string);
// "'" becomes "\'" and '"' becomes '\"'; back-slashes already there are left alone.
QString stringByEscapingQuotes(const QString &string);
// Trims white space and line breaks, despite the name.
QString stringByTrimmingWhitespace(const QString &string);
// CR LF, LF CR and a lone CR each become one LF.
QString stringByStandardizingNewlines(const QString &string);
// The UTF-8 bytes with everything that may not stand in a URL percent-encoded ("%" kept).
QString percentEncodedURLString(const QString &string);

bool isCaseInsensitiveEqualToString(const QString &string, const QString &other);
// True for an empty prefix or suffix; false when it is longer than the string.
bool startsWith(const QString &string, const QString &prefix);
bool endsWith(const QString &string, const QString &suffix);
// False for an empty argument, unlike startsWith and endsWith.
bool containsString(const QString &string, const QString &other);

// "1 file", "0 files", "2 files".
QString stringWithQuantity(qint64 quantity, const QString &singularDescription, const QString &pluralDescription);
// The largest non-zero unit only: "2 days remaining", "1 hour remaining", "60 seconds
// remaining". Seconds round up, larger units down; a negative interval gives "-1 days remaining".
QString stringForTimeInterval(double seconds);

} // namespace OVExtensions

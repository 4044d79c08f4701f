// The application's one string table. Every user-visible text is looked up with its English
// text as the key; a missing translation gives the key back.
#pragma once

#include <QString>

// The one translation context of the whole application.
inline constexpr const char *OVStringTableContext = "KastrelImporter";

QString OVLocalizedString(const char *englishText);

// What the property-list reader and the two writers share: the date epoch, the error they
// report through, and the C numeric locale that reals are read and printed in. Not for use
// outside OVPlistSerialization and its parts.
#pragma once

#include "foundation/OVError.h"
#include "foundation/OVLocalization.h"
#include "foundation/OVPlistSerialization.h"

#include <QtGlobal>
#include <clocale>
#include <locale.h>

namespace OVPlistInternal {

// Seconds between the Unix epoch and the property-list epoch 2001-01-01T00:00:00Z.
constexpr qint64 referenceDateOffsetSeconds = 978307200;

inline bool fail(OVError *error, int code, const char *text)
{
    OVSetError(error, OVPlistSerialization::errorDomain(), code, OVLocalizedText(text));
    return false;
}

// libplist reads reals with strtod/atof, which follow LC_NUMERIC; a German locale would read
// "2.5" as 2. Switch this thread to the C locale for the length of a parse.
class CNumericLocale
{
public:
    CNumericLocale()
        : m_locale(newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr)))
    {
        if (m_locale)
            m_previous = uselocale(m_locale);
    }
    ~CNumericLocale()
    {
        if (m_locale) {
            uselocale(m_previous);
            freelocale(m_locale);
        }
    }
    CNumericLocale(const CNumericLocale &) = delete;
    CNumericLocale &operator=(const CNumericLocale &) = delete;

private:
    locale_t m_locale = static_cast<locale_t>(nullptr);
    locale_t m_previous = static_cast<locale_t>(nullptr);
};

} // namespace OVPlistInternal

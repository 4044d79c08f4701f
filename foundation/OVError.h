// The error value that fallible calls hand out through an optional trailing pointer:
// a domain, a code and the localised description, nothing else.
#pragma once

#include <QString>

struct OVError
{
    QString domain;
    qint64 code = 0;
    QString localizedDescription;

    bool operator==(const OVError &other) const
    {
        return domain == other.domain && code == other.code && localizedDescription == other.localizedDescription;
    }
};

// Fills *error when the caller asked for one; a null pointer means the caller does not care.
inline void OVSetError(OVError *error, const QString &domain, qint64 code, const QString &description)
{
    if (error)
        *error = OVError {domain, code, description};
}

// The error value that fallible calls hand out through an optional trailing pointer:
// a domain, a code and the description, localised for the person and in English for the log.
#pragma once

#include "foundation/OVLocalization.h"

#include <QString>

struct OVError
{
    QString domain;
    qint64 code = 0;
    QString localizedDescription;
    // The description in English; empty when it is the localised one (a message of the system).
    QString englishDescription = {};

    // The description as the log and other programs read it.
    QString descriptionInEnglish() const
    {
        return englishDescription.isEmpty() ? localizedDescription : englishDescription;
    }
    OVText description() const { return OVText {descriptionInEnglish(), localizedDescription}; }

    // The whole description, as the platform's error prints itself wherever a log line embeds
    // it, in English: Error Domain=D Code=N "TEXT" UserInfo={NSLocalizedDescription=TEXT}.
    // The description is the only entry of the user info.
    QString wholeDescriptionInEnglish() const
    {
        const QString text = descriptionInEnglish();
        return QStringLiteral("Error Domain=%1 Code=%2 \"%3\" UserInfo={NSLocalizedDescription=%4}")
            .arg(domain, QString::number(code), text, text);
    }

    bool operator==(const OVError &other) const
    {
        return domain == other.domain && code == other.code && localizedDescription == other.localizedDescription
            && descriptionInEnglish() == other.descriptionInEnglish();
    }
};

inline OVError OVMakeError(const QString &domain, qint64 code, const OVText &description)
{
    return OVError {domain, code, description.localized, description.english};
}

// Fills *error when the caller asked for one; a null pointer means the caller does not care.
inline void OVSetError(OVError *error, const QString &domain, qint64 code, const OVText &description)
{
    if (error)
        *error = OVMakeError(domain, code, description);
}

// The same for a description that is not translated (a message of the system, a test's text).
inline void OVSetError(OVError *error, const QString &domain, qint64 code, const QString &description)
{
    OVSetError(error, domain, code, OVText::untranslated(description));
}

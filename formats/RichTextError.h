// The error channel every rich-text reader and writer shares: the last call's failure, kept as
// the error the platform's callers received and as the text errorString() gives.
#pragma once

#include "formats/RichTextAttributes.h"
#include "foundation/OVError.h"

#include <QString>

class RichTextError
{
public:
    bool hasError() const { return !m_error.domain.isEmpty() || !m_error.localizedDescription.isEmpty(); }
    QString errorString() const { return m_error.localizedDescription; }
    // The failure with its domain and code; empty after a call that succeeded.
    OVError error() const { return m_error; }

protected:
    void clearError() { m_error = OVError(); }
    // Records the failure and answers false, so that a failing path reads `return fail(...)`.
    bool fail(RichText::ErrorCode code, const QString &description)
    {
        RichText::setError(&m_error, code, description);
        return false;
    }
    bool failNoSuchFile(const QString &fileName)
    {
        RichText::setNoSuchFileError(&m_error, fileName);
        return false;
    }
    bool fail(const OVError &error)
    {
        m_error = error;
        return false;
    }

private:
    OVError m_error;
};

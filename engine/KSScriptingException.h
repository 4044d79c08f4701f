// The one exception the scripting layer raises: a read or command that the source or target
// application did not answer as promised (an error reply, a vanished name or object, a reply
// of the wrong type). The run's main loop catches it and reports its reason as the error text.
#pragma once

#include <QString>
#include <stdexcept>

class KSScriptingException : public std::runtime_error
{
public:
    explicit KSScriptingException(const QString &reason)
        : std::runtime_error(reason.toStdString())
    { }

    // The reason as the error text shows it.
    QString reason() const { return QString::fromStdString(what()); }
};

// The one exception the scripting layer raises: a read or command that the source or target
// application did not answer as promised (an error reply, a vanished name or object, a reply
// of the wrong type). The run's main loop catches it and reports it as an error.
#pragma once

#include <QString>
#include <stdexcept>

class KSScriptingException : public std::runtime_error
{
public:
    // What became of the application, as far as the failed call tells.
    enum class Failure {
        Other, // it answered, but not as promised
        NoAnswer, // it is there but did not answer in time
        Quit, // it left the bus
    };

    explicit KSScriptingException(const QString &reason, Failure failure = Failure::Other,
                                  const QString &application = QString(), const QString &answeredBy = QString())
        : std::runtime_error(reason.toStdString())
        , m_failure(failure)
        , m_application(application)
        , m_answeredBy(answeredBy)
    { }

    // The reason as the log shows it, with the bus's own words.
    QString reason() const { return QString::fromStdString(what()); }
    Failure failure() const { return m_failure; }
    // The bus name of the application the call went to; empty when not known.
    QString application() const { return m_application; }
    // The bus connection (its unique name) that refused the call with an error; empty when the
    // call had no such answer.
    QString answeredBy() const { return m_answeredBy; }

private:
    Failure m_failure;
    QString m_application;
    QString m_answeredBy;
};

// Putting a stand-in's object on the session bus under its well-known name, and ending the
// stand-in when that bus goes away (a private test bus ends with its test; nobody would
// ever talk to the stand-in again).
#pragma once

#include <QObject>
#include <QString>

namespace Standin {

namespace StandinBus {

// Registers `object` on path "/" with all its slots and then claims `identifier`, so that
// a caller activated by the name always finds the object. Answers false with a message when
// there is no session bus or the name is taken.
[[nodiscard]] bool publish(QObject *object, const QString &identifier, QString *error = nullptr);

// Asks a running session bus, if there is one, to read its service files again, so that a
// service file just written is listed as activatable at once. A daemon that started before
// its services folder existed does not notice the folder by itself.
void reloadServiceFiles();

// Quits the application once the session bus connection is lost.
void quitWhenBusCloses(QObject *context);

// Publishes `object` under `identifier`, prints "ready <identifier>" (whoever started the
// stand-in by hand may wait for that line instead of polling the bus) and runs the event
// loop until the application quits. Answers the exit code.
int serve(QObject *object, const QString &identifier);

// Prints "<application name>: <text>" on standard error and answers exit code 2.
int fail(const QString &text);

} // namespace StandinBus

} // namespace Standin

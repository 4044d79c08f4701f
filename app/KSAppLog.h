// The logging category of the windows' messages: the desktop's notification and task bar,
// the notes, the confirmed options (QT_LOGGING_RULES="kastrel.app.debug=true").
#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcApp)

// The logging category of the export engine's messages that do not belong in the run's log
// (turn them on or off with QT_LOGGING_RULES="kastrel.engine.warning=false").
#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcEngine)

// The logging category of the document formats' messages (QT_LOGGING_RULES="kastrel.formats.*").
#pragma once

#include <QLoggingCategory>

Q_DECLARE_LOGGING_CATEGORY(lcFormats)

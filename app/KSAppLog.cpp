#include "app/KSAppLog.h"

Q_LOGGING_CATEGORY(lcApp, "kastrel.app")

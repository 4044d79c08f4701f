#include "engine/KSEngineLog.h"

Q_LOGGING_CATEGORY(lcEngine, "kastrel.engine")

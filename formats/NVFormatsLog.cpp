#include "formats/NVFormatsLog.h"

Q_LOGGING_CATEGORY(lcFormats, "kastrel.formats")

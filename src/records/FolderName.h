#pragma once

#include <QString>

#include "records/Result.h"

// Whether name (blank-trimmed) may be used as a location's folder below bestanden. Refused, with a
// Dutch message: path separators, "." and "..", characters that Windows or Linux do not allow in a
// file name (<>:"|?* and control characters), and the Windows device names (CON, NUL, COM1, ...).
// An empty name is allowed: the records then lie in bestanden itself.
Status checkFolderName(const QString& name);

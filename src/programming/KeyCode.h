#pragma once

#include <QString>

// The 10 characters a key-holder record stores for a key: the key code string (ROM bytes 7 down to 2)
// cut to its last 10 digits, then its pairs in reverse order, i.e. ROM bytes 2 to 6, least
// significant first. A string shorter than 10 digits gives what its pairs give.
QString storedKeyCode(const QString& keyCodeString);

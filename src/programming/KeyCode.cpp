#include "programming/KeyCode.h"

QString storedKeyCode(const QString& keyCodeString) {
    const QString last = keyCodeString.right(10);
    QString stored;
    for (qsizetype end = last.size(); end > 0; end -= 2) {
        stored += last.mid(qMax<qsizetype>(0, end - 2), end >= 2 ? 2 : end);
    }
    return stored;
}

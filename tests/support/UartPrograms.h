#pragma once

#include <QString>
#include <QStringList>

#include <initializer_list>
#include <utility>

// The register writes a link logs ("out PORT VALUE") when it programs the UART at base for a rate:
// the slow one for resets (divisor 11, after discarding what was waiting), the fast one for slots.
inline QStringList uartOuts(int base, std::initializer_list<std::pair<int, int>> offsetAndValue) {
    QStringList events;
    for (auto [offset, value] : offsetAndValue) {
        events << QStringLiteral("out %1 %2").arg(base + offset).arg(value);
    }
    return events;
}

inline QStringList slowUartProgram(int base, int discarded = 0) {
    return QStringList{QStringLiteral("discard %1").arg(discarded)} +
           uartOuts(base, {{1, 0}, {3, 131}, {1, 0}, {0, 11}, {3, 3}, {1, 13}});
}

inline QStringList fastUartProgram(int base) {
    return uartOuts(base, {{1, 0}, {3, 131}, {0, 1}, {3, 3}, {1, 13}});
}

#pragma once

#include <QString>
#include <QStringList>

// Device names by 1-Wire family code, as the probe window shows them.
class FamilyNames {
public:
    // Families 1..128, at index family - 1.
    static const QStringList& lowList();
    // Families 129..241, at index family - 129.
    static const QStringList& highList();
    // The name from the lists; a family without a name, or outside both lists (0, above 241), shows
    // as its decimal number.
    static QString name(int family);
};

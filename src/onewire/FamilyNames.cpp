#include "onewire/FamilyNames.h"

#include <utility>

namespace {

constexpr int kLowFirst = 1;
constexpr int kLowCount = 128;
constexpr int kHighFirst = 129;
constexpr int kHighCount = 113;

// "DS1963S" at 34 and "DS1991" at 130 are where users have always seen them; kept on purpose.
const std::pair<int, const char*> kNamed[] = {
    {1, "DS1990A"}, {4, "DS1994(klok)"}, {6, "DS1993(prog)"}, {8, "DS1992"},    {9, "DS1982"},       {10, "DS1995"},
    {11, "DS1985"}, {12, "DS1986"},      {20, "DS1971"},      {26, "DS1963"},   {33, "Thermochron"}, {34, "DS1963S"},
    {35, "DS1973"}, {130, "DS1991"},     {137, "DS1982 U"},   {179, "Lexmark"}, {237, "Prox kaart"},
};

QStringList buildList(int first, int count) {
    QStringList list;
    list.reserve(count);
    for (int family = first; family < first + count; ++family) {
        list << QString::number(family);
    }
    for (const auto& [family, name] : kNamed) {
        if (family >= first && family < first + count) {
            list[family - first] = QString::fromLatin1(name);
        }
    }
    return list;
}

}  // namespace

const QStringList& FamilyNames::lowList() {
    static const QStringList list = buildList(kLowFirst, kLowCount);
    return list;
}

const QStringList& FamilyNames::highList() {
    static const QStringList list = buildList(kHighFirst, kHighCount);
    return list;
}

QString FamilyNames::name(int family) {
    if (family >= kLowFirst && family < kLowFirst + kLowCount) {
        return lowList().at(family - kLowFirst);
    }
    if (family >= kHighFirst && family < kHighFirst + kHighCount) {
        return highList().at(family - kHighFirst);
    }
    return QString::number(family);
}

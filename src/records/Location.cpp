#include "records/Location.h"

namespace {

struct FieldPlace {
    int offset;
    int width;
    int gridColumn;
};

// File order; the grid puts the contact person sixth and the fax after the mobile number.
constexpr FieldPlace kFields[Location::kFieldCount] = {
    {12, 30, 1},  {42, 30, 5},  {72, 30, 2},  {102, 30, 3}, {132, 15, 4},
    {147, 15, 7}, {162, 15, 6}, {177, 50, 8}, {227, 12, 9},
};

}  // namespace

Location::Location() : FixedRecord(kSize, '\0') {}

Location Location::blank() {
    Location l;
    l.m_bytes.fill(' ');
    return l;
}

QString Location::text(Field f) const {
    return FixedRecord::text(kFields[f].offset, kFields[f].width);
}

void Location::setText(Field f, const QString& value) {
    FixedRecord::setText(kFields[f].offset, kFields[f].width, value);
}

int Location::gridColumn(Field f) {
    return kFields[f].gridColumn;
}

int Location::fieldForGridColumn(int column) {
    for (int f = 0; f < kFieldCount; ++f) {
        if (kFields[f].gridColumn == column) {
            return f;
        }
    }
    return -1;
}

QStringList Location::gridTexts() const {
    QStringList columns;
    for (int c = 1; c <= kFieldCount; ++c) {
        columns.append(text(static_cast<Field>(fieldForGridColumn(c))));
    }
    return columns;
}

void Location::setGridTexts(const QStringList& columns1to9) {
    for (int c = 1; c <= kFieldCount; ++c) {
        setText(static_cast<Field>(fieldForGridColumn(c)), columns1to9.value(c - 1));
    }
}

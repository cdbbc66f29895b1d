#include "records/Location.h"

namespace {

struct FieldPlace {
    int offset;
    int width;
};

constexpr FieldPlace kFields[Location::kFieldCount] = {
    {12, 30}, {42, 30}, {72, 30}, {102, 30}, {132, 15}, {147, 15}, {162, 15}, {177, 50}, {227, 12},
};

}  // namespace

Location::Location() : FixedRecord(kSize, '\0') {}

Location Location::blank() {
    Location l;
    l.m_bytes.fill(' ');
    return l;
}

int Location::width(Field f) {
    return kFields[f].width;
}

QString Location::text(Field f) const {
    return FixedRecord::text(kFields[f].offset, kFields[f].width);
}

void Location::setText(Field f, const QString& value) {
    FixedRecord::setText(kFields[f].offset, kFields[f].width, value);
}

void Location::setTexts(const Texts& texts) {
    for (int f = 0; f < kFieldCount; ++f) {
        setText(static_cast<Field>(f), texts[f]);
    }
}

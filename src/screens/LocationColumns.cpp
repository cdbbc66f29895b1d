#include "screens/LocationColumns.h"

namespace {

// Indexed by Location::Field.
constexpr int kGridColumns[Location::kFieldCount] = {1, 5, 2, 3, 4, 7, 6, 8, 9};

}  // namespace

namespace LocationColumns {

int gridColumn(Location::Field f) {
    return kGridColumns[f];
}

int fieldForGridColumn(int column) {
    for (int f = 0; f < Location::kFieldCount; ++f) {
        if (kGridColumns[f] == column) {
            return f;
        }
    }
    return -1;
}

QStringList gridTexts(const Location& location) {
    QStringList columns;
    for (int c = 1; c <= Location::kFieldCount; ++c) {
        columns.append(location.text(static_cast<Location::Field>(fieldForGridColumn(c))));
    }
    return columns;
}

Location::Texts fieldTexts(const QStringList& columns1to9) {
    Location::Texts texts;
    for (int f = 0; f < Location::kFieldCount; ++f) {
        texts[f] = columns1to9.value(kGridColumns[f] - 1);
    }
    return texts;
}

}  // namespace LocationColumns

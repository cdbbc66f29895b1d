#pragma once

#include <QStringList>

#include "records/Location.h"

// The location grid shows a location's nine texts in columns 1..9 in another order than the file holds
// them: the contact person sixth, the fax after the mobile number. Column 0 is the record number.
namespace LocationColumns {

// The grid column (1..9) that shows a field.
int gridColumn(Location::Field f);
// The field a grid column shows; -1 for a column that shows none.
int fieldForGridColumn(int column);

// The texts of grid columns 1..9.
QStringList gridTexts(const Location& location);
// The fields' texts from those of grid columns 1..9; missing columns give empty texts.
Location::Texts fieldTexts(const QStringList& columns1to9);

}  // namespace LocationColumns

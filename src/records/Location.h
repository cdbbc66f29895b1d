#pragma once

#include <QStringList>

#include "records/FixedRecord.h"

// One 986-byte record of locatie.bst. The nine texts lie in the file in another order than the
// location grid shows them; both orders are kept here.
class Location : public FixedRecord {
public:
    static constexpr int kSize = 986;

    // The nine texts in file order.
    enum Field { Naam, Contactpersoon, Adres, Plaats, Telefoon, Fax, Mobiel, Internet, Map };
    static constexpr int kFieldCount = 9;

    // All zero bytes: the record buffer before any read, and the record a new file starts with.
    Location();
    // What reading past the end gives: all 986 bytes blanks.
    static Location blank();

    // The field as stored, padding included.
    QString text(Field f) const;
    // Cut to the field's width, padded with blanks.
    void setText(Field f, const QString& value);

    // The grid column (1..9) that shows a field, and the field a grid column shows (-1 for none).
    static int gridColumn(Field f);
    static int fieldForGridColumn(int column);

    // The texts of grid columns 1..9, and setting them from such a list (missing entries empty).
    QStringList gridTexts() const;
    void setGridTexts(const QStringList& columns1to9);
};

#pragma once

#include <array>

#include "records/FixedRecord.h"

// One 986-byte record of locatie.bst: nine texts and three reserved fields that no operation sets.
class Location : public FixedRecord {
public:
    static constexpr int kSize = 986;

    // The nine texts in file order.
    enum Field { Naam, Contactpersoon, Adres, Plaats, Telefoon, Fax, Mobiel, Internet, Map };
    static constexpr int kFieldCount = 9;
    // The nine texts indexed by Field.
    using Texts = std::array<QString, kFieldCount>;

    // All zero bytes: the record buffer before any read, and the record a new file starts with.
    Location();
    // What reading past the end gives: all 986 bytes blanks.
    static Location blank();

    // How many characters the field holds.
    static int width(Field f);

    // The field as stored, padding included.
    QString text(Field f) const;
    // Cut to the field's width, padded with blanks.
    void setText(Field f, const QString& value);
    void setTexts(const Texts& texts);
};

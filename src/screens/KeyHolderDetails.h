#pragma once

#include <QString>

#include "records/KeyHolder.h"

// The text boxes and the "Geldig" box of the key-holder details window.
struct KeyHolderDetails {
    QString naam;
    QString adres;
    QString woonplaats;
    QString telefoon;
    QString mobiel;
    QString sleutelcode;
    bool geldig = false;

    // What the window shows of a holder: every text trimmed, the code as a key (ten zeros are none).
    static KeyHolderDetails from(const KeyHolder& holder);

    // "O.K.": the six texts replace the holder's, geldig becomes "1" when ticked and "0" otherwise;
    // every other byte, the reader maps included, stays. Handed to KeyHolderFile::update.
    void applyTo(KeyHolder& holder) const;

    // A number after a caption or message as the old general conversion wrote it: a blank before a
    // number that is not negative. "Volgnummer  " and 7 give three blanks before the 7, as users know it.
    static QString withNumber(const QString& caption, int number);
};

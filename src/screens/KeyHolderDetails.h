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

    // "O.K.": the six texts replace the holder's, geldig becomes "1" when ticked and "0" otherwise;
    // every other byte, the reader maps included, stays. Handed to KeyHolderFile::update.
    void applyTo(KeyHolder& holder) const;
};

#include "screens/KeyHolderDetails.h"

void KeyHolderDetails::applyTo(KeyHolder& holder) const {
    holder.setNaam(naam);
    holder.setAdres(adres);
    holder.setWoonplaats(woonplaats);
    holder.setTelefoon(telefoon);
    holder.setMobiel(mobiel);
    holder.setSleutelcode(sleutelcode);
    holder.setGeldig(geldig ? QStringLiteral("1") : QStringLiteral("0"));
}

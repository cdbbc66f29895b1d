#include "screens/KeyHolderDetails.h"

KeyHolderDetails KeyHolderDetails::from(const KeyHolder& holder) {
    KeyHolderDetails details;
    details.naam = holder.naam().trimmed();
    details.adres = holder.adres().trimmed();
    details.woonplaats = holder.woonplaats().trimmed();
    details.telefoon = holder.telefoon().trimmed();
    details.mobiel = holder.mobiel().trimmed();
    details.sleutelcode = holder.keyCode();
    details.geldig = holder.geldig() == QLatin1String("1");
    return details;
}

void KeyHolderDetails::applyTo(KeyHolder& holder) const {
    holder.setNaam(naam);
    holder.setAdres(adres);
    holder.setWoonplaats(woonplaats);
    holder.setTelefoon(telefoon);
    holder.setMobiel(mobiel);
    holder.setSleutelcode(sleutelcode);
    holder.setGeldig(geldig ? QStringLiteral("1") : QStringLiteral("0"));
}

QString KeyHolderDetails::withNumber(const QString& caption, int number) {
    return number >= 0 ? caption + QLatin1Char(' ') + QString::number(number) : caption + QString::number(number);
}

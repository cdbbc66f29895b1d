#include "screens/KeyHolderDetails.h"

namespace {
// A field never written (the first record of a new file) holds zero bytes: shown as nothing.
QString plain(QString text) {
    return text.replace(QChar(0), QChar(u' ')).trimmed();
}
}  // namespace

KeyHolderDetails KeyHolderDetails::from(const KeyHolder& holder) {
    KeyHolderDetails details;
    details.naam = plain(holder.naam());
    details.adres = plain(holder.adres());
    details.woonplaats = plain(holder.woonplaats());
    details.telefoon = plain(holder.telefoon());
    details.mobiel = plain(holder.mobiel());
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

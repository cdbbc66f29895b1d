#include "records/KeyHolder.h"

KeyHolder::KeyHolder() : FixedRecord(kSize, '\0') {}

KeyHolder KeyHolder::blank() {
    KeyHolder k;
    k.m_bytes.fill(' ');
    k.setToegang(QByteArray(kMapBytes, '\0'));
    k.setWijziging(QByteArray(kMapBytes, '\0'));
    return k;
}

QString KeyHolder::plainKeyCode(QString code) {
    code = code.replace(QChar(0), QChar(u' ')).trimmed();
    return code == QLatin1String("0000000000") ? QString() : code;
}

void KeyHolder::setMap(int offset, const QByteArray& map) {
    QByteArray value = map.left(kMapBytes);
    value.append(QByteArray(kMapBytes - value.size(), '\0'));
    m_bytes.replace(offset, kMapBytes, value);
}

Status BitFind(QByteArray& map, int n, int& mode) {
    if (n < 0 || n >= KeyHolder::kMaxReaders) {
        return Status::failure(
            QStringLiteral("Lezer %1 past niet in de toegangslijst: er is plaats voor lezers 1 tot en met %2.")
                .arg(n + 1)
                .arg(KeyHolder::kMaxReaders));
    }
    if (map.size() != KeyHolder::kMapBytes) {
        return Status::failure(QStringLiteral("Ongeldige toegangslijst (%1 bytes in plaats van %2).")
                                   .arg(map.size())
                                   .arg(KeyHolder::kMapBytes));
    }
    const char mask = static_cast<char>(1 << (n % 8));
    char& byte = map[n / 8];
    if (mode == 1) {
        byte = static_cast<char>(byte | mask);
    } else if (mode == 2) {
        byte = static_cast<char>(byte & ~mask);
    } else {
        mode = (byte & mask) ? 3 : 0;
    }
    return {};
}

QByteArray withoutReader(const QByteArray& map, int n) {
    if (n < 0 || n >= KeyHolder::kMaxReaders || map.size() != KeyHolder::kMapBytes) {
        return map;
    }
    auto bit = [&map](int i) { return (static_cast<quint8>(map[i / 8]) >> (i % 8)) & 1; };
    QByteArray shifted(KeyHolder::kMapBytes, '\0');
    for (int i = 0; i < KeyHolder::kMaxReaders - 1; ++i) {
        if (bit(i < n ? i : i + 1)) {
            shifted[i / 8] = static_cast<char>(shifted[i / 8] | (1 << (i % 8)));
        }
    }
    return shifted;
}

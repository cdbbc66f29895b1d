// Key codes from a key's ROM to the key-holder record and back, and the key texts typed on a command
// line ("ds1993:06A1B2C3D4E5F6"). Input: the way in, then eight ROM bytes or the text.
#include <QDir>

#include "fuzz/FuzzSupport.h"
#include "onewire/RomIdentification.h"
#include "probesim/VirtualIButton.h"
#include "programming/KeyCode.h"
#include "records/KeyHolderFile.h"

namespace {

// A key held to the probe: its code as the record stores it is ROM bytes 2 to 6, least significant
// first, and the holder saved with that code is the one found when the key comes back.
void fromRom(const QByteArray& rom, bool findHolder) {
    const QString code = RomIdentification::keyCodeString(rom);
    fuzz::expect(code.size() == 12, "the key code string is not 12 digits:", code);
    const QString stored = storedKeyCode(code);
    fuzz::expect(stored == QString::fromLatin1(rom.mid(1, 5).toHex().toUpper()),
                 "the stored code is not ROM 2..6:", stored);
    if (!findHolder) {
        return;
    }
    const QString folder = fuzz::emptyFolder();
    KeyHolderFile file(folder, fuzz::quickOps());
    fuzz::expectOk(file.create(), "an empty key-holder file could not be made");
    file.current().setGeldig(QStringLiteral("1"));
    file.current().setSleutelcode(stored);
    fuzz::expectOk(file.write(2), "a key holder could not be written");
    const Result<int> found = file.findByKeyCode(stored);
    // A key whose serial is all zeros reads as no key, and no key finds no holder.
    const int holder = KeyHolder::plainKeyCode(stored).isEmpty() ? 0 : 2;
    fuzz::expect(found.ok() && found.value == holder, "the holder of a key is not found by its code:", stored);
}

void fromText(const QString& text) {
    const QString stored = storedKeyCode(text);
    fuzz::expect(stored.size() == qMin<qsizetype>(text.size(), 10), "the stored code lost characters:", text);
    if (text.size() % 2 == 0) {
        fuzz::expect(storedKeyCode(stored) == text.right(10), "turning the pairs twice is not the code:", text);
    }

    QString error;
    const auto key = VirtualIButton::fromText(text, &error);
    fuzz::expect(key || !error.isEmpty(), "a refused key text gave no message");
    if (key) {
        const QString again =
            VirtualIButton::kindName(key->kind()) + QLatin1Char(':') + VirtualIButton::romToHex(key->rom());
        const auto same = VirtualIButton::fromText(again, &error);
        fuzz::expect(same && same->kind() == key->kind() && same->rom() == key->rom(),
                     "a key text does not survive being written out:", again);
    }
    VirtualIButton::Rom rom;
    if (VirtualIButton::romFromHex(text, &rom)) {
        VirtualIButton::Rom back;
        fuzz::expect(VirtualIButton::romFromHex(VirtualIButton::romToHex(rom), &back) && back == rom,
                     "a ROM code does not survive being written out:", text);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    const int way = in.number(0, 2);
    if (way < 2) {
        fromRom(in.take(RomIdentification::kRomBytes).leftJustified(RomIdentification::kRomBytes, '\0'), way == 1);
    } else {
        fromText(QString::fromUtf8(in.rest()));
    }
    return 0;
}

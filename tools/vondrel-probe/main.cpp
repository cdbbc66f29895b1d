// vondrel-probe: the probe work of the program without its windows: read a key's ROM, write a programming
// image into a DS1993 or DS1994 and check it, dump a key's memory, build a reader's image.

#include "onewire/Clock.h"
#include "onewire/DowIo.h"
#include "onewire/MemoryKey.h"
#include "onewire/ProbeStack.h"
#include "onewire/SerialLine.h"
#include "probesim/SimulatedProbe.h"
#include "probesim/VirtualIButton.h"
#include "programming/ImageBuilder.h"
#include "programming/KeyCode.h"
#include "programming/KeyPoller.h"
#include "programming/KeyWriter.h"
#include "programming/ProgrammingImage.h"
#include "records/DataFolder.h"

#include <QCoreApplication>
#include <QLocale>
#include <QStringList>

#include <csignal>
#include <cstdio>
#include <memory>

namespace {

// Exit codes.
constexpr int kExitOk = 0;
constexpr int kExitNoKey = 1;
constexpr int kExitUsage = 2;
constexpr int kExitPort = 3;
constexpr int kExitWrongFamily = 4;
constexpr int kExitWriteFailed = 5;

constexpr double kDefaultTimeoutS = 10.0;
// A day; beyond it the wait in milliseconds would no longer fit.
constexpr int kMaxTimeoutS = 86400;

const char kDefaultRomKey[] = "ds1990a:01A1B2C3D4E5F6";
const char kDefaultMemoryKey[] = "ds1993:0610203040506A";

const char kHelp[] =
    "Gebruik: vondrel-probe (--device PAD | --simulate [--key TYPE:ROM]...) OPDRACHT\n"
    "         vondrel-probe build-image --home MAP [--map LOCATIEMAP] --reader N\n"
    "\n"
    "Opdrachten:\n"
    "  read-rom [--timeout S]     wacht op een sleutel (elke 250 ms, afwisselend Read ROM 0x33 en 0x0F) en\n"
    "                             toont familiecode, type, sleutelcode (12 cijfers) en de opgeslagen code\n"
    "                             (10 cijfers, zoals een sleutelhouder hem bewaart)\n"
    "  write-image BESTAND        schrijft een programmeerbestand van 1024 tekens (512 hexparen, twee spaties\n"
    "                             = 00) in een DS1993 of DS1994: 16 pagina's, de laatste byte is de CRC-8 van\n"
    "                             de 511 ervoor; daarna wordt de sleutel teruggelezen en vergeleken\n"
    "  read-memory                toont de 512 bytes van een DS1993 of DS1994 als 16 regels van 64 hexcijfers\n"
    "  build-image                maakt autonoom.hex voor lezer N in MAP/bestanden[/LOCATIEMAP] en zet het\n"
    "                             aantal sleutels in het lezerrecord, zoals een klik in kolom 0 van de\n"
    "                             lezerlijst; er is geen probe voor nodig\n"
    "\n"
    "Opties:\n"
    "  --device PAD               de seriële poort van de probe (bijvoorbeeld /dev/ttyUSB0 of een\n"
    "                             pseudo-terminal van vondrel-sim)\n"
    "  --simulate                 een gesimuleerde probe in dit programma\n"
    "  --key TYPE:ROM             met --simulate: een sleutel op de probe (mag vaker). TYPE is ds1990a,\n"
    "                             ds1990, ds1993 of ds1994; ROM de bytes zoals ze over de lijn gaan,\n"
    "                             familiecode eerst (14 of 16 hexcijfers). Zonder --key ligt er voor\n"
    "                             read-rom een DS1990A (ds1990a:01A1B2C3D4E5F6) en voor write-image en\n"
    "                             read-memory een DS1993 (ds1993:0610203040506A) op de probe;\n"
    "                             --key geen laat de probe leeg\n"
    "  --timeout S                hoe lang op een sleutel gewacht wordt, in seconden (standaard 10)\n"
    "  --help                     deze tekst\n"
    "\n"
    "Afsluitcodes: 0 gelukt, 1 geen sleutel op tijd, 2 verkeerde aanroep of onbruikbaar bestand,\n"
    "3 poort niet te openen of probe weg, 4 sleutel van een andere familie, 5 schrijven of controle mislukt.\n";

void out(const QString& text) {
    std::fputs(qPrintable(text + QLatin1Char('\n')), stdout);
    std::fflush(stdout);
}

void err(const QString& text) {
    std::fputs(qPrintable(QStringLiteral("vondrel-probe: ") + text + QLatin1Char('\n')), stderr);
    std::fflush(stderr);
}

struct Options {
    QString command;
    QString file;
    QString device;
    bool simulate = false;
    QStringList keys;
    double timeoutS = kDefaultTimeoutS;
    QString home;
    QString map;
    int reader = 0;
    bool help = false;
};

bool parse(const QStringList& args, Options* o, QString* error) {
    for (int i = 1; i < args.size(); ++i) {
        const QString& a = args.at(i);
        auto value = [&](QString* target) {
            if (i + 1 >= args.size()) {
                *error = QStringLiteral("%1 verwacht een waarde").arg(a);
                return false;
            }
            *target = args.at(++i);
            return true;
        };
        QString v;
        if (a == QLatin1String("--help") || a == QLatin1String("-h")) {
            o->help = true;
        } else if (a == QLatin1String("--simulate")) {
            o->simulate = true;
        } else if (a == QLatin1String("--device")) {
            if (!value(&o->device)) {
                return false;
            }
        } else if (a == QLatin1String("--key")) {
            if (!value(&v)) {
                return false;
            }
            o->keys.append(v);
        } else if (a == QLatin1String("--timeout")) {
            bool ok = false;
            if (!value(&v) || (o->timeoutS = v.toDouble(&ok), !ok) || !(o->timeoutS >= 0) ||
                o->timeoutS > kMaxTimeoutS) {
                *error = QStringLiteral("--timeout verwacht een aantal seconden (0 tot %1)").arg(kMaxTimeoutS);
                return false;
            }
        } else if (a == QLatin1String("--home")) {
            if (!value(&o->home)) {
                return false;
            }
        } else if (a == QLatin1String("--map")) {
            if (!value(&o->map)) {
                return false;
            }
        } else if (a == QLatin1String("--reader")) {
            bool ok = false;
            if (!value(&v) || (o->reader = v.toInt(&ok), !ok)) {
                *error = QStringLiteral("--reader verwacht een lezernummer");
                return false;
            }
        } else if (a.startsWith(QLatin1String("--"))) {
            *error = QStringLiteral("onbekende optie %1").arg(a);
            return false;
        } else if (o->command.isEmpty()) {
            o->command = a;
        } else if (o->file.isEmpty() && o->command == QLatin1String("write-image")) {
            o->file = a;
        } else {
            *error = QStringLiteral("onverwacht argument %1").arg(a);
            return false;
        }
    }
    return true;
}

// The probe: a serial port or the simulated one, with the 1-Wire layer over it.
class Probe {
public:
    // kExitOk, or the exit code of the refusal with its message in *error.
    int open(const Options& o, const QString& defaultKey, QString* error) {
        if (o.simulate == !o.device.isEmpty()) {
            *error = QStringLiteral("geef --device PAD of --simulate");
            return kExitUsage;
        }
        if (o.simulate) {
            auto probe = std::make_unique<SimulatedProbe>();
            const QStringList keys = o.keys.isEmpty() ? QStringList{defaultKey} : o.keys;
            for (const QString& text : keys) {
                if (text == QLatin1String("geen")) {
                    continue;
                }
                auto key = VirtualIButton::fromText(text, error);
                if (!key) {
                    return kExitUsage;
                }
                probe->insertKey(std::move(key));
            }
            m_stack = std::make_unique<ProbeStack>(std::move(probe));
        } else {
            if (!o.keys.isEmpty()) {
                *error = QStringLiteral("--key hoort bij --simulate");
                return kExitUsage;
            }
            m_stack = ProbeStack::onDevice(o.device);
        }
        line().setPortNumber(1);
        QString systemError;
        if (!line().open(&systemError)) {
            *error = QStringLiteral("De poort %1 kan niet worden geopend: %2").arg(o.device, systemError);
            return kExitPort;
        }
        return kExitOk;
    }

    DowIo& dow() { return m_stack->dowIo(); }
    SerialLine& line() { return m_stack->line(); }

private:
    std::unique_ptr<ProbeStack> m_stack;
};

int timeoutMs(const Options& o) {
    return int(o.timeoutS * 1000.0);
}

KeyPoller::Step awaitKey(Probe& probe, KeyPoller::Purpose purpose, const Options& o) {
    KeyPoller poller(probe.dow(), purpose);
    return waitForKey(poller, Clock::steady(), timeoutMs(o));
}

int noKey(const KeyPoller::Step& step, const Options& o) {
    if (step.outcome == KeyPoller::Outcome::NotConnected) {
        err(DowIo::probeGoneMessage());
        return kExitPort;
    }
    err(QStringLiteral("Geen sleutel gevonden binnen %1 s. Houd de sleutel tegen de probe en probeer het opnieuw.")
            .arg(QLocale(QLocale::Dutch).toString(o.timeoutS)));
    return kExitNoKey;
}

int readRom(Probe& probe, const Options& o) {
    const KeyPoller::Step step = awaitKey(probe, KeyPoller::Purpose::KeyCode, o);
    if (step.outcome != KeyPoller::Outcome::Found) {
        return noKey(step, o);
    }
    const DowIo::Identification& key = step.id;
    out(QStringLiteral("Familiecode: %1").arg(QStringLiteral("%1").arg(key.family, 2, 16, QLatin1Char('0')).toUpper()));
    out(QStringLiteral("Type: %1").arg(key.familyName));
    out(QStringLiteral("Sleutelcode: %1").arg(key.keyCode));
    out(QStringLiteral("Opgeslagen code: %1").arg(storedKeyCode(key.keyCode)));
    return kExitOk;
}

// Waits for a key and refuses any but a DS1993 or DS1994. kExitOk when one is on the probe.
int waitForProgrammingKey(Probe& probe, const Options& o) {
    const KeyPoller::Step step = awaitKey(probe, KeyPoller::Purpose::ProgrammingKey, o);
    const DowIo::Identification& key = step.id;
    if (step.outcome == KeyPoller::Outcome::WrongFamily) {
        err(DowIo::wrongFamilyMessage(key.family));
        return kExitWrongFamily;
    }
    if (step.outcome != KeyPoller::Outcome::Found) {
        return noKey(step, o);
    }
    err(QStringLiteral("Sleutel %1 (%2)").arg(key.keyCode, key.familyName));
    return kExitOk;
}

int writeImage(Probe& probe, const Options& o) {
    QByteArray memory;
    QString error;
    if (!ProgrammingImage::readFile(o.file, &memory, &error)) {
        err(error);
        return kExitUsage;
    }
    if (const int refused = waitForProgrammingKey(probe, o); refused != kExitOk) {
        return refused;
    }
    KeyWriter writer(probe.dow());
    QString lastError;
    const KeyWriter::Result result = writer.write(memory, [&lastError](const KeyWriter::PageReport& report) {
        const QString page = QStringLiteral("Pagina %1 van %2").arg(report.page).arg(MemoryKey::kPageCount);
        if (report.ok && report.copied) {
            out(page + QStringLiteral(" geschreven"));
        } else if (report.ok) {
            err(page + QStringLiteral(" niet gekopieerd: ") + report.error);
        } else {
            // The same cause once, not sixteen times.
            err(page + QStringLiteral(" niet geschreven") +
                (report.error == lastError ? QString() : QStringLiteral(": ") + report.error));
            lastError = report.error;
        }
    });
    const bool probeGone = !probe.line().isOpen();
    if (!result.readBack && result.readError != lastError) {
        err(result.readError);
    }
    for (int page : result.differingPages) {
        const int offset = (page - 1) * MemoryKey::kPageSize;
        err(QStringLiteral("Pagina %1 wijkt af: geschreven %2, teruggelezen %3")
                .arg(page)
                .arg(QString::fromLatin1(memory.mid(offset, MemoryKey::kPageSize).toHex().toUpper()))
                .arg(QString::fromLatin1(result.memory.mid(offset, MemoryKey::kPageSize).toHex().toUpper())));
    }
    out(result.checkText());
    if (probeGone) {
        return kExitPort;
    }
    return result.ok() ? kExitOk : kExitWriteFailed;
}

int readMemory(Probe& probe, const Options& o) {
    if (const int refused = waitForProgrammingKey(probe, o); refused != kExitOk) {
        return refused;
    }
    const DowIo::MemoryRead read = probe.dow().readMemory();
    if (!read.ok) {
        err(read.error);
        return probe.line().isOpen() ? kExitNoKey : kExitPort;
    }
    std::fputs(qPrintable(ProgrammingImage::hexLines(read.data)), stdout);
    return kExitOk;
}

int buildImage(const Options& o) {
    if (o.home.isEmpty() || o.reader == 0) {
        err(QStringLiteral("build-image verwacht --home MAP en --reader N"));
        return kExitUsage;
    }
    if (const Status allowed = DataFolder::checkLocation(o.home, o.map); !allowed) {
        err(allowed.error);
        return kExitUsage;
    }
    const SleutelLadenResult result = Sleutel_Laden(DataFolder::path(o.home, o.map), o.reader);
    if (!result.ok) {
        err(result.error);
        return kExitUsage;
    }
    const int stored = result.reader.aantalsleutels();
    out(QStringLiteral("%1 gemaakt voor lezer %2: %3 sleutels").arg(result.imagePath).arg(o.reader).arg(stored) +
        (stored == result.keyCount
             ? QString()
             : QStringLiteral(" opgeslagen (de lijsten tellen er %1; meer past niet in het lezerrecord)")
                   .arg(result.keyCount)));
    return kExitOk;
}

}  // namespace

int main(int argc, char* argv[]) {
    // A file that reaches the size limit must fail its write with a message, not end the program.
    ::signal(SIGXFSZ, SIG_IGN);
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vondrel-probe"));

    Options o;
    QString error;
    if (!parse(QCoreApplication::arguments(), &o, &error)) {
        err(error);
        std::fputs(kHelp, stderr);
        return kExitUsage;
    }
    if (o.help) {
        std::fputs(kHelp, stdout);
        return kExitOk;
    }
    if (o.command == QLatin1String("build-image")) {
        return buildImage(o);
    }

    const bool romCommand = o.command == QLatin1String("read-rom");
    if (!romCommand && o.command != QLatin1String("write-image") && o.command != QLatin1String("read-memory")) {
        err(o.command.isEmpty() ? QStringLiteral("geen opdracht gegeven")
                                : QStringLiteral("onbekende opdracht %1").arg(o.command));
        std::fputs(kHelp, stderr);
        return kExitUsage;
    }
    if (o.command == QLatin1String("write-image") && o.file.isEmpty()) {
        err(QStringLiteral("write-image verwacht een bestand"));
        return kExitUsage;
    }

    Probe probe;
    if (const int refused = probe.open(o, QLatin1String(romCommand ? kDefaultRomKey : kDefaultMemoryKey), &error);
        refused != kExitOk) {
        err(error);
        return refused;
    }
    int code = kExitUsage;
    if (romCommand) {
        code = readRom(probe, o);
    } else if (o.command == QLatin1String("write-image")) {
        code = writeImage(probe, o);
    } else {
        code = readMemory(probe, o);
    }
    probe.dow().shutdown();
    return code;
}

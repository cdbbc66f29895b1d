// vondrel-sim: the simulated probe on a pseudo-terminal, so that the program (or any serial client) can
// talk to virtual iButtons through a real serial device node.

#include "onewire/Clock.h"
#include "probesim/PacedLine.h"
#include "probesim/ProbeSimPty.h"
#include "probesim/SimulatedWire.h"
#include "probesim/VirtualIButton.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <poll.h>
#include <unistd.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kFallbackBaud = 9600;
constexpr int kReadChunkBytes = 4096;

const char kHelp[] =
    "Gebruik: vondrel-sim [--key TYPE:ROM]... [--latency-us N]\n"
    "\n"
    "Bedient een gesimuleerde 1-Wire-probe op een pseudo-terminal. De eerste regel van de uitvoer is het\n"
    "pad van de terminal (bijvoorbeeld /dev/pts/5); open die als seriële poort.\n"
    "\n"
    "  --key TYPE:ROM     legt een sleutel op de probe (mag vaker). TYPE is ds1990a, ds1990, ds1993 of\n"
    "                     ds1994. ROM zijn de bytes in de volgorde waarin ze over de lijn gaan, familiecode\n"
    "                     eerst, twee hexadecimale cijfers per byte: 14 cijfers (de CRC wordt berekend) of\n"
    "                     16 (de laatste byte is de CRC, ook een foute). Voorbeeld: ds1993:06A1B2C3D4E5F6\n"
    "  --latency-us N     elke ontvangen reeks tekens vertrekt pas na N microseconden (USB-adapter)\n"
    "  --help             deze tekst\n"
    "\n"
    "Opdrachten op standaardinvoer, een per regel:\n"
    "  insert TYPE:ROM    legt een sleutel op de probe\n"
    "  remove             haalt alle sleutels weg\n"
    "  dump               toont het geheugen van de eerste geheugensleutel: 16 regels van 64 hexcijfers\n"
    "  quit               stopt\n"
    "Elke opdracht antwoordt op standaarduitvoer: \"ok\" (dump: de 16 regels), of \"fout\" met de reden op\n"
    "standaardfout, zodat een script altijd een antwoord krijgt.\n";

using Nanos = Clock::Time;

Nanos nowNs() {
    return Clock::steady().now();
}

void complain(const QString& message) {
    std::fprintf(stderr, "vondrel-sim: %s\n", qPrintable(message));
}

class Server {
public:
    Server(int master, int slave, Nanos latency) : m_master(master), m_slave(slave), m_latency(latency) {}

    bool addKey(const QString& text) {
        QString error;
        auto key = VirtualIButton::fromText(text, &error);
        if (!key) {
            complain(error);
            return false;
        }
        m_wire.attach(std::move(key));
        return true;
    }

    int run() {
        for (;;) {
            catchUp(nowNs());
            pollfd fds[2] = {{m_master, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
            const int count = m_stdinOpen ? 2 : 1;
            timespec timeout{};
            timespec* wait = nullptr;
            const Nanos next = m_line.nextEvent();
            if (next != Nanos::max()) {
                const Nanos left = std::max(Nanos(0), next - nowNs());
                timeout.tv_sec = time_t(left.count() / 1'000'000'000);
                timeout.tv_nsec = long(left.count() % 1'000'000'000);
                wait = &timeout;
            }
            if (ppoll(fds, count, wait, nullptr) < 0) {
                if (errno == EINTR) {
                    continue;
                }
                complain(QStringLiteral("poll: %1").arg(QString::fromLocal8Bit(std::strerror(errno))));
                return 1;
            }
            if (fds[0].revents & (POLLIN | POLLHUP | POLLERR) && !readClient()) {
                return 1;
            }
            if (count == 2 && fds[1].revents & (POLLIN | POLLHUP | POLLERR) && !readCommands()) {
                return 0;
            }
        }
    }

private:
    int baud() const {
        // The client sets the rate on its side; the slave we hold shares that terminal's settings.
        int rate = ProbeSimPty::baudRate(m_slave);
        if (rate <= 0) {
            rate = ProbeSimPty::baudRate(m_master);
        }
        return rate > 0 ? rate : kFallbackBaud;
    }

    // Sends what is due, at the rate set at that moment, and hands back every echo that has come in.
    void catchUp(Nanos now) {
        if (m_line.queuedCount() > 0) {
            m_line.advance(now, baud(), [this](uint8_t character, int rate) {
                return std::optional<uint8_t>(m_wire.transmit(character, rate));
            });
        }
        for (int echo = m_line.takeEcho(now); echo >= 0; echo = m_line.takeEcho(now)) {
            const char value = char(echo);
            // Nobody reading: the terminal's input fills up and further echoes are lost, as on a port
            // nobody has open.
            (void)!::write(m_master, &value, 1);
        }
    }

    bool readClient() {
        char buffer[kReadChunkBytes];
        for (;;) {
            const ssize_t got = ::read(m_master, buffer, sizeof buffer);
            if (got > 0) {
                m_line.queue(QByteArray(buffer, int(got)), nowNs() + m_latency);
                continue;
            }
            if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
                return true;
            }
            complain(QStringLiteral("lezen van de terminal: %1")
                         .arg(got == 0 ? QStringLiteral("einde") : QString::fromLocal8Bit(std::strerror(errno))));
            return false;
        }
    }

    // False on "quit".
    bool readCommands() {
        char buffer[kReadChunkBytes];
        const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (got <= 0) {
            if (got < 0 && errno == EINTR) {
                return true;
            }
            m_stdinOpen = false;  // no more commands; keep serving the terminal
            return true;
        }
        m_commandBuffer.append(buffer, int(got));
        for (int end = m_commandBuffer.indexOf('\n'); end >= 0; end = m_commandBuffer.indexOf('\n')) {
            const QString line = QString::fromLocal8Bit(m_commandBuffer.left(end)).trimmed();
            m_commandBuffer.remove(0, end + 1);
            if (!command(line)) {
                return false;
            }
        }
        return true;
    }

    bool command(const QString& line) {
        const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (words.isEmpty()) {
            return true;
        }
        const QString verb = words[0].toLower();
        if (verb == QLatin1String("insert") && words.size() == 2) {
            reply(addKey(words[1]) ? "ok" : "fout");
        } else if (verb == QLatin1String("remove") && words.size() == 1) {
            m_wire.detachAll();
            reply("ok");
        } else if (verb == QLatin1String("dump") && words.size() == 1) {
            dump();
        } else if (verb == QLatin1String("quit")) {
            return false;
        } else {
            complain(QStringLiteral("onbekende opdracht \"%1\" (insert TYPE:ROM, remove, dump, quit)").arg(line));
            reply("fout");
        }
        return true;
    }

    void dump() {
        for (int i = 0; i < m_wire.keyCount(); ++i) {
            const QByteArray memory = m_wire.key(i)->memory();
            if (memory.isEmpty()) {
                continue;
            }
            for (int line = 0; line < memory.size(); line += 32) {
                reply(memory.mid(line, 32).toHex().toUpper());
            }
            return;
        }
        complain(QStringLiteral("geen geheugensleutel (ds1993, ds1994) op de probe"));
        reply("fout");
    }

    static void reply(const QByteArray& text) {
        std::fprintf(stdout, "%s\n", text.constData());
        std::fflush(stdout);
    }

    int m_master;
    int m_slave;
    Nanos m_latency;
    SimulatedWire m_wire;
    PacedLine m_line;
    bool m_stdinOpen = true;
    QByteArray m_commandBuffer;
};

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);

    QStringList keys;
    int64_t latencyUs = 0;
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            std::fputs(kHelp, stdout);
            return 0;
        }
        if ((arg == QLatin1String("--key") || arg == QLatin1String("--latency-us")) && i + 1 < argc) {
            const QString value = QString::fromLocal8Bit(argv[++i]);
            if (arg == QLatin1String("--key")) {
                keys << value;
                continue;
            }
            bool ok = false;
            latencyUs = value.toLongLong(&ok);
            if (ok && latencyUs >= 0) {
                continue;
            }
        }
        complain(QStringLiteral("onbekende of onvolledige optie \"%1\"; zie --help").arg(arg));
        return 2;
    }

    int master = -1;
    int slave = -1;
    QString path;
    QString error;
    if (!ProbeSimPty::open(&master, &slave, &path, &error)) {
        complain(error);
        return 1;
    }
    Server server(master, slave, std::chrono::microseconds(latencyUs));
    for (const QString& key : keys) {
        if (!server.addKey(key)) {
            return 2;
        }
    }
    std::fprintf(stdout, "%s\n", qPrintable(path));
    std::fflush(stdout);
    return server.run();
}

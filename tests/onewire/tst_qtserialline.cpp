#include "onewire/QtSerialLine.h"
#include "support/OneWireDoubles.h"
#include "support/PseudoTerminal.h"

#include <QTest>

#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr uid_t kNobody = 65534;
constexpr int kCannotDropPrivileges = 3;

struct ChildOpen {
    int exitCode = -1;
    QString error;
};

// Opens path in a child process that runs as an unprivileged user (nobody, when the test runs as root,
// for whom mode bits do not stop an open), so that the kernel itself refuses; what the line said comes
// back through a pipe.
ChildOpen openAsUnprivilegedUser(const QString& path) {
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) {
        return {};
    }
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(pipeFds[0]);
        if (::getuid() == 0 && (::setgroups(0, nullptr) != 0 || ::setresgid(kNobody, kNobody, kNobody) != 0 ||
                                ::setresuid(kNobody, kNobody, kNobody) != 0)) {
            ::_exit(kCannotDropPrivileges);
        }
        QtSerialLine line;
        line.setDevicePath(1, path);
        QString error;
        const bool opened = line.open(&error);
        const QByteArray text = error.toUtf8();
        const bool sent = ::write(pipeFds[1], text.constData(), size_t(text.size())) == text.size();
        ::_exit(opened || !sent ? 1 : 0);
    }
    ::close(pipeFds[1]);
    ChildOpen result;
    QByteArray text;
    char buffer[512];
    for (ssize_t n; (n = ::read(pipeFds[0], buffer, sizeof buffer)) > 0;) {
        text.append(buffer, n);
    }
    ::close(pipeFds[0]);
    int status = 0;
    if (pid > 0 && ::waitpid(pid, &status, 0) == pid && WIFEXITED(status)) {
        result.exitCode = WEXITSTATUS(status);
    }
    result.error = QString::fromUtf8(text);
    return result;
}

}  // namespace

class TestQtSerialLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // What the kernel refuses, from a process that is not root. A port without permission names the group
    // dialout and the command that joins it; one held by another program says so.
    void refusedByTheSystem_data() {
        QTest::addColumn<bool>("heldByAnother");
        QTest::addColumn<QStringList>("says");
        QTest::newRow("no permission") << false
                                       << QStringList{"geen toegang", "groep dialout", "sudo adduser ", " dialout\""};
        QTest::newRow("in use by another program") << true << QStringList{"in gebruik door een ander programma"};
    }

    void refusedByTheSystem() {
        QFETCH(bool, heldByAnother);
        QFETCH(QStringList, says);
        PseudoTerminal probe(PseudoTerminal::echo);
        QVERIFY(::chmod(QFile::encodeName(probe.path).constData(), heldByAnother ? 0666 : 0) == 0);
        QtSerialLine other;
        other.setDevicePath(1, probe.path);
        QVERIFY(!heldByAnother || other.open(nullptr));

        const ChildOpen child = openAsUnprivilegedUser(probe.path);
        if (child.exitCode == kCannotDropPrivileges) {
            QSKIP("this system lets the test not become an unprivileged user");
        }
        QCOMPARE(child.exitCode, 0);
        QVERIFY2(child.error.contains(probe.path), qPrintable(child.error));
        for (const QString& part : says) {
            QVERIFY2(child.error.contains(part), qPrintable(child.error));
        }
    }

    void openFailures_data() {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("says");
        QTest::newRow("no device for the number") << 5 << QString() << "Geen apparaat ingesteld voor Com5";
        QTest::newRow("missing device") << 2 << "/nonexistent/ttyVondrel"
                                        << "het apparaat /nonexistent/ttyVondrel bestaat niet";
    }

    void openFailures() {
        QFETCH(int, number);
        QFETCH(QString, path);
        QFETCH(QString, says);
        QtSerialLine line;
        line.setDevicePath(number, path);
        line.setPortNumber(number);
        QString error;
        QVERIFY(!line.open(&error));
        QVERIFY2(error.contains(says), qPrintable(error));
        // A line that did not open answers everything at once, and never hangs.
        QVERIFY(!line.isOpen());
        QVERIFY(!line.write("x"));
        QCOMPARE(line.readChar(), -1);
        QCOMPARE(line.inBufferCount() + line.outBufferCount(), 0);
        QVERIFY(!line.waitForEchoes(10));
        QVERIFY(!line.waitForInput(1, 10));
    }

    // Rates without a B-constant (115200/11) too: set before the open, on an open line, and while closed.
    void echoesAtRates() {
        PseudoTerminal probe(PseudoTerminal::echo);
        QtSerialLine line;
        line.setDevicePath(2, probe.path);
        line.setPortNumber(2);
        QVERIFY(line.setBaudRate(10472));
        QString error;
        QVERIFY2(line.open(&error), qPrintable(error));
        QCOMPARE(probe.rate(), 10472);
        // A pseudo-terminal has no serial driver to ask for low latency; asking did not stop the open.
        QCOMPARE(line.lowLatency(), SerialLine::LowLatency::NotOffered);
        const QByteArray run = pattern(256, 0);
        QVERIFY(line.write(run));
        QVERIFY(line.waitForEchoes(2000));
        QCOMPARE(line.outBufferCount(), 0);
        QCOMPARE(readAll(line), run);
        QVERIFY(line.setBaudRate(115200));
        QCOMPARE(probe.rate(), 115200);
        line.close();
        QVERIFY(line.setBaudRate(300));
        QVERIFY(line.open(nullptr));
        QCOMPARE(probe.rate(), 300);
    }

    // Echoes that never come are written off, so one lost character does not make every later wait run into
    // its time-out; an unplugged adapter closes the line, so nothing waits on it any more.
    void missingEchoesAndUnplugging() {
        PseudoTerminal probe([](char c) { return c == 'b' ? QByteArray() : QByteArray(1, c); });
        QtSerialLine line;
        line.setDevicePath(1, probe.path);
        QVERIFY(line.open(nullptr));
        QVERIFY(line.write(QByteArray(10, 'a')));
        QVERIFY(line.waitForInput(10, 2000));
        line.discardInput();
        QCOMPARE(line.inBufferCount(), 0);
        QVERIFY(line.waitForEchoes(0));

        QVERIFY(line.write(QByteArray(5, 'b')));
        QVERIFY(!line.waitForEchoes(60));
        // Had the five lost echoes still been owed, this wait would count eight and fail.
        QVERIFY(line.write(QByteArray(3, 'c')));
        QVERIFY(line.waitForEchoes(1000));

        probe.hangUp();
        QVERIFY(!line.waitForEchoes(200) || !line.write("cd") || !line.waitForEchoes(200));
        for (int i = 0; i < 3 && line.isOpen(); ++i) {
            line.write("e");
        }
        line.inBufferCount();
        QVERIFY(!line.isOpen());
        QVERIFY(!line.write("f"));
    }
};

QTEST_GUILESS_MAIN(TestQtSerialLine)
#include "tst_qtserialline.moc"

#include "programming/KeyWriter.h"

#include "onewire/DowIo.h"

#include <QElapsedTimer>
#include <QThread>

KeyWriter::KeyWriter(DowIo& dow) : m_dow(dow) {}

KeyWriter::Result KeyWriter::write(const QByteArray& memory, const std::function<void(const PageReport&)>& onPage,
                                   const std::function<void()>& processEvents) {
    Result result;
    for (int page = 1; page <= DowIo::kPageCount; ++page) {
        const QByteArray data = memory.mid((page - 1) * DowIo::kPageSize, DowIo::kPageSize);
        const DowIo::PageWrite written = m_dow.writePage(page, data, processEvents);
        PageReport report;
        report.page = page;
        report.ok = written.ok;
        report.copied = written.copied;
        report.error = written.error;
        if (!written.ok) {
            result.failedPages.append(page);
        }
        if (onPage) {
            onPage(report);
        }
    }
    const Result checked = check(memory, processEvents);
    result.readBack = checked.readBack;
    result.memory = checked.memory;
    result.readError = checked.readError;
    result.differingPages = checked.differingPages;
    return result;
}

KeyWriter::Result KeyWriter::check(const QByteArray& memory, const std::function<void()>& processEvents) {
    Result result;
    const DowIo::MemoryRead read = m_dow.readMemory(processEvents);
    result.readBack = read.ok;
    result.memory = read.data;
    result.readError = read.error;
    if (read.ok) {
        result.differingPages = differingPages(memory, read.data);
    }
    return result;
}

QList<int> KeyWriter::differingPages(const QByteArray& expected, const QByteArray& actual) {
    QList<int> pages;
    for (int page = 1; page <= DowIo::kPageCount; ++page) {
        const int offset = (page - 1) * DowIo::kPageSize;
        if (expected.mid(offset, DowIo::kPageSize) != actual.mid(offset, DowIo::kPageSize)) {
            pages.append(page);
        }
    }
    return pages;
}

QString KeyWriter::checkText(bool ok) {
    return ok ? QStringLiteral("Controle OK") : QStringLiteral("Controle mislukt");
}

PolledKey pollForKey(DowIo& dow, bool keyCodeRead, int tickMs, int timeoutMs) {
    PolledKey polled;
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        const DowIo::Identification id = keyCodeRead ? dow.readKeyCode() : dow.identifyProbe();
        polled.notConnected = id.status == DowIo::Identification::NotConnected;
        if (id.status == DowIo::Identification::Ok) {
            polled.found = true;
            polled.family = id.family;
            polled.familyName = id.familyName;
            polled.keyCode = id.keyCode;
            polled.rom = id.rom;
            return polled;
        }
        const qint64 left = timeoutMs - clock.elapsed();
        if (left <= 0) {
            return polled;
        }
        QThread::msleep(static_cast<unsigned long>(qMin<qint64>(tickMs, left)));
    }
}

#include "programming/KeyWriter.h"

#include "onewire/DowIo.h"
#include "onewire/MemoryKey.h"

KeyWriter::KeyWriter(DowIo& dow) : m_dow(dow) {}

KeyWriter::Result KeyWriter::write(const QByteArray& memory, const std::function<void(const PageReport&)>& onPage,
                                   const std::function<void()>& processEvents) {
    Result result;
    for (int page = 1; page <= MemoryKey::kPageCount; ++page) {
        const QByteArray data = memory.mid((page - 1) * MemoryKey::kPageSize, MemoryKey::kPageSize);
        const DowIo::PageWrite written = m_dow.writePage(page, data, processEvents);
        PageReport report;
        report.page = page;
        report.ok = written.ok;
        report.copied = written.copied;
        report.error = written.error;
        if (!written.ok) {
            result.failedPages.append(page);
        }
        if (!written.ok || !written.copied) {
            result.pageFailures.append(report);
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
    for (int page = 1; page <= MemoryKey::kPageCount; ++page) {
        const int offset = (page - 1) * MemoryKey::kPageSize;
        if (expected.mid(offset, MemoryKey::kPageSize) != actual.mid(offset, MemoryKey::kPageSize)) {
            pages.append(page);
        }
    }
    return pages;
}

QString KeyWriter::pageFailureText(const PageReport& report) {
    return QStringLiteral("Pagina %1: %2").arg(report.page).arg(report.error);
}

QString KeyWriter::Result::failureText() const {
    QStringList lines;
    for (const PageReport& report : pageFailures) {
        lines.append(pageFailureText(report));
    }
    if (!checkOk()) {
        if (!readError.isEmpty()) {
            lines.append(readError);
        } else {
            QStringList pages;
            for (int page : differingPages) {
                pages.append(QString::number(page));
            }
            lines.append(QStringLiteral("Afwijkende pagina's: %1").arg(pages.join(QStringLiteral(", "))));
        }
    }
    return lines.join(QLatin1Char('\n'));
}

QString KeyWriter::checkText(bool ok) {
    return ok ? QStringLiteral("Controle OK") : QStringLiteral("Controle mislukt");
}

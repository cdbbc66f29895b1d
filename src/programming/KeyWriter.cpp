#include "programming/KeyWriter.h"

#include "onewire/DowIo.h"
#include "onewire/MemoryKey.h"

namespace {

QByteArray pageOf(const QByteArray& memory, int page) {
    return memory.mid((page - 1) * MemoryKey::kPageSize, MemoryKey::kPageSize);
}

// A 1 in the reads where the image has a 0: the key holds something else, however noisy the line.
bool holdsForeignOne(const QByteArray& expected, const QByteArray& seen) {
    for (int i = 0; i < expected.size() && i < seen.size(); ++i) {
        if (uint8_t(seen[i]) & ~uint8_t(expected[i])) {
            return true;
        }
    }
    return false;
}

}  // namespace

KeyWriter::KeyWriter(DowIo& dow) : m_dow(dow) {}

KeyWriter::PageReport KeyWriter::writePage(const QByteArray& memory, int page, int round, Result* result,
                                           const std::function<void(const PageReport&)>& onPage,
                                           const std::function<void()>& processEvents) {
    const DowIo::PageWrite written = m_dow.writePage(page, pageOf(memory, page), processEvents);
    PageReport report;
    report.page = page;
    report.ok = written.ok;
    report.copied = written.copied;
    report.error = written.error;
    report.round = round;
    if (round == 0 && !written.ok) {
        result->failedPages.append(page);
    }
    if (!written.ok || !written.copied) {
        result->pageFailures.append(report);
    }
    if (onPage) {
        onPage(report);
    }
    return report;
}

KeyWriter::Result KeyWriter::write(const QByteArray& memory, const std::function<void(const PageReport&)>& onPage,
                                   const std::function<void()>& processEvents, int rewriteRounds) {
    Result result;
    for (int page = 1; page <= MemoryKey::kPageCount; ++page) {
        writePage(memory, page, 0, &result, onPage, processEvents);
    }
    const Result checked = check(memory, processEvents);
    result.readBack = checked.readBack;
    result.memory = checked.memory;
    result.readError = checked.readError;
    result.differingPages = checked.differingPages;
    result.firstDiffering = checked.firstDiffering;
    result.pageRereads = checked.pageRereads;

    for (int round = 1; round <= rewriteRounds && result.readBack && !result.differingPages.isEmpty(); ++round) {
        const QList<int> pages = result.differingPages;
        for (int page : pages) {
            writePage(memory, page, round, &result, onPage, processEvents);
            ++result.pagesRewritten;
        }
        // A rewritten page is judged from its new reads alone.
        if (!reread(memory, pages, true, &result, processEvents)) {
            result.readBack = false;
        }
    }
    return result;
}

KeyWriter::Result KeyWriter::check(const QByteArray& memory, const std::function<void()>& processEvents) {
    Result result;
    const DowIo::MemoryRead read = m_dow.readMemory(processEvents);
    result.readBack = read.ok;
    result.memory = read.data;
    result.readError = read.error;
    if (!read.ok) {
        return result;
    }
    result.firstDiffering = differingPages(memory, read.data);
    result.differingPages = result.firstDiffering;
    if (!reread(memory, result.firstDiffering, false, &result, processEvents)) {
        result.readBack = false;
    }
    return result;
}

bool KeyWriter::reread(const QByteArray& memory, const QList<int>& pages, bool fromScratch, Result* result,
                       const std::function<void()>& processEvents) {
    QList<int> still;
    for (int page : pages) {
        const QByteArray expected = pageOf(memory, page);
        const int offset = (page - 1) * MemoryKey::kPageSize;
        QByteArray seen = fromScratch ? QByteArray() : result->memory.mid(offset, MemoryKey::kPageSize);
        for (int read = 0; read < kPageRereads; ++read) {
            if (!seen.isEmpty() && (seen == expected || holdsForeignOne(expected, seen))) {
                break;
            }
            const DowIo::MemoryRead again = m_dow.readPage(page, processEvents);
            ++result->pageRereads;
            if (!again.ok) {
                result->readError = again.error;
                result->differingPages = still + pages.mid(pages.indexOf(page));
                return false;
            }
            if (seen.isEmpty()) {
                seen = again.data;
                continue;
            }
            for (int i = 0; i < MemoryKey::kPageSize; ++i) {
                seen[i] = char(uint8_t(seen[i]) | uint8_t(again.data[i]));
            }
        }
        result->memory.replace(offset, MemoryKey::kPageSize, seen);
        if (seen != expected) {
            still.append(page);
        }
    }
    result->differingPages = still;
    return true;
}

QList<int> KeyWriter::differingPages(const QByteArray& expected, const QByteArray& actual) {
    QList<int> pages;
    for (int page = 1; page <= MemoryKey::kPageCount; ++page) {
        if (pageOf(expected, page) != pageOf(actual, page)) {
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

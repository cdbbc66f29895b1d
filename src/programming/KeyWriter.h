#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>

class DowIo;

// Writes a programming key's 512 bytes page by page and reads the key back to check it. A page that
// fails is reported and the run goes on with the next one, so a key touched again in time still gets
// the rest. Shared by the probe window and the probe tool.
//
// The check is made for a noisy probe: a page that reads back different is read again, and the reads of
// a page are put together bit by bit (a 1 seen in any read is a 1). Noise on the line shows as a read
// slot that comes back low, never as one that comes back high, so the reads together show what the key
// holds, and a key that holds a 1 where the image has a 0 is never judged good.
class KeyWriter {
public:
    // Reads of one page after the first read-back said it differed.
    static constexpr int kPageRereads = 4;
    // With check1, rounds in which the pages that still differ are written again and checked.
    static constexpr int kRewriteRounds = 2;

    struct PageReport {
        int page = 0;         // 1..16
        bool ok = false;      // the scratchpad was written (the page's own result)
        bool copied = false;  // and copied into memory
        QString error;
        int round = 0;  // 0 for the first write, then the rewrite round
    };

    struct Result {
        QList<int> failedPages;
        QList<PageReport> pageFailures;  // pages not written or not copied, with why
        bool readBack = false;           // the key answered the read-back
        QByteArray memory;               // what it read back, the reads of a page put together
        QString readError;
        QList<int> differingPages;
        QList<int> firstDiffering;  // pages the first read-back showed different, noise included
        int pageRereads = 0;
        int pagesRewritten = 0;
        bool checkOk() const { return readBack && differingPages.isEmpty(); }
        bool ok() const { return failedPages.isEmpty() && checkOk(); }
        QString checkText() const { return KeyWriter::checkText(checkOk()); }
        // One line per failed page, then why the check failed; empty when all went well.
        QString failureText() const;
    };

    explicit KeyWriter(DowIo& dow);

    // memory: the 512 bytes as they go into the key (CRC byte included). onPage is called after
    // each page written, rewrites included; processEvents is handed to the stages that may keep a
    // window alive. rewriteRounds: how often pages that still differ after the check are written again.
    Result write(const QByteArray& memory, const std::function<void(const PageReport&)>& onPage = {},
                 const std::function<void()>& processEvents = {}, int rewriteRounds = 0);

    // Reads the key back and compares it with memory, reading differing pages again.
    Result check(const QByteArray& memory, const std::function<void()>& processEvents = {});

    static QList<int> differingPages(const QByteArray& expected, const QByteArray& actual);
    static QString checkText(bool ok);
    static QString pageFailureText(const PageReport& report);

private:
    PageReport writePage(const QByteArray& memory, int page, int round, Result* result,
                         const std::function<void(const PageReport&)>& onPage,
                         const std::function<void()>& processEvents);
    // Reads each of the pages again until its reads together equal the image, show a 1 the image does
    // not have, or kPageRereads reads are done. The reads so far are in result->memory, unless
    // fromScratch (a page just written again). Leaves the pages that still differ in
    // result->differingPages. False when the key stopped answering.
    bool reread(const QByteArray& memory, const QList<int>& pages, bool fromScratch, Result* result,
                const std::function<void()>& processEvents);

    DowIo& m_dow;
};

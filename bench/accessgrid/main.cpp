// Times the access window over 10,000 key holders against 128 readers, offscreen: opening it until its
// grid is painted, the memory that adds, one cell step (two record updates, each with its reader's
// mark), a sort by name and a repaint of a scrolled viewport. In the same run the same fill through a
// QTableWidget, an item per cell, is timed as the reference. Then the overview of the same location:
// opening "Overzicht" until its list is painted, a filter typed, and the CSV of every reader.

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QHeaderView>
#include <QScrollBar>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include "onewire/ProbeStack.h"
#include "probesim/SimulatedProbe.h"
#include "records/KeyHolderFile.h"
#include "records/ReaderFile.h"
#include "reports/OverviewExport.h"
#include "screens/AccessGrid.h"
#include "screens/AccessWindow.h"
#include "screens/MessageBox.h"
#include "screens/OverviewWindow.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"

namespace {

constexpr int kHolders = 10000;
constexpr int kReaders = 128;
constexpr int kRuns = 9;
constexpr int kOpens = 5;
constexpr int kWindowWidth = 1200;
constexpr int kWindowHeight = 800;
const QColor kGreen(0x00, 0xFF, 0x00);
const QColor kBlue(0x00, 0x00, 0xFF);

const char* const kFirstNames[] = {"Anna", "Bram", "Cor", "Daan", "Eva", "Fenna", "Gert", "Hanneke", "Ilse", "Joost"};
const char* const kPrefixes[] = {"", "de ", "van ", "van der ", "ter "};
const char* const kSurnames[] = {"Jansen", "Bakker", "Visser",   "Smit",   "Meijer",  "Mulder",   "Bos",
                                 "Vos",    "Peters", "Hendriks", "Dekker", "Brouwer", "Dijkstra", "\xC9lzinga"};

bool toegangOf(int holder, int reader) {
    return (holder * 7 + reader) % 3 == 0;
}
bool wijzigingOf(int holder, int reader) {
    return (holder + reader) % 11 == 0;
}

QString nameOf(int i) {
    const auto pick = [i](const auto& list, int salt) {
        const int n = int(std::size(list));
        return QString::fromLatin1(list[(i * salt + i / n) % n]);
    };
    return pick(kSurnames, 7) + QStringLiteral(", ") + pick(kFirstNames, 3) + QLatin1Char(' ') + pick(kPrefixes, 5);
}

bool writeFolder(const QString& folder) {
    QByteArray readers;
    for (int r = 1; r <= kReaders; ++r) {
        Reader reader = Reader::defaultRecord(QDate(2025, 1, 1));
        reader.setLezerNaam(QStringLiteral("Deur %1 gebouw %2").arg(r).arg(r % 4 + 1));
        readers += reader.bytes();
    }
    QByteArray holders;
    holders.reserve(qsizetype(kHolders) * KeyHolder::kSize);
    for (int i = 0; i < kHolders; ++i) {
        KeyHolder k = KeyHolder::blank();
        k.setGeldig(QStringLiteral("1"));
        k.setNaam(nameOf(i));
        k.setAdres(QStringLiteral("Kerkstraat %1").arg(i % 200 + 1));
        k.setWoonplaats(i % 2 ? QStringLiteral("Ede") : QStringLiteral("Wageningen"));
        k.setVrijetekst(QStringLiteral("pas %1").arg(i));
        QByteArray toegang(KeyHolder::kMapBytes, '\0');
        QByteArray wijziging(KeyHolder::kMapBytes, '\0');
        for (int r = 0; r < kReaders; ++r) {
            int set = 1;
            if (toegangOf(i, r)) {
                (void)BitFind(toegang, r, set);
            }
            if (wijzigingOf(i, r)) {
                (void)BitFind(wijziging, r, set);
            }
        }
        k.setToegang(toegang);
        k.setWijziging(wijziging);
        holders += k.bytes();
    }
    QFile readerFile(QDir(folder).filePath(QLatin1String(ReaderFile::kFileName)));
    QFile holderFile(QDir(folder).filePath(QLatin1String(KeyHolderFile::kFileName)));
    return readerFile.open(QIODevice::WriteOnly) && readerFile.write(readers) == readers.size() &&
           holderFile.open(QIODevice::WriteOnly) && holderFile.write(holders) == holders.size();
}

double residentMiB() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) {
        return 0;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) {
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
        }
    }
    return 0;
}

// Counts paints of a widget, so "shown" means the cells were drawn, not just that show() returned.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget* widget) { widget->installEventFilter(this); }
    int paints = 0;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            ++paints;
        }
        return QObject::eventFilter(watched, event);
    }
};

void waitForPaint(const PaintCounter& counter, int before) {
    QElapsedTimer limit;
    limit.start();
    while (counter.paints == before && limit.elapsed() < 10000) {
        QCoreApplication::processEvents();
    }
}

// Wall time and this process's CPU time: on a machine busy with other work the CPU time is what the
// window itself costs.
class Stopwatch {
public:
    Stopwatch() { restart(); }
    void restart() {
        m_wall.start();
        m_cpu = cpuMs();
    }
    double wallMs() const { return m_wall.nsecsElapsed() / 1e6; }
    double cpuMsElapsed() const { return cpuMs() - m_cpu; }

private:
    static double cpuMs() {
        timespec ts{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
        return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
    }
    QElapsedTimer m_wall;
    double m_cpu = 0;
};

struct Sample {
    double wall;
    double cpu;
};

Sample median(std::vector<Sample> runs) {
    std::vector<double> wall;
    std::vector<double> cpu;
    for (const Sample& s : runs) {
        wall.push_back(s.wall);
        cpu.push_back(s.cpu);
    }
    std::sort(wall.begin(), wall.end());
    std::sort(cpu.begin(), cpu.end());
    return {wall[wall.size() / 2], cpu[cpu.size() / 2]};
}

Sample take(const Stopwatch& watch) {
    return {watch.wallMs(), watch.cpuMsElapsed()};
}

void line(const char* what, const Sample& s, const QString& note = {}) {
    std::printf("  %-44s %9.2f ms  (CPU %7.2f ms)  %s\n", what, s.wall, s.cpu, qPrintable(note));
}

QString verdict(bool met, const QString& target) {
    return (met ? QStringLiteral("ok, target ") : QStringLiteral("OVER target ")) + target;
}

QString loadAverage() {
    QFile file(QStringLiteral("/proc/loadavg"));
    return file.open(QIODevice::ReadOnly) ? QString::fromLatin1(file.readAll().split(' ').value(0)) : QString();
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    MessageBox::setTestMode(true);

    QTemporaryDir dir;
    const QString home = dir.filePath(QStringLiteral("home"));
    const QString folder = QDir(home).filePath(QStringLiteral("bestanden"));
    if (!dir.isValid() || !QDir().mkpath(folder) || !writeFolder(folder)) {
        std::printf("cannot make the data folder in %s\n", qPrintable(dir.path()));
        return 1;
    }
    SettingsStore settings(dir.filePath(QStringLiteral("vondrel.ini")));
    ProbeStack probe(std::make_unique<SimulatedProbe>());
    Session session(settings, probe.dowIo(), home);

    // Styles, fonts and the platform are set up by a first table with some text, as the main window has
    // done before anyone opens the access window, so neither side pays for them.
    {
        QTableWidget warmUp(2, 2);
        warmUp.setHorizontalHeaderLabels({QStringLiteral("Naam"), QStringLiteral("Adres")});
        warmUp.setItem(0, 0, new QTableWidgetItem(QStringLiteral("Jansen, Anna 12")));
        warmUp.show();
        PaintCounter painted(warmUp.viewport());
        waitForPaint(painted, 0);
    }
    std::printf("%d key holders x %d readers in %s, offscreen, %dx%d window, load average %s\n", kHolders, kReaders,
                qPrintable(dir.path()), kWindowWidth, kWindowHeight, qPrintable(loadAverage()));

    // The first open pays for what a running program has mostly done already (the heap growing, glyphs
    // drawn for the first time); the median of the opens is what opening the window costs.
    const double rssBefore = residentMiB();
    double added = 0;
    std::vector<Sample> opens;
    std::unique_ptr<AccessWindow> window;
    Stopwatch watch;
    for (int run = 0; run < kOpens; ++run) {
        window.reset();
        watch.restart();
        window = std::make_unique<AccessWindow>(session);
        window->resize(kWindowWidth, kWindowHeight);
        PaintCounter painted(window->grid()->viewport());
        window->show();
        waitForPaint(painted, 0);
        opens.push_back(take(watch));
        if (run == 0) {
            added = residentMiB() - rssBefore;
        }
    }
    AccessGrid* grid = window->grid();
    PaintCounter gridPaints(grid->viewport());
    const bool filled = grid->model()->rowCount() == kHolders && grid->model()->columnCount() == kReaders + 5;

    // Green to blue: set in wijziging, clear in toegang, each marking the reader. Rows are made green
    // first and turned white again afterwards, untimed.
    std::vector<Sample> steps;
    const int reader = 2;
    const int column = AccessGridModel::kFirstReaderColumn + reader;
    for (int run = 0; run < kRuns; ++run) {
        const int row = 4000 + run * 37;
        grid->scrollTo(grid->model()->index(row, column));
        const QPoint at = grid->visualRect(grid->model()->index(row, column)).center();
        while (grid->model()->colour(row, reader) != AccessGridModel::Colour::Green) {
            QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, at);
        }
        watch.restart();
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, at);
        steps.push_back(take(watch));
        const bool blue = grid->model()->colour(row, reader) == AccessGridModel::Colour::Blue;
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {}, at);
        if (!blue) {
            std::printf("a step did not turn the cell blue\n");
            return 1;
        }
    }

    // What the disk alone asks for one synced record write; a step makes four (two marks, two holders).
    std::vector<Sample> syncs;
    QFile scratch(QDir(folder).filePath(QStringLiteral("sync.bin")));
    for (int run = 0; run < kRuns && scratch.open(QIODevice::ReadWrite | QIODevice::Unbuffered); ++run) {
        watch.restart();
        const bool written = scratch.seek(KeyHolder::kSize) && scratch.write(QByteArray(KeyHolder::kSize, ' ')) > 0;
        ::fsync(scratch.handle());
        scratch.close();
        syncs.push_back(take(watch));
        if (!written) {
            std::printf("cannot write %s\n", qPrintable(scratch.fileName()));
        }
    }
    scratch.remove();

    // A heading click sorts by name and the grid is drawn again; column 0's heading puts it back.
    std::vector<Sample> sorts;
    QHeaderView* header = grid->horizontalHeader();
    grid->horizontalScrollBar()->setValue(0);
    const auto headingAt = [header](int c) {
        return QPoint(header->sectionViewportPosition(c) + header->sectionSize(c) / 2, header->height() / 2);
    };
    for (int run = 0; run < kOpens; ++run) {
        int before = gridPaints.paints;
        watch.restart();
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, headingAt(AccessGridModel::ColNaam));
        waitForPaint(gridPaints, before);
        sorts.push_back(take(watch));
        before = gridPaints.paints;
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, headingAt(AccessGridModel::ColNumber));
        waitForPaint(gridPaints, before);
    }

    std::vector<Sample> repaints;
    grid->scrollTo(grid->model()->index(kHolders / 2, AccessGridModel::kFirstReaderColumn + 60),
                   QAbstractItemView::PositionAtTop);
    QCoreApplication::processEvents();
    for (int run = 0; run < kRuns; ++run) {
        watch.restart();
        grid->viewport()->repaint();
        repaints.push_back(take(watch));
    }
    const int visibleCells = (grid->rowAt(grid->viewport()->height() - 1) - grid->rowAt(0) + 1) *
                             (grid->columnAt(grid->viewport()->width() - 1) - grid->columnAt(0) + 1);
    window.reset();

    // The reference: one QTableWidgetItem per cell, texts and reader colours as the window shows them.
    const double refRssBefore = residentMiB();
    watch.restart();
    auto table = std::make_unique<QTableWidget>();
    {
        const QList<KeyHolder> holders = KeyHolderFile(folder).readAll().value;
        const QList<Reader> readers = ReaderFile(folder).readAll().value;
        table->setColumnCount(kReaders + 5);
        table->setRowCount(int(holders.size()));
        QStringList headings = {QString(), QStringLiteral("Naam"), QStringLiteral("Adres"), QStringLiteral("Plaats"),
                                QString()};
        for (const Reader& r : readers) {
            headings.append(r.lezerNaam().trimmed());
        }
        table->setHorizontalHeaderLabels(headings);
        const QColor white = QGuiApplication::palette().color(QPalette::Base);
        for (int row = 0; row < holders.size(); ++row) {
            const KeyHolder& k = holders.at(row);
            const QString texts[] = {QStringLiteral(" %1").arg(row + 1), k.naam().trimmed(), k.adres().trimmed(),
                                     k.woonplaats().trimmed(), k.vrijetekst().trimmed()};
            for (int c = 0; c < 5; ++c) {
                table->setItem(row, c, new QTableWidgetItem(texts[c]));
            }
            for (int r = 0; r < kReaders; ++r) {
                auto* cell = new QTableWidgetItem;
                cell->setBackground(wijzigingOf(row, r) ? kBlue : toegangOf(row, r) ? kGreen : white);
                table->setItem(row, 5 + r, cell);
            }
        }
    }
    table->resize(kWindowWidth, kWindowHeight);
    PaintCounter tablePaints(table->viewport());
    table->show();
    waitForPaint(tablePaints, 0);
    const Sample reference = take(watch);
    const double refAdded = residentMiB() - refRssBefore;
    table.reset();

    // The overview: the files read, both views' lists built, the first reader's 3,333 holders listed.
    std::vector<Sample> overviewOpens;
    std::vector<Sample> filters;
    std::vector<Sample> csvs;
    qsizetype csvBytes = 0;
    int overviewRows = 0;
    for (int run = 0; run < kOpens; ++run) {
        watch.restart();
        auto overview = std::make_unique<OverviewWindow>(session);
        overview->resize(kWindowWidth, kWindowHeight);
        // Shown means the reader list on the first tab has been drawn.
        overview->setView(OverviewView::PerReader);
        QTableView* list = nullptr;
        for (QTableView* table : overview->findChildren<QTableView*>()) {
            if (table->model() == overview->listModel(OverviewView::PerReader)) {
                list = table;
            }
        }
        PaintCounter painted(list->viewport());
        overview->show();
        waitForPaint(painted, 0);
        overviewOpens.push_back(take(watch));
        overviewRows = overview->listModel(OverviewView::PerHolder)->rowCount() +
                       overview->grantedModel(OverviewView::PerReader)->rowCount();
        watch.restart();
        overview->setFilter(QStringLiteral("jansen"));
        filters.push_back(take(watch));
        overview->setFilter(QString());
        watch.restart();
        csvBytes = OverviewExport::csv(overview->overview(), OverviewView::PerReader).size();
        csvs.push_back(take(watch));
    }

    const Sample open = median(opens);
    const Sample step = median(steps);
    const Sample sort = median(sorts);
    const Sample sync = median(syncs);
    std::printf("the access window (a model over the records):\n");
    line("open to shown, median of 5", open,
         verdict(open.wall <= 100 && open.wall <= reference.wall / 4, "<= 100 ms and <= 1/4 of the reference"));
    line("first open to shown", opens.front());
    std::printf("  %-44s %9.2f MiB %s\n", "memory added by the first open (RSS)", added,
                qPrintable(verdict(added <= 50, "<= 50 MiB")));
    line("cell step green to blue, median", step, verdict(step.wall <= 5, "<= 5 ms"));
    line("  one synced 512-byte write here, median", sync, QStringLiteral("a step makes 4"));
    line("sort by name, click to repainted, median", sort, verdict(sort.wall <= 100, "<= 100 ms"));
    line("repaint of a scrolled viewport, median", median(repaints),
         QStringLiteral("%1 cells in view").arg(visibleCells));
    const Sample overviewOpen = median(overviewOpens);
    std::printf("the overview (\"Overzicht\"):\n");
    line("open to shown, median of 5", overviewOpen, verdict(overviewOpen.wall < 1000, "< 1 s"));
    line("first open to shown", overviewOpens.front(), QStringLiteral("%1 rows listed").arg(overviewRows));
    line("filter \"jansen\" typed, median", median(filters));
    line("CSV of every reader, median", median(csvs), QStringLiteral("%1 MiB").arg(csvBytes / 1048576.0, 0, 'f', 1));
    std::printf("the reference (QTableWidget, an item per cell):\n");
    line("open to shown", reference,
         QStringLiteral("%1 x the access window").arg(reference.wall / open.wall, 0, 'f', 0));
    std::printf("  %-44s %9.2f MiB\n", "memory added (RSS)", refAdded);
    return filled ? 0 : 1;
}

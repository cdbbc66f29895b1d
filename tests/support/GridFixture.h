#pragma once

#include <QDir>
#include <QHeaderView>
#include <QLineEdit>
#include <QListWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>

#include "records/ReaderFile.h"
#include "screens/ReaderGrid.h"
#include "screens/Session.h"
#include "screens/SettingsStore.h"
#include "support/SimulatedProbeStack.h"
#include "support/VerifyStatus.h"

// A session over a temporary program folder and the simulated probe: no real port is ever touched.
struct GridFixture {
    QTemporaryDir dir;
    SettingsStore settings{dir.filePath(QStringLiteral("vondrel.ini"))};
    SimulatedProbeStack probeStack;
    SimulatedProbe& probe = probeStack.probe;
    DowIo& dowIo = probeStack.dowIo();
    Session session{settings, dowIo, dir.path()};

    GridFixture() { QDir().mkpath(session.dataFolder()); }

    QString folder() const { return session.dataFolder(); }
    QString readerPath() const { return QDir(folder()).filePath(QStringLiteral("autonoom.bst")); }

    static Reader reader(const QString& name, const QString& code, quint8 mode = 18, const QString& flag = {}) {
        Reader r;
        r.setLezerNaam(name);
        r.setLezerkode(code);
        r.setMode(mode);
        r.setChangedFlag(flag);
        r.setDatum(QStringLiteral("01-02-24"));
        return r;
    }

    void writeReaders(const QList<Reader>& readers) {
        QFile::remove(readerPath());
        const ReaderFile file(folder());
        for (int i = 0; i < readers.size(); ++i) {
            VERIFY_OK(file.write(i + 1, readers.at(i)));
        }
    }

    Reader readBack(int n) const { return ReaderFile(folder()).read(n).value; }

    int countOnDisk() const {
        const Result<int> count = ReaderFile(folder()).count();
        return count ? count.value : -1;
    }
};

namespace GridDriver {

inline QPoint cellCenter(QTableView* view, int row, int column) {
    const QModelIndex index = view->model()->index(row, column);
    view->scrollTo(index);
    return view->visualRect(index).center();
}

// An in-place editor lies over its cell: as high, starting where the cell starts (or further left when
// the cell is near the right edge), and at least as wide as the part of the cell in view.
inline bool coversCell(const QWidget* editor, QTableView* view, const QModelIndex& cell) {
    const QRect e = editor->geometry();
    const QRect c = view->visualRect(cell);
    return e.top() == c.top() && e.height() == c.height() && e.left() <= c.left() &&
           e.right() >= qMin(c.right(), view->viewport()->width() - 1);
}

inline void click(QTableView* view, int row, int column) {
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, cellCenter(view, row, column));
}

inline void clickHeading(QTableView* view, int column) {
    QHeaderView* header = view->horizontalHeader();
    const QPoint at(header->sectionViewportPosition(column) + header->sectionSize(column) / 2, header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, at);
}

inline void doubleClick(QTableView* view, int row, int column) {
    const QPoint at = cellCenter(view, row, column);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, at);
}

// Types text key by key; "\b" is the Backspace key.
inline void type(QWidget* editor, const QString& text) {
    for (const QChar c : text) {
        if (c == QLatin1Char('\b')) {
            QTest::keyClick(editor, Qt::Key_Backspace);
        } else {
            QTest::keyClicks(editor, QString(c));
        }
    }
}

// Another window takes the focus, then window gets it back.
inline bool reactivate(QWidget* window) {
    QWidget other;
    other.show();
    other.activateWindow();
    if (!QTest::qWaitForWindowActive(&other)) {
        return false;
    }
    window->activateWindow();
    return QTest::qWaitForWindowActive(window);
}

inline bool pick(QListWidget* list, const QString& choice) {
    const QList<QListWidgetItem*> items = list->findItems(choice, Qt::MatchExactly);
    if (items.isEmpty()) {
        return false;
    }
    list->scrollToItem(items.constFirst());
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(items.constFirst()).center());
    return true;
}

}  // namespace GridDriver
